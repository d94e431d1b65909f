// Entry point: anarep [--self-contained] <xmlFile> [<graph-file>], or --help, -h, --version.
// Every outcome is one line on standard output and the exit code; standard error stays silent.

#include "driver/ReportRun.h"

#include <QByteArray>
#include <QLocale>
#include <QtGlobal>

#include <clocale>

namespace {

// Qt reports some file and directory failures as warnings on standard error; the run reports
// its outcome only through its own line, so they are dropped.
void discardMessage(QtMsgType, const QMessageLogContext&, const QString&) {}

const char* const helpText =
    "anarep " ANAREP_VERSION ": turns the two XML result files of a predictive-modelling run into one HTML\n"
    "report page: variable ranking, lift or prediction charts, counts, parameters, and one section\n"
    "with a chart per model variable.\n"
    "\n"
    "Usage: anarep [--self-contained] <xmlFile> [<graph-file>]\n"
    "       anarep --help | -h | --version\n"
    "\n"
    "  xmlFile           the analysis report document (root element ORB_AnalystReport)\n"
    "  graph-file        the chart document (root element ORB_Charts); without it,\n"
    "                    NAME_analysisReport.xml reads NAME_graphs.xml\n"
    "  --self-contained  put the scripts and the logo inside the page: one file, no side folder\n"
    "\n"
    "The page is xmlFile less its last four characters + \".html\"; its scripts and logo go to the\n"
    "side folder of the same name + \"_files\" beside it. Keep the two together.\n"
    "\n"
    "One line on standard output tells the outcome; a run that fails leaves an earlier page and\n"
    "side folder as they were:\n"
    "  All Ok.                             exit 0  page and side folder written\n"
    "  Error: Invalid AnalystReport file   exit 1  xmlFile missing, not well-formed, or another root\n"
    "  Error: Invalid Graph file           exit 1  the same for the chart document, or no chart name\n"
    "  Error: Cannot write the page file   exit 1  the page cannot be made or written whole\n"
    "  Error: Cannot write the side folder exit 1  the side folder cannot be made or filled\n"
    "  ERROR: Unknown predictionJob        exit 1  the job is not t, T (binary), c or C (continuous)\n"
    "Without an argument the program prints its usage and exits 0.\n";

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
XmlNode loadDocument(const QByteArray& path, const char* rootTag) {
    XmlParseResult result;
    XmlNode root = XmlNode::parseFile(path.constData(), rootTag, &result);
    if (result.error != XmlError::None)
        return XmlNode();
    return root;
}

}  // namespace

int main(int argc, char** argv) {
    qInstallMessageHandler(discardMessage);
    // Options are recognised in first place only, so that any other argument still names a file.
    const std::string_view option = argc > 1 ? argv[1] : "";
    if (option == "--help" || option == "-h")
        return printOutcome(helpText, 0);
    if (option == "--version")
        return printOutcome("anarep " ANAREP_VERSION "\n", 0);
    const bool selfContained = option == "--self-contained";
    if (selfContained) {
        --argc;
        ++argv;
    }
    if (argc < 2)
        return printOutcome("anarep v" ANAREP_VERSION "\nUsage: anarep <xmlFile> [<graph-file>]\n", 0);
    // Every number read from the documents or written to the page uses a point and no grouping.
    std::setlocale(LC_NUMERIC, "C");
    QLocale::setDefault(QLocale::c());

    const XmlNode reportRoot = loadDocument(QByteArray(argv[1]), "ORB_AnalystReport");
    if (reportRoot.isEmpty())
        return printOutcome("Error: Invalid AnalystReport file\n", 1);
    // Declared after the report root so that it is released first.
    const XmlNode chartRoot = loadDocument(chartPathFor(argc, argv), "ORB_Charts");
    if (chartRoot.isEmpty())
        return printOutcome("Error: Invalid Graph file\n", 1);

    // The last four characters go whatever they are; the rest stays exactly as typed.
    QString basePath = QString::fromLocal8Bit(argv[1]);
    basePath.chop(4);
    return runReport(reportRoot, chartRoot, basePath + QStringLiteral(".html"), basePath, selfContained);
}
