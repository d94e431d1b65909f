// Modality distribution chart of one model variable: count columns (and stacked target
// columns for a binary target) on the left axis, the target rate or mean per modality and
// its overall value on the right axis.

#include "charts/ChartFrame.h"
#include "charts/Charts.h"
#include "html/Escape.h"
#include "html/NumberFormat.h"
#include "html/PageText.h"
#include "report/VariableFigures.h"

#include <algorithm>
#include <cmath>

namespace {

struct ModalityPass {
    std::string categories;
    std::string counts;
    std::string rates;    // target rate in percent (binary) or target mean (continuous)
    std::string targets;  // binary target only
    int64_t nLines = 0;   // wide enough for any sum of 32-bit counts
    double weighted = 0.0;
    int modalityCount = 0;
    int shownCount = 0;

    // Zero when there are no lines, where the quotient would be no number at all.
    double overall() const { return nLines == 0 ? 0.0 : weighted / static_cast<double>(nLines); }
};

// Whether the character at text[i] (UTF-8) is white space to the page's trimming: ASCII blanks
// and the Unicode space separators, line and paragraph separators. *length receives its bytes.
bool isSpaceAt(std::string_view text, size_t i, size_t* length) {
    const auto byte = [&](size_t k) { return i + k < text.size() ? static_cast<unsigned char>(text[i + k]) : 0u; };
    const unsigned lead = byte(0);
    *length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (lead < 0x80)
        return lead == ' ' || (lead >= '\t' && lead <= '\r');
    if (lead == 0xC2)
        return byte(1) == 0x85 || byte(1) == 0xA0;
    const uint32_t c = lead < 0xF0 && *length == 3 ? ((lead & 0x0Fu) << 12) | ((byte(1) & 0x3Fu) << 6) | (byte(2) & 0x3Fu) : 0;
    return c == 0x1680 || (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F ||
           c == 0x205F || c == 0x3000;
}

// The category of a modality: its name cut as the table cuts it, escaped for the page, trimmed of white space, and made safe inside the script's quotes,
// appended to out.
void appendCategoryLabel(std::string& out, std::string_view name) {
    // The common label is short, needs no entity and starts and ends with a visible ASCII
    // character: cutting, escaping and trimming would all leave it as it is.
    const auto visibleAscii = [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x80 && byte != ' ' && !(byte >= '\t' && byte <= '\r');
    };
    if (!name.empty() && visibleAscii(name.front()) && visibleAscii(name.back()) &&
        Escape::isPlainText(name) && PageText::units(name) <= ModalityLimits::labelLimit) {
        Escape::appendScriptString(out, name);
        return;
    }
    const std::string label = Escape::text(PageText::cutToUnits(name, ModalityLimits::labelLimit, ModalityLimits::labelKept));
    size_t first = 0;
    size_t last = label.size();
    size_t length = 0;
    while (first < last && isSpaceAt(label, first, &length))
        first += length;
    // Trailing white space is found by stepping back over continuation bytes to a lead.
    while (last > first) {
        size_t lead = last - 1;
        while (lead > first && (static_cast<unsigned char>(label[lead]) & 0xC0) == 0x80)
            --lead;
        if (!isSpaceAt(label, lead, &length))
            break;
        last = lead;
    }
    Escape::appendScriptString(out, std::string_view(label).substr(first, last - first));
}

// The truncated sum of targets, or the lowest 32-bit value when that is no 32-bit number.
std::string targetEntry(double sumTarget) {
    const double truncated = std::trunc(sumTarget);
    if (!(truncated >= -2147483648.0 && truncated <= 2147483647.0))
        return "-2147483648";
    return std::to_string(static_cast<int32_t>(truncated));
}

void appendShownModality(ModalityPass& pass, const ModalityFigures& modality, double rate, bool binaryTarget) {
    pass.categories += '\'';
    appendCategoryLabel(pass.categories, modality.name);
    pass.categories += '\'';
    pass.counts += std::to_string(modality.nOcc);
    if (binaryTarget) {
        NumberFormat::appendJsFixed(pass.rates, rate, 2);
        pass.targets += targetEntry(modality.sumTarget);
    } else {
        NumberFormat::appendJsG(pass.rates, rate, 6);
    }
}

void appendSeparator(ModalityPass& pass, const char* separator) {
    pass.categories += separator;
    pass.counts += separator;
    pass.rates += separator;
    pass.targets += separator;
}

ModalityPass passOverModalities(const VariableFigures& figures, bool binaryTarget) {
    ModalityPass pass;
    pass.modalityCount = static_cast<int>(figures.modalities.size());
    int position = 0;
    for (const ModalityFigures& modality : figures.modalities) {
        ++position;
        const int nOcc = modality.nOcc;
        const double scale = binaryTarget ? 100.0 : 1.0;
        const double rate = nOcc == 0 ? 0.0 : modality.sumTarget * scale / nOcc;
        pass.nLines += nOcc;
        pass.weighted += nOcc * rate;
        if (pass.modalityCount >= ModalityLimits::chartSinglesCut && nOcc <= 1)
            continue;
        ++pass.shownCount;
        appendShownModality(pass, modality, rate, binaryTarget);
        // Positions count Modality elements only: other elements among them must not take
        // a separator away, or adjacent entries would run together.
        if (position < pass.modalityCount)
            appendSeparator(pass, position % 5 == 0 ? ",\n\t\t\t" : ",");
    }
    return pass;
}

std::string averageValues(const ModalityPass& pass) {
    std::string out;
    if (pass.modalityCount == 0)
        return out;
    const std::string value = NumberFormat::jsG(pass.overall(), 15);
    for (int i = 0; i < std::max(1, pass.shownCount); ++i) {
        if (i > 0)
            out += ",";
        out += value;
    }
    return out;
}

std::string modalitySubtitle(const ModalityPass& pass, bool binaryTarget) {
    return "nLines= " + std::to_string(pass.nLines) +
           ", nModalities= " + std::to_string(pass.modalityCount) +
           ", targetMean= " + NumberFormat::g(pass.overall(), 15) +
           (binaryTarget ? "%" : "");
}

std::string categoryAxis(const ModalityPass& pass) {
    return "\n\t  xAxis: [{"
           "\n\t    categories: [" + pass.categories + "\n\t    ],"
           "\n\t    labels: {"
           "\n\t      align: 'right',"
           "\n\t      rotation: -45,"
           "\n\t      style: {color: '#000000'}"
           "\n\t    }"
           "\n\t  }],";
}

const char* rateTitle(bool binaryTarget) { return binaryTarget ? "Proba.Target" : "Target"; }

std::string modalityYAxes(bool binaryTarget) {
    std::string out = "\n\t  yAxis: [{ // on right side"
                      "\n\t    labels: {"
                      "\n\t      style: {color: '#FF0000'}"
                      "\n\t    },"
                      "\n\t    title: {"
                      "\n\t      text: '" + std::string(rateTitle(binaryTarget)) + "',"
                      "\n\t      style: {color: '#FF0000'},"
                      "\n\t      margin: 50"
                      "\n\t    },";
    if (binaryTarget)
        out += "\n\t    min: 0,";
    out += "\n\t    opposite: true"
           "\n\t  }, { // Secondary yAxis"
           "\n\t    title: {"
           "\n\t      text: 'nOccurence',"
           "\n\t      margin: 50,"
           "\n\t      style: {color: '#22AA22'}"
           "\n\t    },"
           "\n\t    labels: {"
           "\n\t      style: {color: '#22AA22'}"
           "\n\t    },"
           "\n\t    min: 0"
           "\n\t  }],";
    return out;
}

// The tooltip reads the hovered modality's values back from the series by position.
std::string modalityTooltipBody(const ModalityPass& pass, bool binaryTarget) {
    const std::string share = "+' (='+Number((Number(nOcc))*100/" + std::to_string(pass.nLines) +
                              ").toFixed(2)+'%)'+'<br/>'";
    if (!binaryTarget)
        return "\n"
               "\n\t      var nOcc  = this.point.series.chart.series[0].data[this.point.x].y;"
               "\n\t      var target= this.point.series.chart.series[1].data[this.point.x].y;"
               "\n"
               "\n\t      return '<b>'+ this.x +'</b><br/>'"
               "\n\t          + 'Count= '+ (Number(nOcc))" + share +
               "\n\t          + 'Target= '+ (Number(target))"
               "\n\t          ;";
    return "\n"
           "\n\t      var nOcc   = this.point.series.chart.series[0].data[this.point.x].y;"
           "\n\t      var nTarget= this.point.series.chart.series[1].data[this.point.x].y;"
           "\n\t      var target = this.point.series.chart.series[2].data[this.point.x].y;"
           "\n"
           "\n\t      return '<b>'+ this.x +'</b><br/>'"
           "\n\t          + 'Count= '+ (Number(nOcc))" + share +
           "\n\t          + 'Target= '+ (Number(nTarget))+'<br/>'"
           "\n\t          + 'Proba.Target= '+ (Number(target))+ '%<br/>' "
           "\n\t          + 'Mean Target= '+ " + NumberFormat::jsFixed(pass.overall(), 3, 5) +
           "+ '%'"
           "\n\t          ;";
}

std::string columnSeries(const char* name, const char* color, const std::string& data) {
    return "\n\t    type: 'column',"
           "\n\t    name: '" + std::string(name) + "',"
           "\n\t    color: '" + color + "',"
           "\n\t    yAxis: 1,"
           "\n\t    states:{hover:{brightness:0.3}},"
           "\n\t    stacking: 'normal',"
           "\n\t    data: [" + data + "]";
}

std::vector<std::string> modalitySeries(const ModalityPass& pass, bool binaryTarget) {
    std::vector<std::string> series{columnSeries("Count", "#008800", pass.counts)};
    if (binaryTarget)
        series.push_back(columnSeries("Target", "#AA0000", pass.targets));
    series.push_back(std::string("\n\t    type: 'spline',"
                                 "\n\t    name: '") + rateTitle(binaryTarget) + "',"
                     "\n\t    color: '#FF0000',"
                     "\n\t    data: [" + pass.rates + "]");
    series.push_back("\n\t    type: 'line',"
                     "\n\t    name: 'average',"
                     "\n\t    color: '#0000AA',"
                     "\n\t    marker: false,"
                     "\n\t    enableMouseTracking:false,"
                     "\n\t    data: [" + averageValues(pass) + "]");
    return series;
}

}  // namespace

void writeModalityChart(PageSink& page, const XmlNode& variable, const VariableFigures& figures, bool binaryTarget) {
    const ModalityPass pass = passOverModalities(figures, binaryTarget);
    ChartFrame frame;
    frame.variable = variable.attribute("idx");
    frame.container = "container" + frame.variable;
    frame.margin = "[80, 70, 100, 70]";
    frame.title = variable.attribute("label");
    if (frame.title.empty())
        frame.title = variable.attribute("name");
    frame.titleStyle = "\n\t    style: {"
                       "\n\t      margin: '10px 0 0 0' // center it"
                       "\n\t    }";
    frame.subtitle = modalitySubtitle(pass, binaryTarget);
    frame.subtitleStyle = "\n\t    style: {"
                          "\n\t      margin: '0 0 0 0' // center it"
                          "\n\t    }";
    frame.axes = categoryAxis(pass) + modalityYAxes(binaryTarget);
    frame.tooltip = modalityTooltipBody(pass, binaryTarget);
    frame.legend = "\n\t  legend: {enabled: false},";
    frame.plotOptions = "\n\t    line:{animation  : false}";
    frame.series = modalitySeries(pass, binaryTarget);
    frame.write(page);
}
