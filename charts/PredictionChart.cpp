// Prediction charts of a continuous target: predicted against real target ("delivered"), and
// the prediction errors against real target ("selectedPruned").

#include "charts/ChartFrame.h"
#include "charts/ChartSeries.h"
#include "charts/Charts.h"
#include "html/NumberFormat.h"
#include "xml/XmlNumbers.h"

#include <span>

namespace {

struct PredictionSeriesSetting {
    ChartSeries series;
    const char* curve;  // null for the zero line, which is drawn from the x range
};

constexpr PredictionSeriesSetting deliveredSeries[] = {
    {.series = {.name = "Final Model Full", .color = "#000000", .type = "scatter"}, .curve = "dots"},
    {.series = {.name = "Perfect", .color = "#0000FF", .enableMouseTracking = false}, .curve = "Perfect"},
    {.series = {.name = "Constant Mean", .color = "#FF0000", .enableMouseTracking = false}, .curve = "ConstantMean"},
};

constexpr PredictionSeriesSetting selectedPrunedSeries[] = {
    {.series = {.name = "", .color = "#000000", .lineWidth = 3, .enableMouseTracking = false}, .curve = nullptr},
    {.series = {.name = "Constant", .color = "#008800"}, .curve = "Constant"},
    {.series = {.name = "Prediction Error", .color = "#FF0000"}, .curve = "InterceptError"},
    {.series = {.name = "Absolute Prediction Error", .color = "#0000FF"}, .curve = "AbsoluteInterceptError"},
    {.series = {.name = "Absolute Prediction Error High", .color = "#AAAAFF"}, .curve = "AbsoluteInterceptErrorH"},
    {.series = {.name = "Absolute Prediction Error Low", .color = "#AAAAFF"}, .curve = "AbsoluteInterceptErrorL"},
};

constexpr int selectedPrunedPosition(std::string_view name) {
    return seriesIndex(std::span<const PredictionSeriesSetting>(selectedPrunedSeries), name);
}

// Hovering one of the absolute error curves shows all three at that x.
constexpr BandSeries absoluteErrorBand = {
    .low = selectedPrunedPosition("Absolute Prediction Error Low"),
    .middle = selectedPrunedPosition("Absolute Prediction Error"),
    .high = selectedPrunedPosition("Absolute Prediction Error High"),
    .lengths = selectedPrunedPosition("Absolute Prediction Error"),
    .abscissae = selectedPrunedPosition("Prediction Error"),
    .comment = "curve with percentage",
    .yLabel = "'<br/>y = '",
};
static_assert(absoluteErrorBand.low >= 0 && absoluteErrorBand.middle >= 0 && absoluteErrorBand.high >= 0 &&
              absoluteErrorBand.abscissae >= 0);

struct XRange {
    double min;
    double max;
};

std::string zeroLine(XRange range) {
    // Appended piece by piece: g++ 12 at -O3 warns falsely (-Wrestrict) on "[" + a temporary.
    std::string line = "[";
    line += NumberFormat::jsG(range.min, 6);
    line += ",0],[";
    line += NumberFormat::jsG(range.max, 6);
    line += ",0]";
    return line;
}

std::vector<std::string> predictionSeries(const XmlNode& curves, XRange range,
                                          std::span<const PredictionSeriesSetting> settings) {
    std::vector<std::string> texts;
    for (const PredictionSeriesSetting& setting : settings)
        texts.push_back(setting.series.scriptText(setting.curve ? buildPointList(curves, setting.curve, false, 16)
                                                                : zeroLine(range)));
    return texts;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The bounds go into the script bare, so only a decimal number may pass: anything else
// (a word, an expression, "</script>") would break or hijack the script. The form: blanks,
// a sign, "0" or digits not starting with 0, a point and digits, an exponent, blanks, and at
// most one line feed at the very end; at least one digit before the exponent.
bool isPlainNumber(std::string_view text) {
    size_t i = 0;
    const auto at = [&](size_t k) { return k < text.size() ? text[k] : '\0'; };
    const auto skipBlanks = [&] {
        while (at(i) == ' ' || at(i) == '\t')
            ++i;
    };
    skipBlanks();
    if (at(i) == '+' || at(i) == '-')
        ++i;
    size_t digits = 0;
    if (at(i) == '0') {
        ++i, ++digits;
    } else {
        for (; isDigit(at(i)); ++i)
            ++digits;
    }
    if (at(i) == '.')
        for (++i; isDigit(at(i)); ++i)
            ++digits;
    if (at(i) == 'e' || at(i) == 'E') {
        size_t k = i + 1;
        if (at(k) == '+' || at(k) == '-')
            ++k;
        if (!isDigit(at(k)))
            return false;
        while (isDigit(at(k)))
            ++k;
        i = k;
    }
    skipBlanks();
    if (i + 1 == text.size() && text[i] == '\n')
        ++i;
    return digits > 0 && i == text.size();
}

std::string yRange(const XmlNode& ranges) {
    const std::string_view low = ranges.attribute("ymin");
    const std::string_view high = ranges.attribute("ymax");
    if (!isPlainNumber(low) || !isPlainNumber(high))
        return {};
    return "\n\t      min: " + std::string(low) + ",max: " + std::string(high) + ",";
}

std::string xRange(XRange range) {
    // Drawn 5 % inside the given range at each end.
    const double margin = (range.max - range.min) * 0.05;
    return "\n\t      min: " + NumberFormat::jsG(range.min + margin, 16) +
           ",max: " + NumberFormat::jsG(range.max - margin, 16) + ",";
}

std::string predictionAxes(bool delivered, const XmlNode& ranges, XRange range) {
    std::string out = "\n\t    xAxis: [{"
                      "\n\t      title: {text: 'real target',style: {color: '#405060'},enabled:true},";
    out += xRange(range);
    out += "\n\t      showFirstLabel: true,"
           "\n\t      showLastLabel:true,"
           "\n\t      labels: {"
           "\n\t        style: {color: '#405060'}"
           "\n\t      }"
           "\n\t    }],"
           "\n\t    yAxis: [{";
    out += delivered ? "\n\t      title: {text: 'predicted target',style: {color: '#405060',margin: 20}},"
                     : "\n\t      title: {text: 'prediction error',style: {color: '#405060',margin: 20}},";
    out += yRange(ranges);
    out += "\n\t      showFirstLabel: false,"
           "\n\t      showLastLabel:true,"
           "\n\t      labels: {"
           "\n\t        formatter: function() {return this.value;},"
           "\n\t        style: {color: '#405060'}"
           "\n\t      }"
           "\n\t    }],";
    return out;
}

std::string predictionSubtitle(bool delivered, const XmlNode& curves) {
    std::string out = "<font face=\"verdana\" >";
    if (!delivered)
        out += " Red: error,"
               " Blue: abs error"
               "<br/>";
    out += " MAE=" + quotedAttribute(curves, "MAE") +
           " RSquared=" + quotedAttribute(curves, "RSquared") +
           " nLine=" + quotedAttribute(curves, "nLine") +
           " nVar=" + quotedAttribute(curves, "nVar") +
           "</font>";
    return out;
}

constexpr const char* predictionTooltip =
    "\n\t          return '<b>'+ this.series.name +'</b><br/>'"
    "\n\t            + 'real     = '+ this.x +'<br/>'"
    "\n\t            + 'predicted= '+ this.y"
    "\n\t           ;";

}  // namespace

void writePredictionChart(PageSink& page, const XmlNode& curves, const char* kind, const char* title) {
    const bool delivered = std::string_view(kind) == "delivered";
    const XmlNode ranges = curves.childNamed("ranges");
    const XRange range{parseDoubleOr(ranges.attribute("xmin"), 0.0),
                       parseDoubleOr(ranges.attribute("xmax"), 100.0)};
    ChartFrame frame = ChartFrame::modelChart(kind, title);
    frame.margin = "[60, 50, 60, 40]";
    frame.titleStyle = "\n\t      style: {margin: '10px 0 0 0'}";
    frame.subtitle = predictionSubtitle(delivered, curves);
    frame.axes = predictionAxes(delivered, ranges, range);
    frame.tooltip = (delivered ? std::string(predictionTooltip) : bandTooltip(absoluteErrorBand)) + pointTooltip;
    frame.legend = "\n\t    legend: false,";
    frame.plotOptions = "\n\t      scatter:{animation  : false},"
                        "\n\t      line:{animation  : false}";
    frame.series = delivered ? predictionSeries(curves, range, deliveredSeries)
                             : predictionSeries(curves, range, selectedPrunedSeries);
    frame.write(page);
}
