#include "driver/ReportRun.h"

#include "driver/OutputFiles.h"
#include "driver/ResourceFiles.h"
#include "report/ReportGenerator.h"

#include <QFile>

#include <cstdio>
#include <memory>
#include <utility>

namespace {

const QString resourceNames[] = {QStringLiteral("logo.png"), QStringLiteral("orbi.min.js"),
                                 QStringLiteral("excanvas.compiled.js")};

// Every resource file is written whole before any of them replaces an earlier one, so that a
// failure leaves an earlier side folder as it was.
bool fillSideFolder(OutputFiles& outputs, const QString& sideFolder) {
    if (!outputs.makeDirectory(sideFolder))
        return false;
    QString staged[std::size(resourceNames)];
    for (size_t i = 0; i < std::size(resourceNames); ++i) {
        staged[i] = outputs.stage(sideFolder + u'/' + resourceNames[i]);
        if (staged[i].isEmpty() || !copyResourceFile(resourceNames[i], staged[i]))
            return false;
    }
    for (const QString& file : staged) {
        if (!outputs.commit(file))
            return false;
    }
    return true;
}

}  // namespace

int printOutcome(const char* line, int exitCode) {
    std::printf("%s", line);
    std::fflush(stdout);
    return exitCode;
}

int runReport(XmlNode reportRoot, XmlNode chartRoot, const QString& pageName,
              const QString& basePath, bool selfContained) {
    const char* const pageError = "Error: Cannot write the page file\n";
    // Whatever is not kept is removed when this goes, on every path below.
    OutputFiles outputs;
    const QString page = outputs.stage(pageName);
    if (page.isEmpty())
        return printOutcome(pageError, 1);
    {
        // Closed on every path; closing reports a failure of the writes still pending.
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(QFile::encodeName(page).constData(), "wb"),
                                                             std::fclose);
        if (!file)
            return printOutcome(pageError, 1);
        const PageFrame frame(pageRelativeBase(basePath).toStdString(),
                              selfContained ? std::optional(inlineResourceSet()) : std::nullopt);
        PageSink sink([&file](std::string_view bytes) {
            return std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
        });
        ReportGenerator generator(std::move(reportRoot), std::move(chartRoot), sink, frame);
        if (generator.generate()) {
            // The generator fails before its first byte; the empty page replaces an earlier one,
            // as it always has, and no side folder is made.
            if (outputs.commit(page))
                outputs.keep();
            return 1;
        }
        if (sink.writeFailed() || std::fclose(file.release()) != 0)
            return printOutcome(pageError, 1);
    }

    // The page appears only once its scripts are in place beside it.
    if (!selfContained && !fillSideFolder(outputs, basePath + QStringLiteral("_files")))
        return printOutcome("Error: Cannot write the side folder\n", 1);
    if (!outputs.commit(page))
        return printOutcome(pageError, 1);
    outputs.keep();
    return printOutcome("All Ok.\n", 0);
}
