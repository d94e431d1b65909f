// The built program, run in a fresh directory: arguments, messages, exit codes and the files
// that each outcome leaves behind.

#include "PrintBytes.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <string>
#include <utility>
#include <vector>

namespace {

using TestSupport::readFile;
using TestSupport::runAnarep;
using TestSupport::TempDir;
using TestSupport::writeFile;

const char* const binaryReport =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<ORB_AnalystReport version=\"9.1\">\n"
    "  <GeneralStats predictionJob=\"t\"/>\n"
    "  <Target><HumanReadable>y = yes</HumanReadable></Target>\n"
    "</ORB_AnalystReport>\n";
const char* const continuousReport =
    "<ORB_AnalystReport><GeneralStats predictionJob=\"C\"/></ORB_AnalystReport>";
const char* const charts = "<?xml version=\"1.0\"?>\n<ORB_Charts></ORB_Charts>\n";

const char* const usage = "anarep v1.1\nUsage: anarep <xmlFile> [<graph-file>]\n";
const char* const version = "anarep 1.1\n";
const char* const allOk = "All Ok.\n";
const char* const badReport = "Error: Invalid AnalystReport file\n";
const char* const badCharts = "Error: Invalid Graph file\n";
const char* const unknownJob = "ERROR: Unknown predictionJob\n";

const QStringList resourceNames = {"logo.png", "orbi.min.js", "excanvas.compiled.js"};

struct RunCase {
    const char* what;
    std::vector<std::pair<const char*, const char*>> files;
    QStringList arguments;
    const char* out;
    int exitCode;
    const char* page;  // null: no page at all; "" : an empty page is written only on failure
    const char* side;  // null: no side directory
};

void PrintTo(const RunCase& c, std::ostream* os) { *os << c.what; }

class DriverRunTest : public testing::TestWithParam<RunCase> {};

TEST_P(DriverRunTest, MessageExitCodeAndOutputs) {
    const RunCase& c = GetParam();
    TempDir dir;
    for (const auto& [name, content] : c.files)
        writeFile(dir.file(name), content);
    const QStringList before = QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);

    const TestSupport::RunResult run = runAnarep(c.arguments, dir.path());

    EXPECT_EQ(run.out.toStdString(), c.out);
    EXPECT_EQ(run.exitCode, c.exitCode);
    EXPECT_TRUE(run.err.isEmpty()) << run.err.toStdString();
    QStringList created = QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    for (const QString& name : before)
        created.removeOne(name);
    QStringList expected;
    if (c.page)
        expected << QString::fromUtf8(c.page).section(u'/', 0, 0);
    if (c.side)
        expected << QString::fromUtf8(c.side).section(u'/', 0, 0);
    expected.removeDuplicates();
    for (const QString& name : expected)
        created.removeOne(name);
    EXPECT_TRUE(created.isEmpty()) << "unexpected: " << created.join(u' ').toStdString();
    if (c.page) {
        EXPECT_TRUE(QFileInfo(dir.file(c.page)).isFile()) << c.page;
    }
    if (c.side) {
        for (const QString& name : resourceNames)
            EXPECT_TRUE(QFileInfo(dir.file(c.side) + u'/' + name).isFile()) << c.side;
    }
}

const char* const run1 = "run1_analysisReport.xml";
const char* const run1Charts = "run1_graphs.xml";

