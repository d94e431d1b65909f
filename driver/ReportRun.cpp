#include "driver/ReportRun.h"

#include "driver/OutputFiles.h"
#include "driver/ResourceFiles.h"
#include "report/ReportGenerator.h"

#include <iterator>
#include <utility>

namespace {

struct OutcomeRow {
    RunOutcome outcome;
    const char* line;
    int exitCode;
};

// In the order of RunOutcome.
constexpr OutcomeRow outcomes[] = {
    {RunOutcome::Written, "All Ok.\n", 0},
    {RunOutcome::InvalidReport, "Error: Invalid AnalystReport file\n", 1},
    {RunOutcome::InvalidCharts, "Error: Invalid Graph file\n", 1},
    {RunOutcome::UnknownPredictionJob, "ERROR: Unknown predictionJob\n", 1},
    {RunOutcome::PageNotWritten, "Error: Cannot write the page file\n", 1},
    {RunOutcome::SideFolderNotWritten, "Error: Cannot write the side folder\n", 1},
    {RunOutcome::OutOfMemory, "Error: Not enough memory\n", 1},
};

constexpr bool inOrder() {
    for (size_t i = 0; i < std::size(outcomes); ++i) {
        if (static_cast<size_t>(outcomes[i].outcome) != i)
            return false;
    }
    return std::size(outcomes) == static_cast<size_t>(RunOutcome::OutOfMemory) + 1;
}
static_assert(inOrder());

const OutcomeRow& rowOf(RunOutcome outcome) { return outcomes[static_cast<size_t>(outcome)]; }

std::string_view viewOf(const QByteArray& bytes) { return {bytes.constData(), static_cast<size_t>(bytes.size())}; }

bool writeSideFolder(OutputFiles& outputs, const std::string& name) {
    const QByteArray logo = readResource(QStringLiteral("logo.png"));
    const QByteArray bundle = readResource(QStringLiteral("orbi.min.js"));
    const QByteArray canvas = readResource(QStringLiteral("excanvas.compiled.js"));
    const OutputFiles::SideFile files[] = {
        {"logo.png", viewOf(logo)}, {"orbi.min.js", viewOf(bundle)}, {"excanvas.compiled.js", viewOf(canvas)}};
    return outputs.writeSideFolder(name, files);
}

}  // namespace

const char* outcomeLine(RunOutcome outcome) { return rowOf(outcome).line; }

int outcomeExitCode(RunOutcome outcome) { return rowOf(outcome).exitCode; }

RunOutcome runReport(XmlNode reportRoot, XmlNode chartRoot, const std::string& basePath, bool selfContained) {
    // Whatever is not kept is removed when this goes, on every path below and when memory runs
    // out.
    OutputFiles outputs;
    const int page = outputs.stagePage(basePath + ".html");
    if (page < 0)
        return RunOutcome::PageNotWritten;
    const PageFrame frame(pageRelativeBase(basePath), selfContained ? std::optional(inlineResourceSet()) : std::nullopt);
    PageSink sink([page](std::string_view bytes) { return OutputFiles::writeAll(page, bytes); });
    ReportGenerator generator(std::move(reportRoot), std::move(chartRoot), sink, frame);
    if (generator.generate() == ReportGenerator::Outcome::UnknownPredictionJob) {
        // The generator fails before its first byte; the empty page replaces an earlier one, as
        // it always has, and no side folder is made.
        outputs.commit();
        return RunOutcome::UnknownPredictionJob;
    }
    if (sink.writeFailed())
        return RunOutcome::PageNotWritten;
    // The page appears only once its scripts are in place beside it.
    const std::string sideFolder = basePath.substr(basePath.rfind('/') + 1) + "_files";
    if (!selfContained && !writeSideFolder(outputs, sideFolder))
        return RunOutcome::SideFolderNotWritten;
    switch (outputs.commit()) {
    case OutputFiles::Commit::Done:
        return RunOutcome::Written;
    case OutputFiles::Commit::SideFolderFailed:
        return RunOutcome::SideFolderNotWritten;
    case OutputFiles::Commit::PageFailed:
        break;
    }
    return RunOutcome::PageNotWritten;
}
