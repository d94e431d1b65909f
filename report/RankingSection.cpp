#include "html/Escape.h"
#include "html/Markup.h"
#include "html/NumberFormat.h"
#include "html/PageText.h"
#include "report/Sections.h"
#include "xml/XmlNumbers.h"

#include <cmath>
#include <limits>

namespace {

constexpr double kLargest = std::numeric_limits<double>::max();

const char kRankingHeader[] =
    "\n"
    "\n<table width=\"100%\" border=\"0\" cellpadding=\"0\" cellspacing=\"0\" style=\"white-space: nowrap;\">"
    "\n  <tr>"
    "\n    <td width=\"8\" class=\"blBorderBottom\">&nbsp;</td>"
    "\n    <td width=\"30%\" class=\"blBorderBottom\" >&nbsp;</td>"
    "\n    <td colspan=\"2\" class=\"blBorderBottomLeft\">Importance <br/>"
    "\n    [%]</td>"
    "\n    <td colspan=\"2\" class=\"blBorderBottomLeft\">Univ. Import. <br/>"
    "\n    [%]</td>"
    "\n    <td colspan=\"2\" class=\"blBorderBottomLeft\">Correlation with <br/>"
    "\n    Target [%]</td>"
    "\n    <td colspan=\"2\" class=\"blBorderBottomLeft\">Weight In <br/>"
    "\n    Model [%]</td>"
    "\n    <td width=\"45\" class=\"blBorderBottomLeft\" >Min</td>"
    "\n    <td width=\"100\" class=\"blBorderBottom\" >INDEX [%]</td>"
    "\n    <td width=\"45\" class=\"blBorderBottom\" >Max</td>"
    "\n    <td width=\"91\" class=\"blBorderBottomLeft\" align=\"center\" >Highest Positive <br/>"
    "\n    Discrim.</td>"
    "\n    <td width=\"121\" class=\"blBorderBottomLeft\" >Modalities</td>"
    "\n  </tr>";

const char kSignaleticHeader[] =
    "\n"
    "\n<table width=\"100%\" border=\"0\" cellpadding=\"0\" cellspacing=\"0\" >"
    "\n  <tr>"
    "\n    <td width=\"8\" class=\"blBorderBottom\">&nbsp;</td>"
    "\n    <td width=\"30%\" class=\"blBorderBottom\" >&nbsp;</td>"
    "\n    <td colspan=\"2\" class=\"blBorderBottomLeft\">Univ. Import. <br/>"
    "\n    [%]</td>"
    "\n    <td width=\"45\" class=\"blBorderBottomLeft\" >Min</td>"
    "\n    <td width=\"100\" class=\"blBorderBottom\" >Average.Targ. <br/>"
    "\n    [%]</td>"
    "\n    <td width=\"45\" class=\"blBorderBottom\" >Max</td>"
    "\n    <td width=\"91\" class=\"blBorderBottomLeft\" align=\"center\" >Highest Positive <br/>"
    "\n    Discrim.</td>"
    "\n    <td width=\"121\" class=\"blBorderBottomLeft\" >Modalities</td>"
    "\n  </tr>";

// Index statistics over one variable's modalities, started afresh for every row.
struct ModalityExtremes {
    double lowest = kLargest;         // zero indices included
    double lowestNonZero = kLargest;  // a zero index never counts
    double highest = -kLargest;
    const ModalityFigures* best = nullptr;  // the first of the highest index; null when none beat the start
};

ModalityExtremes modalityExtremes(const VariableFigures& figures) {
    ModalityExtremes extremes;
    for (const ModalityFigures& modality : figures.modalities) {
        const double index = figures.index(modality);
        if (index < extremes.lowest)
            extremes.lowest = index;
        if (index != 0.0 && index < extremes.lowestNonZero)
            extremes.lowestNonZero = index;
        if (index > extremes.highest) {
            extremes.highest = index;
            extremes.best = &modality;
        }
    }
    return extremes;
}

// Scale of a bar column: the largest magnitude over the first count children.
double largestMagnitude(const XmlNode& list, int32_t count, const char* attribute) {
    double largest = -kLargest;
    for (int32_t i = 0; i < count; ++i) {
        const double value = parseDoubleOr(list.childAt(i).attribute(attribute), 0.0);
        const double magnitude = std::fabs(value);
        if (magnitude > largest)
            largest = magnitude;
    }
    return largest;
}

void writeRankAndNameCells(PageSink& page, int rank, const XmlNode& variable) {
    page << "\n  <tr>"
            "\n    <td width=\"8\" class=\"thinline\">" << rank << "</td>"
            "\n    <td align=\"left\" nowrap=\"nowrap\" class=\"thinline\">";
    Markup::link(page, Escape::text(variable.attribute("name")), variable.attribute("idx"));
    page << "</td>";
}

// The closing cells of both tables. No "</tr>" follows: the next "<tr>" or the table's end
// closes the row.
void writeModalitySummaryCells(PageSink& page, const VariableFigures& figures, bool binaryTarget,
                               const std::string& lowest, const std::string& highest,
                               const std::string& best) {
    page << "\n    <td class=\"blBorderLeft\" >" << lowest << "</td>"
            "\n    <td class=\"thinline\">";
    writeLineSparkline(page, figures, binaryTarget);
    page << "</td>"
            "\n    <td class=\"greyBorderBottom\" >" << highest << "</td>"
            "\n    <td nowrap=\"nowrap\" class=\"blBorderLeft\">" << best << "</td>"
            "\n    <td class=\"blBorderLeft\">";
    writeBoxSparkline(page, figures);
    page << "</td>";
}

}  // namespace