INSTANTIATE_TEST_SUITE_P(Driver, DriverRunTest, testing::Values(
    RunCase{"usage", {{run1, binaryReport}, {run1Charts, charts}}, {}, usage, 0, nullptr, nullptr},
    RunCase{"derived chart name", {{run1, binaryReport}, {run1Charts, charts}}, {run1}, allOk, 0,
            "run1_analysisReport.html", "run1_analysisReport_files"},
    RunCase{"continuous target", {{run1, continuousReport}, {run1Charts, charts}}, {run1}, allOk, 0,
            "run1_analysisReport.html", "run1_analysisReport_files"},
    RunCase{"suffix case differs", {{"run1_AnalysisReport.xml", binaryReport}, {run1Charts, charts}},
            {"run1_AnalysisReport.xml"}, badCharts, 1, nullptr, nullptr},
    RunCase{"no suffix", {{"report.xml", binaryReport}, {"report_graphs.xml", charts}}, {"report.xml"},
            badCharts, 1, nullptr, nullptr},
    RunCase{"explicit chart name", {{"report.xml", binaryReport}, {"c.data", charts}},
            {"report.xml", "c.data"}, allOk, 0, "report.html", "report_files"},
    RunCase{"explicit chart name wins", {{run1, binaryReport}, {run1Charts, "<x/>"}, {"c.xml", charts}},
            {run1, "c.xml"}, allOk, 0, "run1_analysisReport.html", "run1_analysisReport_files"},
    RunCase{"extra arguments ignored", {{run1, binaryReport}, {"c.xml", charts}},
            {run1, "c.xml", "whatever"}, allOk, 0, "run1_analysisReport.html", "run1_analysisReport_files"},
    RunCase{"last four characters dropped", {{"data.txt", binaryReport}, {"c.xml", charts}},
            {"data.txt", "c.xml"}, allOk, 0, "data.html", "data_files"},
    RunCase{"relative sub directory", {{"sub/x_analysisReport.xml", binaryReport}, {"sub/x_graphs.xml", charts}},
            {"sub/x_analysisReport.xml"}, allOk, 0, "sub/x_analysisReport.html", "sub/x_analysisReport_files"},
    RunCase{"version", {{run1, binaryReport}, {run1Charts, charts}}, {"--version", run1}, version, 0,
            nullptr, nullptr},
    RunCase{"self-contained: no side directory", {{run1, binaryReport}, {run1Charts, charts}},
            {"--self-contained", run1}, allOk, 0, "run1_analysisReport.html", nullptr},
    RunCase{"self-contained with both names", {{"report.xml", binaryReport}, {"c.data", charts}},
            {"--self-contained", "report.xml", "c.data"}, allOk, 0, "report.html", nullptr},
    RunCase{"self-contained alone: usage", {}, {"--self-contained"}, usage, 0, nullptr, nullptr},
    RunCase{"options only in first place", {{run1, binaryReport}, {run1Charts, charts}},
            {run1, "--version"}, badCharts, 1, nullptr, nullptr},
    RunCase{"self-contained only in first place", {{run1, binaryReport}, {run1Charts, charts}},
            {run1, run1Charts, "--self-contained"}, allOk, 0, "run1_analysisReport.html",
            "run1_analysisReport_files"},
    RunCase{"no other option", {{run1, binaryReport}, {run1Charts, charts}}, {"-v", run1}, badReport, 1,
            nullptr, nullptr},
    RunCase{"missing report", {{run1Charts, charts}}, {run1}, badReport, 1, nullptr, nullptr},
    RunCase{"empty report", {{run1, ""}, {run1Charts, charts}}, {run1}, badReport, 1, nullptr, nullptr},
    RunCase{"report left open", {{run1, "<ORB_AnalystReport><GeneralStats predictionJob='t'/>"},
            {run1Charts, charts}}, {run1}, badReport, 1, nullptr, nullptr},
    RunCase{"report with wrong root", {{run1, charts}, {run1Charts, charts}}, {run1}, badReport, 1,
            nullptr, nullptr},
    RunCase{"report fails, charts not looked at", {{run1, "<a>"}}, {run1}, badReport, 1, nullptr, nullptr},
    RunCase{"missing charts", {{run1, binaryReport}}, {run1}, badCharts, 1, nullptr, nullptr},
    RunCase{"charts left open", {{run1, binaryReport}, {run1Charts, "<ORB_Charts><lift>"}}, {run1},
            badCharts, 1, nullptr, nullptr},
    RunCase{"charts with wrong root", {{run1, binaryReport}, {run1Charts, binaryReport}}, {run1},
            badCharts, 1, nullptr, nullptr},
    RunCase{"unknown prediction job", {{run1, "<ORB_AnalystReport><GeneralStats predictionJob='tc'/>"
            "</ORB_AnalystReport>"}, {run1Charts, charts}}, {run1}, unknownJob, 1,
            "run1_analysisReport.html", nullptr},
    RunCase{"absent prediction job", {{run1, "<ORB_AnalystReport><GeneralStats/></ORB_AnalystReport>"},
            {run1Charts, charts}}, {run1}, unknownJob, 1, "run1_analysisReport.html", nullptr},
    RunCase{"absent general stats", {{run1, "<ORB_AnalystReport/>"}, {run1Charts, charts}}, {run1},
            unknownJob, 1, "run1_analysisReport.html", nullptr}));

