// Damaged and huge documents, made at run time from the golden samples (those that fit in a
// file are golden cases), and a run stopped by a signal: neither may leave anything behind. A
// refused document gets its line, and nothing goes to standard error, where a sanitizer reports.

#include "RunCheck.h"

#include <QElapsedTimer>
#include <QThread>

#include <csignal>
#include <functional>
#include <tuple>
#include <vector>

#include <sys/stat.h>

namespace {

const char* const badReport = "Error: Invalid AnalystReport file\n";
const char* const badCharts = "Error: Invalid Graph file\n";

// A document of a golden case: sample("public-wine/wine", true) is its analysis report.
QByteArray sample(const std::string& name, bool report) {
    return TestSupport::readFile(TestSupport::sourceDir() + QStringLiteral("/tests/golden/") +
                                 QString::fromStdString(name + (report ? "_analysisReport.xml" : "_graphs.xml")));
}

// The wine document with text put into the start tag of the first element of that name, or
// right after that tag.
QByteArray wineWith(bool report, const char* element, const QByteArray& text, bool inTag = false) {
    QByteArray document = sample("public-wine/wine", report);
    const qsizetype at = document.indexOf(element);
    return document.insert(inTag ? at + qsizetype(qstrlen(element)) : document.indexOf('>', at) + 1, text);
}

struct HostileCase {
    std::string what;
    std::function<void(QFile& report, QFile& charts)> write;  // both open and empty
    const char* out;
};
void PrintTo(const HostileCase& c, std::ostream* os) { *os << c.what; }

// Both documents made whole in memory; where there is no maker, the wine sample's.
HostileCase made(const std::string& what, std::function<QByteArray()> report, std::function<QByteArray()> charts,
                 const char* out) {
    return {what, [=](QFile& r, QFile& c) {
                r.write(report ? report() : sample("public-wine/wine", true));
                c.write(charts ? charts() : sample("public-wine/wine", false));
            }, out};
}

std::vector<HostileCase> cases() {
    const QByteArray deep = QByteArray("<a>").repeated(1000000);
    const QByteArray closed = deep + QByteArray("</a>").repeated(1000000);
    std::vector<HostileCase> all = {
        // The parser must refuse a million levels without exhausting its stack.
        made("report nested a million deep", [=] { return wineWith(true, "<ORB_Analyst", closed); }, {}, badReport),
        made("report opening a million elements", [=] { return wineWith(true, "<ORB_Analyst", deep); }, {}, badReport),
        made("charts nested a million deep", {}, [=] { return wineWith(false, "<ORB_Charts", closed); }, badCharts),
        made("zero byte inside the report", [] { return wineWith(true, "<ORB", QByteArray(1, '\0')); }, {}, badReport),
    };
    // A whole document with a sparse tail of zero bytes: a size taken modulo 2^32 sees it alone.
    for (const auto& [what, report, gigabytes] :
         {std::tuple("report", true, 2), {"report", true, 4}, {"charts", false, 4}})
        all.push_back({std::string(what) + " of " + std::to_string(gigabytes) + " GB", [=](QFile& r, QFile& c) {
                           made("the wine sample", {}, {}, "").write(r, c);
                           QFile& big = report ? r : c;
                           ASSERT_TRUE(big.resize(big.size() + (qint64(gigabytes) << 30))) << "no sparse file here";
                       }, report ? badReport : badCharts});
    // A document cut at any tenth, in 8-bit text or in UTF-16 (where cuts fall between the two
    // bytes of a unit too), has lost its end tags: never a valid one.
    for (const std::string s : {"public-wine/wine", "public-diabetes/diabetes", "enc_utf16le_crlf/u16"}) {
        for (int tenths = 0; tenths < 10; ++tenths) {
            const auto cut = [=](bool report) {
                const QByteArray whole = sample(s, report);
                return [=] { return whole.left(whole.size() * tenths / 10); };
            };
            const auto other = [=](bool report) { return [=] { return sample(s, report); }; };
            const std::string at = " cut at " + std::to_string(tenths) + "/10";
            all.push_back(made(s + " report" + at, cut(true), other(false), badReport));
            all.push_back(made(s + " charts" + at, other(true), cut(false), badCharts));
        }
    }
    return all;
}

class HostileInputTest : public testing::TestWithParam<HostileCase> {};

// The case's two documents, as the run expects them, in folder.
void writeDocuments(const QString& folder, const HostileCase& c) {
    QFile report(folder + QStringLiteral("/run_analysisReport.xml"));
    QFile charts(folder + QStringLiteral("/run_graphs.xml"));
    ASSERT_TRUE(report.open(QIODevice::WriteOnly) && charts.open(QIODevice::WriteOnly));
    c.write(report, charts);
}

TEST_P(HostileInputTest, RefusedWithItsMessage) {
    TestSupport::TempDir dir;
    writeDocuments(dir.path(), GetParam());
    if (!HasFatalFailure())
        RunCheck::checkRun(dir.path(), {{"run_analysisReport.xml"}, 0, GetParam().out, 1, {}, {}});
}

INSTANTIATE_TEST_SUITE_P(Driver, HostileInputTest, testing::ValuesIn(cases()),
                         [](const auto& row) { return RunCheck::testName(row.param.what); });

// Stopped while its page waits under a temporary name: the earlier side folder's logo is a pipe
// that nobody reads, so the run blocks there until the signal comes.
class InterruptedRunTest : public testing::TestWithParam<int> {};

TEST_P(InterruptedRunTest, LeavesNoTemporaryFile) {
    TestSupport::TempDir dir;
    writeDocuments(dir.path(), made("the wine sample", {}, {}, ""));
    TestSupport::writeFile(dir.file("run_analysisReport.html"), "earlier page");
    QDir().mkdir(dir.file("run_analysisReport_files"));
    ASSERT_EQ(mkfifo(QFile::encodeName(dir.file("run_analysisReport_files/logo.png")).constData(), 0644), 0);
    const RunCheck::Snapshot before = RunCheck::snapshot(dir.path());

    QProcess process;
    process.setWorkingDirectory(dir.path());
    process.start(TestSupport::anarepPath(), {"run_analysisReport.xml"});
    QElapsedTimer waited;
    waited.start();
    while (RunCheck::snapshot(dir.path()).size() == before.size() && waited.elapsed() < 60000)
        QThread::msleep(20);
    EXPECT_EQ(RunCheck::snapshot(dir.path()).size(), before.size() + 1) << "no temporary page appeared";
    ::kill(static_cast<pid_t>(process.processId()), GetParam());
    ASSERT_TRUE(process.waitForFinished(60000));

    EXPECT_EQ(process.exitStatus(), QProcess::CrashExit);
    EXPECT_EQ(RunCheck::snapshot(dir.path()), before);
}

INSTANTIATE_TEST_SUITE_P(Driver, InterruptedRunTest, testing::Values(SIGINT, SIGTERM));

}  // namespace