void writeValueCells(PageSink& page, const XmlNode& node, const char* attributeName, double maximum,
                     double threshold) {
    const double value = parseDoubleOr(node.attribute(attributeName), 0.0);
    if (maximum == 0.0)
        maximum = 1.0;
    if (value > threshold) {
        page << "\n\t<td width=\"35\" class=\"blBorderLeft\" >" << NumberFormat::fixed(value, 2)
             << "&nbsp;</td>\n\t<td width=\"45\" class=\"greyBorderBottom\" >";
        Markup::bar(page, std::fabs(value), maximum, 40);
        page << "</td>";
    } else {
        page << "\n\t<td width=\"35\" class=\"blBorderLeft\" >&nbsp;</td>"
                "\n\t<td width=\"45\" class=\"greyBorderBottom\" >&nbsp;</td>";
    }
}

void writeRankingTable(PageSink& page, const XmlNode& report, bool binaryTarget, VariableFiguresCache& figures) {
    const XmlNode shortList = report.childNamed("ModelVariableShort");
    const XmlNode longList = report.childNamed("ModelVariableLong");
    const int32_t count = shortList.childCount();
    const double maxImportance = largestMagnitude(shortList, count, "importance");
    const double maxAuc = largestMagnitude(longList, count, "auc");
    const double maxCorrelation =
        largestMagnitude(shortList, count, "linearCorrelationWithTarget");
    const double maxWeight = largestMagnitude(shortList, count, "weightNormalized");
    Markup::h2(page, "Discriminative Variables ranking");
    page << kRankingHeader;
    // Only this text outlives its row: a row without a usable modality repeats the previous one.
    std::string best = " ";
    for (int32_t i = 0; i < count; ++i) {
        const XmlNode variable = shortList.childAt(i);
        const XmlNode details = longList.childAt(i);
        writeRankAndNameCells(page, i + 1, variable);
        writeValueCells(page, variable, "importance", maxImportance, -9900.0);
        writeValueCells(page, details, "auc", maxAuc, -kLargest);
        writeValueCells(page, variable, "linearCorrelationWithTarget", maxCorrelation, -kLargest);
        writeValueCells(page, variable, "weightNormalized", maxWeight, -kLargest);
        const VariableFigures& detailFigures = figures.of(details);
        const ModalityExtremes extremes = modalityExtremes(detailFigures);
        if (extremes.best != nullptr)
            best = Escape::text(extremes.best->name);
        // The cut counts the escaped text, so an entity may be split.
        best = PageText::cutToUnits(best, 33, 30);
        writeModalitySummaryCells(page, detailFigures, binaryTarget, NumberFormat::fixed(extremes.lowestNonZero, 2),
                                  NumberFormat::fixed(extremes.highest, 2), best);
    }
    page << "\n  </table>";
}

void writeSignaleticTable(PageSink& page, const XmlNode& report, bool binaryTarget, VariableFiguresCache& figures) {
    const XmlNode list = report.childNamed("VariablesIllustrative");
    const int32_t count = list.childCount();
    if (count == 0)
        return;
    const double maxAuc = largestMagnitude(list, count, "auc");
    Markup::h2(page, "Signaletic Variables");
    page << kSignaleticHeader;
    for (int32_t i = 0; i < count; ++i) {
        const XmlNode variable = list.childAt(i);
        writeRankAndNameCells(page, i + 1, variable);
        writeValueCells(page, variable, "auc", maxAuc, -1.0);
        const VariableFigures& variableFigures = figures.of(variable);
        const ModalityExtremes extremes = modalityExtremes(variableFigures);
        // Without a usable modality the row shows what the link showed: the escaped variable
        // name, which the escaping below then applies to once more.
        std::string best = extremes.best == nullptr ? Escape::text(variable.attribute("name"))
                                                    : std::string(extremes.best->name);
        // Unlike the ranking table, the cut is decided on the text before escaping.
        const size_t length = PageText::units(best);
        best = Escape::text(best);
        if (length > 25)
            best = PageText::firstUnits(best, 23) + "..";
        writeModalitySummaryCells(page, variableFigures, binaryTarget, NumberFormat::g(extremes.lowest),
                                  NumberFormat::g(extremes.highest), best);
    }
    page << "\n  </table>";
    for (int32_t i = 0; i < count; ++i)
        page << "<img src=\"" << Escape::attribute(list.childAt(i).attribute("graph"))
             << "\" alt=\"graph\" width=\"560\" height=\"512\"/>";
}
