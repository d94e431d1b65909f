// Entry point: anarep [--self-contained] <xmlFile> [<graph-file>], or --help, -h, --version.
// Every outcome is one line on standard output and the exit code; standard error stays silent.

#include "driver/ReportRun.h"
#include "xml/TextEncoding.h"

#include <QLocale>
#include <QtGlobal>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <new>
#include <string>
#include <string_view>

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
    "  Error: Not enough memory            exit 1  the run ran out of memory\n"
    "Without an argument the program prints its usage and exits 0.\n";

// Prints the run's one line of outcome and answers the exit code.
int printOutcome(const char* line, int exitCode) {
    std::fputs(line, stdout);
    std::fflush(stdout);
    return exitCode;
}

int printOutcome(RunOutcome outcome) { return printOutcome(outcomeLine(outcome), outcomeExitCode(outcome)); }

// The chart document: the second argument as given, or the first one's "_analysisReport.xml"
// (exact case) turned into "_graphs.xml"; empty when neither applies.
std::string chartPathFor(int argc, char** argv) {
    if (argc > 2)
        return argv[2];
    const std::string_view reportPath(argv[1]);
    const std::string_view suffix("_analysisReport.xml");
    if (!reportPath.ends_with(suffix))
        return std::string();
    return std::string(reportPath.substr(0, reportPath.size() - suffix.size())) + "_graphs.xml";
}

// The argument less its last four characters, whatever they are. A character is one
// well-formed UTF-8 sequence, or one byte of anything else: a name that is not UTF-8 keeps its
// bytes.
std::string basePathOf(std::string_view argument) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(argument.data());
    const auto* end = bytes + argument.size();
    size_t starts[4] = {};  // where the last four characters start, by count modulo 4
    size_t count = 0;
    for (const unsigned char* p = bytes; p != end; ++count) {
        starts[count % 4] = static_cast<size_t>(p - bytes);
        p += std::max<size_t>(TextEncoding::sequenceLength(p, end), 1);
    }
    return count < 4 ? std::string() : std::string(argument.substr(0, starts[count % 4]));
}

// The document's root element, or the empty node when the file does not parse cleanly or
// lacks the root. A tolerated MissingEndTag counts as a failure here.
XmlNode loadDocument(const std::string& path, const char* rootTag) {
    XmlParseResult result;
    XmlNode root = XmlNode::parseFile(path.c_str(), rootTag, &result);
    if (result.error != XmlError::None)
        return XmlNode();
    return root;
}

// Both documents, then the report run. File names stay the argument bytes from here to the
// system calls, so that a file opens, and the page is written, under exactly the name given.
RunOutcome run(int argc, char** argv, bool selfContained) {
    const XmlNode reportRoot = loadDocument(argv[1], "ORB_AnalystReport");
    if (reportRoot.isEmpty())
        return RunOutcome::InvalidReport;
    // Declared after the report root so that it is released first.
    const XmlNode chartRoot = loadDocument(chartPathFor(argc, argv), "ORB_Charts");
    if (chartRoot.isEmpty())
        return RunOutcome::InvalidCharts;
    return runReport(reportRoot, chartRoot, basePathOf(argv[1]), selfContained);
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
    try {
        // Every number read from the documents or written to the page uses a point and no grouping.
        std::setlocale(LC_NUMERIC, "C");
        QLocale::setDefault(QLocale::c());
        return printOutcome(run(argc, argv, selfContained));
    } catch (const std::bad_alloc&) {
        // What the run made is gone by now: the outputs remove it as they are unwound.
        return printOutcome(RunOutcome::OutOfMemory);
    }
}
