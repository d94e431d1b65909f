#include "report/ReportGenerator.h"

#include "html/XmlText.h"

#include <cstdio>
#include <optional>
#include <utility>

namespace {

// True for a binary target ("t", "T"), false for a continuous one ("c", "C"); nothing for
// any other value. An absent attribute or GeneralStats element counts as unknown too.
std::optional<bool> binaryTargetFromJob(const XmlNode& reportRoot) {
    const QString job = xmlText(reportRoot.childNamed("GeneralStats").attribute("predictionJob"));
    if (job == "t" || job == "T")
        return true;
    if (job == "c" || job == "C")
        return false;
    return std::nullopt;
}

}  // namespace

ReportGenerator::ReportGenerator(XmlNode reportRoot_, XmlNode chartRoot_, const QString& pageName,
                                 const QString& basePath_)
    : HtmlWriter(pageName, basePath_),
      reportRoot(std::move(reportRoot_)),
      chartRoot(std::move(chartRoot_)) {}

ReportGenerator::ReportGenerator(XmlNode reportRoot_, XmlNode chartRoot_, QString* target,
                                 const QString& basePath_)
    : HtmlWriter(target, basePath_),
      reportRoot(std::move(reportRoot_)),
      chartRoot(std::move(chartRoot_)) {}

bool ReportGenerator::generate() {
    const std::optional<bool> binaryTarget = binaryTargetFromJob(reportRoot);
    if (!binaryTarget) {
        // Checked before the first byte so that a failed run leaves an empty page.
        std::printf("ERROR: Unknown predictionJob\n");
        std::fflush(stdout);
        return true;
    }
    isBinaryTarget = *binaryTarget;

    writeDocumentStart();
    writeHead();
    *this << "\n</head>"
             "\n<body>";
    writeBanner(QStringLiteral("Analyst report v") + xmlText(reportRoot.attribute("version")));
    writeTargetLine();
    writeRankingTable();
    writeLiftsSection();
    if (reportRoot.childNamed("VariablesIllustrative").childCount() > 0)
        writeSignaleticTable();
    writeGeneralCounts();
    writeTechnicalParameters();
    writePrunedVariables();
    writeSuspiciousVariables();
    writeIgnoredVariables();
    writeVariableStatistics();
    writeHighestUnivariateQuality();
    *this << "\n</body>"
             "\n</html>";
    close();
    return false;
}

// Every chart script sits in the head; the sections write the containers they draw into.
void ReportGenerator::writeHead() {
    *this << "\n<head>"
             "\n<title>ORB - analyst report</title>"
             "\n";
    writeScriptIncludes();
    writeModelCharts();
    const XmlNode modelVariables = reportRoot.childNamed("ModelVariableLong");
    int32_t cursor = 0;
    for (XmlNode variable = modelVariables.childNamed("Var", &cursor); !variable.isEmpty();
         variable = modelVariables.childNamed("Var", &cursor))
        writeModalityChart(variable, isBinaryTarget);
    writeStyleSheet();
}

void ReportGenerator::writeTargetLine() {
    const XmlNode target = reportRoot.childNamed("Target").childNamed("HumanReadable");
    writeH2(QStringLiteral("Target:"), QStringLiteral("display:inline"));
    *this << " \n\t\t" << escapeHtml(xmlText(target.textAt(0))) << "\n\t";
}
