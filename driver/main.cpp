// Entry point: anarep <xmlFile> [<graph-file>]. Every outcome is one line on standard output
// and the exit code; standard error stays silent.

#include "driver/ReportRun.h"
#include "xml/XmlNode.h"

#include <QByteArray>
#include <QLocale>
#include <QString>
#include <QtGlobal>

#include <clocale>
#include <cstdio>

namespace {

// Qt reports some file and directory failures as warnings on standard error; the run reports
// its outcome only through its own line, so they are dropped.
void discardMessage(QtMsgType, const QMessageLogContext&, const QString&) {}

void printLine(const char* line) {
    std::printf("%s", line);
    std::fflush(stdout);
}

// The chart document: the second argument as given, or the first one's "_analysisReport.xml"
// (exact case) turned into "_graphs.xml"; empty when neither applies. Paths stay raw bytes so
// that a file opens under exactly the name that was typed.
QByteArray chartPathFor(int argc, char** argv) {
    if (argc > 2)
        return QByteArray(argv[2]);
    const QByteArray reportPath(argv[1]);
    const QByteArray suffix("_analysisReport.xml");
    if (!reportPath.endsWith(suffix))
        return QByteArray();
    return reportPath.first(reportPath.size() - suffix.size()) + "_graphs.xml";
}

// The document's root element, or the empty node when the file does not parse cleanly or
// lacks the root. A tolerated MissingEndTag counts as a failure here.
XmlNode loadDocument(const QByteArray& path, const char16_t* rootTag) {
    XmlParseResult result;
    XmlNode root = XmlNode::parseFile(path.constData(), rootTag, &result);
    if (result.error != XmlError::None)
        return XmlNode();
    return root;
}

}  // namespace

int main(int argc, char** argv) {
    qInstallMessageHandler(discardMessage);
    if (argc < 2) {
        printLine("anarep v1.1\nUsage: anarep <xmlFile> [<graph-file>]\n");
        return 0;
    }
    // Every number read from the documents or written to the page uses a point and no grouping.
    std::setlocale(LC_NUMERIC, "C");
    QLocale::setDefault(QLocale::c());

    const XmlNode reportRoot = loadDocument(QByteArray(argv[1]), u"ORB_AnalystReport");
    if (reportRoot.isEmpty()) {
        printLine("Error: Invalid AnalystReport file\n");
        return 1;
    }
    // Declared after the report root so that it is released first.
    const XmlNode chartRoot = loadDocument(chartPathFor(argc, argv), u"ORB_Charts");
    if (chartRoot.isEmpty()) {
        printLine("Error: Invalid Graph file\n");
        return 1;
    }

    // The last four characters go whatever they are; the rest stays exactly as typed.
    QString basePath = QString::fromLocal8Bit(argv[1]);
    basePath.chop(4);
    return runReport(reportRoot, chartRoot, basePath + QStringLiteral(".html"), basePath);
}
