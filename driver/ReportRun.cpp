#include "driver/ReportRun.h"

#include "driver/ResourceFiles.h"
#include "report/ReportGenerator.h"

#include <QDir>

#include <cstdio>

int runReport(XmlNode reportRoot, XmlNode chartRoot, const QString& pageName,
              const QString& basePath) {
    ReportGenerator generator(std::move(reportRoot), std::move(chartRoot), pageName, basePath);
    // Without a page there is nothing for the side directory to serve.
    if (!generator.isOpen()) {
        std::printf("Error: Cannot write the page file\n");
        std::fflush(stdout);
        return 1;
    }
    if (generator.generate())
        return 1;

    // The page is complete at this point: a side directory that cannot be made or filled
    // leaves it without scripts, but the run still counts as a success.
    const QString sideDirectory = basePath + QStringLiteral("_files");
    QDir().mkdir(sideDirectory);
    copyResourceFile(sideDirectory, QStringLiteral("logo.png"));
    copyResourceFile(sideDirectory, QStringLiteral("orbi.min.js"));
    copyResourceFile(sideDirectory, QStringLiteral("excanvas.compiled.js"));
    std::printf("All Ok.\n");
    std::fflush(stdout);
    return 0;
}
