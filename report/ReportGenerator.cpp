#include "report/ReportGenerator.h"

#include "charts/Charts.h"
#include "html/Escape.h"
#include "html/Markup.h"
#include "report/ChildWalk.h"
#include "report/Sections.h"

#include <utility>

namespace {

// True for a binary target ("t", "T"), false for a continuous one ("c", "C"); nothing for
// any other value. An absent attribute or GeneralStats element counts as unknown too.
std::optional<bool> binaryTargetFromJob(const XmlNode& reportRoot) {
    const std::string_view job = reportRoot.childNamed("GeneralStats").attribute("predictionJob");
    if (job == "t" || job == "T")
        return true;
    if (job == "c" || job == "C")
        return false;
    return std::nullopt;
}

}  // namespace

ReportGenerator::ReportGenerator(XmlNode reportRoot_, XmlNode chartRoot_, PageSink& page_, const PageFrame& frame_)
    : reportRoot(std::move(reportRoot_)), chartRoot(std::move(chartRoot_)), page(page_), frame(frame_) {}

ReportGenerator::Outcome ReportGenerator::generate() {
    const std::optional<bool> binaryTarget = binaryTargetFromJob(reportRoot);
    // Checked before the first byte so that a failed run leaves an empty page.
    if (!binaryTarget)
        return Outcome::UnknownPredictionJob;
    writeHead(*binaryTarget);
    writeTargetLine(page, reportRoot);
    writeRankingTable(page, reportRoot, *binaryTarget, figures);
    writeLiftsSection(page, *binaryTarget);
    if (reportRoot.childNamed("VariablesIllustrative").childCount() > 0)
        writeSignaleticTable(page, reportRoot, *binaryTarget, figures);
    writeGeneralCounts(page, reportRoot, *binaryTarget);
    writeTechnicalParameters(page, reportRoot);
    writePrunedVariables(page, reportRoot);
    writeSuspiciousVariables(page, reportRoot);
    writeIgnoredVariables(page, reportRoot);
    writeVariableStatistics(page, reportRoot, *binaryTarget, figures);
    writeHighestUnivariateQuality(page, reportRoot, *binaryTarget);
    PageFrame::writeEnd(page);
    page.flush();
    return Outcome::Written;
}

// Every chart script sits in the head; the sections write the containers they draw into.
void ReportGenerator::writeHead(bool binaryTarget) {
    frame.writeHeadStart(page);
    writeModelCharts(page, chartRoot, binaryTarget);
    forEachChildNamed(reportRoot.childNamed("ModelVariableLong"), "Var",
                      [&](const XmlNode& variable) {
                          writeModalityChart(page, variable, figures.of(variable), binaryTarget);
                      });
    std::string caption = "Analyst report v";
    caption += reportRoot.attribute("version");
    frame.writeHeadEnd(page, caption);
}

void writeTargetLine(PageSink& page, const XmlNode& report) {
    Markup::h2(page, "Target:", "display:inline");
    page << " \n\t\t" << Escape::text(report.childNamed("Target").childNamed("HumanReadable").textAt(0)) << "\n\t";
}