class DriverTest : public testing::Test {
protected:
    void SetUp() override {
        writeFile(dir.file(run1), binaryReport);
        writeFile(dir.file(run1Charts), charts);
    }
    TestSupport::RunResult run() { return runAnarep({run1}, dir.path()); }
    QByteArray side(const QString& name) const {
        return readFile(dir.file("run1_analysisReport_files/") + name);
    }
    static QByteArray resource(const QString& name) {
        return readFile(QStringLiteral(":/rscFiles/") + name);
    }
    TempDir dir;
};

TEST_F(DriverTest, UnknownJobLeavesAnEmptyPage) {
    writeFile(dir.file(run1), "<ORB_AnalystReport><GeneralStats predictionJob='binary'/></ORB_AnalystReport>");
    writeFile(dir.file("run1_analysisReport.html"), "old page");
    EXPECT_EQ(run().exitCode, 1);
    EXPECT_TRUE(QFileInfo::exists(dir.file("run1_analysisReport.html")));
    EXPECT_TRUE(readFile(dir.file("run1_analysisReport.html")).isEmpty());
}

TEST_F(DriverTest, PageNamesItsSideDirectoryRelativeToItself) {
    writeFile(dir.file("sub/x_analysisReport.xml"), binaryReport);
    writeFile(dir.file("sub/x_graphs.xml"), charts);
    ASSERT_EQ(runAnarep({"sub/x_analysisReport.xml"}, dir.path()).exitCode, 0);
    const QByteArray page = readFile(dir.file("sub/x_analysisReport.html"));
    EXPECT_TRUE(page.contains("<script type=\"text/javascript\" src=\"x_analysisReport_files/orbi.min.js\">"));
    EXPECT_TRUE(page.contains("src=\"x_analysisReport_files/excanvas.compiled.js\""));
    EXPECT_TRUE(page.contains("<img src=\"x_analysisReport_files/logo.png\""));
    EXPECT_TRUE(QFileInfo(dir.file("sub/x_analysisReport_files/orbi.min.js")).isFile());
}

TEST_F(DriverTest, SelfContainedPageCarriesTheResources) {
    ASSERT_EQ(runAnarep({"--self-contained", run1}, dir.path()).exitCode, 0);
    const QByteArray page = readFile(dir.file("run1_analysisReport.html"));
    // The resources hold nothing that must be defused inside a script element.
    EXPECT_TRUE(page.contains("<script type=\"text/javascript\">\n" + resource("orbi.min.js") + "\n</script>"));
    EXPECT_TRUE(page.contains("<script type=\"text/javascript\">\n" + resource("excanvas.compiled.js") + "\n</script>"));
    EXPECT_TRUE(page.contains("<img src=\"data:image/png;base64," + resource("logo.png").toBase64() + "\" width=\"50\""));
    EXPECT_FALSE(page.contains("_files"));
    EXPECT_FALSE(page.contains("<!--[if IE]>"));
}

TEST_F(DriverTest, ResourceFilesAreExactCopies) {
    ASSERT_EQ(run().exitCode, 0);
    for (const QString& name : resourceNames)
        EXPECT_EQ(side(name), resource(name)) << name.toStdString();
}

