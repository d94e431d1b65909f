#include "html/Escape.h"
#include "html/Markup.h"
#include "html/NumberFormat.h"
#include "report/Sections.h"
#include "xml/XmlNumbers.h"

namespace {

const char kSpacerRow[] = "\n  <tr><td colspan=\"7\"></td></tr>";

std::string textOf(const XmlNode& stats, const char* attribute) {
    return Escape::inlineMarkup(stats.attribute(attribute));
}

int32_t integerOf(const XmlNode& stats, const char* attribute) {
    return parseIntOr(stats.attribute(attribute), 0);
}

// Shares are written at least five wide, so that 5% lines up under 30%.
std::string share(double percent, int decimals) { return NumberFormat::fixed(percent, decimals, 5); }

// part ÷ whole × 100, in that order.
double percent(int32_t part, int32_t whole) { return static_cast<double>(part) / whole * 100.0; }

// The page shows what 32-bit arithmetic gives; wrapping explicitly keeps an overflowing input
// defined behaviour.
int32_t wrapped(int64_t value) { return static_cast<int32_t>(static_cast<uint32_t>(value)); }

void writeTitleRow(PageSink& page, const char* title) {
    page << "\n  <tr>"
            "\n    <td colspan=\"7\" align=\"left\">" << title << "</td>"
            "\n  </tr>";
}

void writeCountRow(PageSink& page, const char* label, const std::string& value) {
    page << "\n  <tr>"
            "\n    <td width=\"12\">&nbsp;</td>"
            "\n    <td width=\"261\" align=\"left\">" << label << "</td>"
            "\n    <td width=\"71\" align=\"right\">" << value << "</td>"
            "\n  </tr>";
}

void writeSamplingRow(PageSink& page, int32_t sampled, int32_t inTest, const std::string& testShare) {
    page << "\n  <tr>"
            "\n    <td width=\"12\">&nbsp;</td>"
            "\n    <td width=\"261\" align=\"left\">After sampling</td>"
            "\n    <td width=\"71\" align=\"right\">" << sampled << "</td>"
            "\n    <td width=\"17\">&nbsp;=</td>"
            "\n    <td width=\"78\" align=\"right\" >" << inTest << "</td>"
            "\n    <td width=\"89\" align=\"right\"  >(TestSet</td>"
            "\n    <td width=\"90\" align=\"left\"  >= " << testShare << "%)</td>"
            "\n  </tr>";
}

void writeCreationRow(PageSink& page, int32_t inCreation, const std::string& creationShare) {
    page << "\n  <tr>"
            "\n    <td width=\"12\">&nbsp;</td>"
            "\n    <td>&nbsp;</td>"
            "\n    <td>&nbsp;</td>"
            "\n    <td width=\"17\">&nbsp;+</td>"
            "\n    <td width=\"78\" align=\"right\" >" << inCreation << "</td>"
            "\n    <td width=\"89\" align=\"right\"  >(CreationSet</td>"
            "\n    <td width=\"90\" align=\"left\"  >= " << creationShare << "%)</td>"
            "\n  </tr>";
}

void writeDatasetBlock(PageSink& page, const XmlNode& stats, int32_t sampled) {
    const int32_t inTest = integerOf(stats, "nLineInTestSet");
    const int32_t inCreation = integerOf(stats, "nLineInCreationSet");
    // The first two rows lack a blank before some attributes; the page keeps that.
    page << "\n  <tr><td colspan=\"7\" align=\"left\">Dataset</td></tr>"
            "\n  <tr>"
            "\n    <td width=\"12\">&nbsp;</td>"
            "\n    <td width=\"261\" align=\"left\">Initial count</td>"
            "\n    <td width=\"71\"align=\"right\">" << textOf(stats, "nLineStart") << "</td>"
            "\n  </tr>"
            "\n  <tr>"
            "\n    <td width=\"12\">&nbsp;</td>"
            "\n    <td width=\"261\"align=\"left\">After lines exclusion/selection</td>"
            "\n    <td width=\"71\"align=\"right\">" << integerOf(stats, "nLineSQL") << "</td>"
            "\n  </tr>";
    writeSamplingRow(page, sampled, inTest, share(percent(inTest, sampled), 2));
    writeCreationRow(page, inCreation, share(percent(inCreation, sampled), 2));
    page << kSpacerRow << kSpacerRow;
}

void writeAprioriRow(PageSink& page, const char* label, double probability) {
    page << "\n  <tr>"
            "\n    <td colspan=\"2\" align=\"left\">" << label << "</td>"
            "\n    <td align=\"right\">" << share(probability, 3) << "</td>"
            "\n    <td width=\"17\"> % </td>"
            "\n  </tr>";
}

void writeTargetBlock(PageSink& page, const XmlNode& stats, int32_t sampled) {
    const int32_t selected = integerOf(stats, "nTargetSQL");
    const int32_t targets = integerOf(stats, "nTargetSampling");
    const int32_t inTest = integerOf(stats, "nTargetInTestSet");
    const int32_t inCreation = wrapped(int64_t{targets} - inTest);
    writeTitleRow(page, "Target");
    writeCountRow(page, "Initial count", textOf(stats, "nTargetCountStart"));
    writeCountRow(page, "Against dataset", textOf(stats, "nTargetInWholeDataset"));
    writeCountRow(page, "After lines exclusion/selection", NumberFormat::integer(selected));
    writeSamplingRow(page, targets, inTest, share(percent(inTest, targets), 3));
    writeCreationRow(page, inCreation, share(percent(inCreation, targets), 3));
    page << kSpacerRow;
    writeAprioriRow(page, "Apriori probability of Target in selected lines",
                    selected * 100.0 / integerOf(stats, "nLineSQL"));
    writeAprioriRow(page, "Apriori probability of Target in sample", targets * 100.0 / sampled);
    page << kSpacerRow << kSpacerRow;
}

void writeVariablesBlock(PageSink& page, const XmlNode& stats) {
    writeTitleRow(page, "Number of Variable");
    writeCountRow(page, "Initial Number of Columns", textOf(stats, "nColInitialCount"));
    writeCountRow(page, "Initial variable count", textOf(stats, "nCountVarStart"));
    writeCountRow(page, "After Exclusions", textOf(stats, "nVarAfterSQL"));
    writeCountRow(page, "After removing irrelevant var", textOf(stats, "nVarAfterPruning"));
    writeCountRow(page, "Inside simple model", textOf(stats, "nVarInsideBasicModel"));
    writeCountRow(page, "Inside pruned model", textOf(stats, "nVarInsidePrunedModel"));
    page << kSpacerRow << kSpacerRow;
}

// openCell differs between the two rows by one blank, which the page keeps.
void writeMinimumSizeRow(PageSink& page, const char* label, const char* openCell,
                         int32_t size, int32_t sampled) {
    const int32_t hundredfold = wrapped(int64_t{size} * 100);
    const std::string sizeShare = share(static_cast<double>(hundredfold) / sampled, 3);
    page << "\n  <tr>"
            "\n    <td width=\"12\">&nbsp;</td>"
            "\n    <td width=\"261\" align=\"left\">" << label << "</td>"
            "\n    <td width=\"71\" align=\"right\">" << size << "</td>"
            "\n    <td width=\"17\" align=\"right\"" << openCell << " ( </td>"
            "\n    <td width=\"78\" align=\"right\" >" << sizeShare << "</td>"
            "\n    <td width=\"78\" align=\"left\" colspan=\"2\" >&nbsp;% of universe)</td>"
            "\n  </tr>";
}

void writeRegroupingBlock(PageSink& page, const XmlNode& stats, int32_t sampled) {
    writeTitleRow(page, "Regrouping modalities of nominal variables");
    page << "\n  <tr>"
            "\n    <td width=\"12\">&nbsp;</td>"
            "\n    <td width=\"261\" align=\"left\">minimum modality size for variables:</td>"
            "\n  </tr>";
    writeMinimumSizeRow(page, "- without order", " >",
                        integerOf(stats, "minSizeModalityForNominalVar"), sampled);
    writeMinimumSizeRow(page, "- with order", ">",
                        integerOf(stats, "minSizeModalityForOrderedVar"), sampled);
}

}  // namespace

void writeGeneralCounts(PageSink& page, const XmlNode& report, bool binaryTarget) {
    const XmlNode stats = report.childNamed("GeneralStats");
    // Documents may carry the sampled line count under a misspelt name only.
    int32_t sampled = integerOf(stats, "nLineSampling");
    if (sampled == 0)
        sampled = integerOf(stats, "nLineSamping");
    Markup::h2(page, "General Counts");
    page << "\n"
            "\nDataset: " << textOf(stats, "configFile") << "<br>"
            "\n" << (binaryTarget ? "Binary modeling" : "Continuous modeling")
         << "\n<table width=\"700\" border=\"0\" nowrap=\"nowrap\" >";
    writeDatasetBlock(page, stats, sampled);
    if (binaryTarget)
        writeTargetBlock(page, stats, sampled);
    writeVariablesBlock(page, stats);
    writeRegroupingBlock(page, stats, sampled);
    page << "\n</table>";
}
