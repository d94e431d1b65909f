#include "html/Escape.h"
#include "html/Markup.h"
#include "html/NumberFormat.h"
#include "html/PageText.h"
#include "report/ChildWalk.h"
#include "report/Sections.h"
#include "xml/XmlNumbers.h"

#include <algorithm>

namespace {

constexpr int32_t kQualityListLength = 100;
// Visible width of the name column; the number columns start after it.
constexpr size_t kNameWidth = 52;

// Composes the rows of one modality table. The buffers live as long as the table, so a table
// of many thousands of rows allocates only while its longest row grows them.
class ModalityRowComposer {
public:
    ModalityRowComposer(bool binaryTarget, const VariableFigures& figures)
        : binaryTarget_(binaryTarget), figures_(figures) {}

    // Writes the whole row: span start, name column, number columns, span end.
    void write(PageSink& page, const ModalityFigures& modality, const char* styleClass) {
        numbers_.clear();
        appendNumbers(modality);
        const std::string_view name = modality.name;
        // Widths count UTF-16 units, as the reader's columns did.
        const size_t nameUnits = PageText::units(name);
        row_.clear();
        row_ += "<span class=\"";
        row_ += styleClass;
        row_ += "\">\n   ";
        const size_t shown = nameUnits > ModalityLimits::labelLimit ? ModalityLimits::labelKept + 3 : nameUnits;
        // Cut as PageText::cutToUnits cuts, without copying the name that needs no cut.
        if (nameUnits <= ModalityLimits::labelLimit)
            Escape::appendText(row_, name);
        else
            Escape::appendText(row_, PageText::firstUnits(name, ModalityLimits::labelKept) + "...");
        // Entities widen the text but not what the reader sees: pad by the unescaped length.
        if (shown < kNameWidth)
            row_.append(kNameWidth - shown, ' ');
        // A long name keeps its line; the numbers go below, in their usual columns.
        if (nameUnits > kNameWidth) {
            row_ += '\n';
            row_.append(3 + kNameWidth, ' ');
        }
        row_ += numbers_;
        row_ += "</span>";
        page << row_;
    }

private:
    void appendNumbers(const ModalityFigures& modality) {
        const int32_t nOcc = modality.nOcc;
        const double sumTarget = modality.sumTarget;
        const double index = figures_.index(modality);
        const bool empty = nOcc == 0;
        numbers_ += ' ';
        NumberFormat::appendInteger(numbers_, nOcc, 10);
        numbers_ += ' ';
        NumberFormat::appendFixed(numbers_, empty ? 0.0 : nOcc * 100.0 / figures_.nLine, 1, 10);
        if (binaryTarget_) {
            numbers_ += ' ';
            NumberFormat::appendFixed(numbers_, sumTarget, 0, 10);
            numbers_ += ' ';
            NumberFormat::appendFixed(numbers_, empty ? 0.0 : sumTarget * 100.0 / nOcc, 1, 12);
        } else {
            numbers_ += ' ';
            NumberFormat::appendFixed(numbers_, empty ? 0.0 : sumTarget / nOcc, 1, 12);
        }
        numbers_ += ' ';
        NumberFormat::appendFixed(numbers_, index, 1, 10);
    }

    const bool binaryTarget_;
    const VariableFigures& figures_;
    std::string row_;
    std::string numbers_;
};

void writeModalityTableHeader(PageSink& page, const XmlNode& variable, bool binaryTarget) {
    if (binaryTarget)
        page << "\nUnivariate AUC=  " << Escape::inlineMarkup(variable.attribute("auc")) << " %"
                "                                    Count       %         Count         Proba        %"
                "\n                                                           Dataset   DataSet      Target       Target      Index ";
    else
        page << "\n                                                           Count       %         Average         %"
                "\n                                                           Dataset   DataSet      Target       Index ";
}

void writeQualityLine(PageSink& page, const XmlNode& variable, double scale) {
    const double auc = parseDoubleOr(variable.attribute("auc"), 0.0);
    if (auc < 0.0)
        return;
    page << "<div syle=\"display: inline;\">";
    Markup::bar(page, std::min(auc, scale), scale, 98);
    page << "&nbsp;&nbsp; " << NumberFormat::fixed(auc, 3, 10) << " % : ";
    // An absent mark reads as not deleted.
    const std::string_view deleted = variable.attribute("deleted");
    if (!deleted.empty() && deleted[0] == '1')
        page << "(deleted) ";
    Markup::link(page, variable.attribute("name"), variable.attribute("idx"));
    page << "</div>\n";
}

void writeModalityTable(PageSink& page, const XmlNode& variable, const VariableFigures& figures, bool binaryTarget) {
    const auto count = static_cast<int32_t>(figures.modalities.size());
    page << "\n    <center>";
    Markup::chartContainer(page, variable.attribute("idx"), count);
    page << "</center>"
            "\n<pre>";
    // Very long tables leave out the modalities of a single line to bound the page's size.
    const bool dropSingles = count > ModalityLimits::tableSinglesCut;
    if (dropSingles)
        page << "\n    => The number of modalities is above 2000."
                "\n    => only modalities that occurs more than once will be displayed.";
    writeModalityTableHeader(page, variable, binaryTarget);
    ModalityRowComposer composer(binaryTarget, figures);
    bool evenLine = true;
    for (const ModalityFigures& modality : figures.modalities) {
        if (dropSingles && modality.nOcc <= 1)
            continue;
        composer.write(page, modality, evenLine ? "OrbStyle_tableEvenLine" : "OrbStyle_tableOddLine");
        evenLine = !evenLine;
    }
    page << "\n</pre>";
}

}  // namespace

void writeVariableStatistics(PageSink& page, const XmlNode& report, bool binaryTarget, VariableFiguresCache& figures) {
    Markup::h2(page, "Statistics for Variables in Model");
    forEachChildNamed(report.childNamed("ModelVariableLong"), "Var", [&](const XmlNode& variable) {
        // The name is the annotation of a labelled heading, and the heading itself otherwise.
        const std::string_view name = variable.attribute("name");
        const std::string_view label = variable.attribute("label");
        Markup::h3(page, label.empty() ? name : label, variable.attribute("idx"), label.empty() ? "" : name);
        writeModalityTable(page, variable, figures.of(variable), binaryTarget);
    });
}

void writeHighestUnivariateQuality(PageSink& page, const XmlNode& report, bool binaryTarget) {
    if (!binaryTarget)
        return;
    const XmlNode list = report.childNamed("UnivariateAUC");
    const double highest = parseDoubleOr(list.attribute("highestNormalAUC"), 100.0);
    if (!(highest > 0.00001))
        return;
    // The small margin keeps the highest AUC itself one pixel short of a full bar.
    const double scale = highest + 0.0000001;
    Markup::h2(page, "Highest Univariate Quality of variables (" + NumberFormat::integer(kQualityListLength) +
                         " first only)");
    page << "\n<span style=\"line-height:24px;\">";
    // The limit counts positions among all children, the skipped negative AUCs included.
    int32_t cursor = 0;
    for (XmlNode variable = list.childNamed("Var", &cursor); !variable.isEmpty();
         variable = list.childNamed("Var", &cursor)) {
        writeQualityLine(page, variable, scale);
        if (cursor >= kQualityListLength)
            break;
    }
    page << "\n</span>";
}