TEST_F(DriverTest, ExistingSideDirectoryIsRefilled) {
    QDir().mkdir(dir.file("run1_analysisReport_files"));
    writeFile(dir.file("run1_analysisReport_files/logo.png"), QByteArray(300000, 'x'));
    writeFile(dir.file("run1_analysisReport_files/keep.txt"), "mine");
    const TestSupport::RunResult result = run();
    EXPECT_EQ(result.out, allOk);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(side("logo.png"), resource("logo.png"));
    EXPECT_EQ(side("keep.txt"), "mine");
}

TEST_F(DriverTest, RunningTwiceGivesIdenticalFiles) {
    ASSERT_EQ(run().exitCode, 0);
    const QByteArray firstPage = readFile(dir.file("run1_analysisReport.html"));
    ASSERT_EQ(run().exitCode, 0);
    EXPECT_EQ(readFile(dir.file("run1_analysisReport.html")), firstPage);
    for (const QString& name : resourceNames)
        EXPECT_EQ(side(name), resource(name)) << name.toStdString();
}

TEST_F(DriverTest, UnopenablePageFailsBeforeAnythingElse) {
    QDir().mkdir(dir.file("run1_analysisReport.html"));
    const TestSupport::RunResult result = run();
    EXPECT_EQ(result.out, "Error: Cannot write the page file\n");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.isEmpty());
    EXPECT_FALSE(QFileInfo::exists(dir.file("run1_analysisReport_files")));
}

TEST_F(DriverTest, ArgumentsKeepNonAsciiBytes) {
    writeFile(dir.file("Données_analysisReport.xml"), binaryReport);
    writeFile(dir.file("Données_graphs.xml"), charts);
    ASSERT_EQ(runAnarep({"Données_analysisReport.xml"}, dir.path()).exitCode, 0);
    EXPECT_TRUE(QFileInfo(dir.file("Données_analysisReport.html")).isFile());
    EXPECT_TRUE(readFile(dir.file("Données_analysisReport.html")).contains("src=\"Données_analysisReport_files/orbi.min.js\""));
    EXPECT_TRUE(QFileInfo(dir.file("Données_analysisReport_files/logo.png")).isFile());
}

TEST_F(DriverTest, AbsolutePathsWork) {
    const QString input = dir.file(run1);
    const TestSupport::RunResult result = runAnarep({input}, QDir::tempPath());
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(readFile(dir.file("run1_analysisReport.html")).contains("src=\"run1_analysisReport_files/orbi.min.js\""));
    EXPECT_TRUE(QFileInfo(dir.file("run1_analysisReport_files/orbi.min.js")).isFile());
}

TEST_F(DriverTest, SelfContainedRunNeedsNoSideFolder) {
    writeFile(dir.file("run1_analysisReport_files"), "a file in the way");
    const TestSupport::RunResult result = runAnarep({"--self-contained", run1}, dir.path());
    EXPECT_EQ(result.out, allOk);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(readFile(dir.file("run1_analysisReport.html")).contains("data:image/png;base64,"));
    EXPECT_EQ(readFile(dir.file("run1_analysisReport_files")), "a file in the way");
}

TEST(DriverHelpTest, HelpTellsUsageMessagesAndExitCodes) {
    TempDir dir;
    for (const char* option : {"--help", "-h"}) {
        const TestSupport::RunResult run = runAnarep({option, run1}, dir.path());
        EXPECT_EQ(run.exitCode, 0) << option;
        EXPECT_TRUE(run.err.isEmpty()) << option;
        EXPECT_TRUE(run.out.startsWith("anarep 1.1: ")) << option;
        for (const char* line : {"Usage: anarep [--self-contained] <xmlFile> [<graph-file>]", "All Ok.", "exit 0",
                                 badReport, badCharts, "Error: Cannot write the page file",
                                 "Error: Cannot write the side folder", unknownJob, "exit 1"})
            EXPECT_TRUE(run.out.contains(QByteArray(line).trimmed())) << option << ": " << line;
        EXPECT_TRUE(QDir(dir.path()).isEmpty());
    }
}

}  // namespace
