// Damaged and huge documents, made at run time from the golden samples (those that fit in a
// file are golden cases), runs stopped by a signal at each step, runs on the same page, and runs
// under memory limits: none may leave anything behind but its own outputs. A refused document
// gets its line, and nothing goes to standard error, where a sanitizer reports.

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

const char* const resources[] = {"logo.png", "orbi.min.js", "excanvas.compiled.js"};

// A run of the wine sample in folder, stopped right before its step-th step that makes or
// renames a file or folder (tests/driver/preload/StopBefore.cpp), unless it has fewer steps.
class StoppedRun {
public:
    StoppedRun(const QString& folder, int step) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LD_PRELOAD", ANAREP_STOP_BEFORE_LIBRARY);
        environment.insert("ANAREP_STOP_BEFORE", QString::number(step));
        // The sanitizers' runtime otherwise insists on coming first among the libraries.
        environment.insert("ASAN_OPTIONS", environment.value("ASAN_OPTIONS") + ":verify_asan_link_order=0");
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(folder);
        process.start(TestSupport::anarepPath(), {"run_analysisReport.xml"});
        QElapsedTimer waited;
        waited.start();
        while (!process.waitForFinished(10) && waited.elapsed() < 60000 && !(isStopped = stateIs('T'))) {
        }
    }
    bool stopped() const { return isStopped; }
    QByteArray output() { return process.readAllStandardOutput(); }
    // Sends the signal, lets the run go on, and waits for its end.
    void end(int signalNumber) {
        const auto pid = static_cast<pid_t>(process.processId());
        ::kill(pid, signalNumber);
        ::kill(pid, SIGCONT);
        EXPECT_TRUE(process.waitForFinished(60000));
        EXPECT_EQ(process.exitStatus(), QProcess::CrashExit) << "the run went on past the signal";
    }

private:
    bool stateIs(char state) {
        const QByteArray stat = TestSupport::readFile("/proc/" + QString::number(process.processId()) + "/stat");
        const qsizetype at = stat.lastIndexOf(')') + 2;
        return at > 1 && at < stat.size() && stat[at] == state;
    }
    QProcess process;
    bool isStopped = false;
};

void writeEarlierOutputs(const QString& folder) {
    TestSupport::writeFile(folder + "/run_analysisReport.html", "earlier page");
    for (const char* name : {"logo.png", "orbi.min.js", "excanvas.compiled.js", "keep.txt"})
        TestSupport::writeFile(folder + "/run_analysisReport_files/" + name, QByteArray("earlier ") + name);
}

// What a run killed outright may leave: temporary names, and side folder files whole.
bool mayBeLeft(const std::string& path, const std::string& entry) {
    if (path.starts_with(".anarep-") || path.find("/.anarep-") != std::string::npos)
        return true;
    if (path == "run_analysisReport_files")
        return entry == "folder";
    for (const char* name : resources) {
        const std::string whole = RunCheck::file(0, TestSupport::readFile(QStringLiteral(":/rscFiles/") + name));
        if (path == std::string("run_analysisReport_files/") + name)
            return entry.substr(entry.find(' ')) == whole.substr(whole.find(' '));
    }
    return false;
}

// The signal, and whether an earlier page and side folder are there.
class InterruptedRunTest : public testing::TestWithParam<std::tuple<int, bool>> {};

// Stopped at every step of its writing in turn: SIGINT and SIGTERM leave the folder as it was,
// or, once the renames have begun, as a whole run leaves it; SIGKILL leaves temporary names
// and whole files only, and never the earlier page changed.
TEST_P(InterruptedRunTest, LeavesTheEarlierOrTheWholeOutputs) {
    const auto [signalNumber, earlier] = GetParam();
    const auto prepare = [earlier = earlier](const QString& folder) {
        writeDocuments(folder, made("the wine sample", {}, {}, ""));
        if (earlier)
            writeEarlierOutputs(folder);
    };
    TestSupport::TempDir whole;
    prepare(whole.path());
    ASSERT_EQ(TestSupport::runAnarep({"run_analysisReport.xml"}, whole.path()).out, "All Ok.\n");
    const RunCheck::Snapshot completed = RunCheck::snapshot(whole.path());
    int step = 1;
    for (;; ++step) {
        TestSupport::TempDir dir;
        prepare(dir.path());
        const RunCheck::Snapshot before = RunCheck::snapshot(dir.path());
        StoppedRun run(dir.path(), step);
        if (!run.stopped()) {
            EXPECT_EQ(run.output(), "All Ok.\n");
            break;
        }
        run.end(signalNumber);
        const RunCheck::Snapshot after = RunCheck::snapshot(dir.path());
        if (signalNumber != SIGKILL) {
            EXPECT_TRUE(after == before || after == completed) << "stopped before step " << step;
            continue;
        }
        for (const auto& [path, entry] : after)
            EXPECT_TRUE((before.contains(path) && before.at(path) == entry) || mayBeLeft(path, entry))
                << path << ": " << entry << ", stopped before step " << step;
        for (const auto& [path, entry] : before)
            EXPECT_TRUE(after.contains(path)) << path << " removed, stopped before step " << step;
    }
    // The page, the side folder and its three files, each made and put in place.
    EXPECT_GE(step, 7) << "the run was stopped at fewer steps than it has";
}

INSTANTIATE_TEST_SUITE_P(Driver, InterruptedRunTest,
                         testing::Combine(testing::Values(SIGINT, SIGTERM, SIGKILL), testing::Bool()));

// Run A stopped at each step in turn, run B completing the same page meanwhile, then A
// terminated: what A removes is its own, and B's page and side folder stay whole.
TEST(ConcurrentRunTest, TerminatedRunLeavesTheOtherRunsPage) {
    for (int step = 1;; ++step) {
        TestSupport::TempDir dir;
        writeDocuments(dir.path(), made("the wine sample", {}, {}, ""));
        StoppedRun a(dir.path(), step);
        if (!a.stopped())
            break;
        ASSERT_EQ(TestSupport::runAnarep({"run_analysisReport.xml"}, dir.path()).out, "All Ok.\n");
        const QByteArray page = TestSupport::readFile(dir.file("run_analysisReport.html"));
        a.end(SIGTERM);
        EXPECT_EQ(TestSupport::readFile(dir.file("run_analysisReport.html")), page) << "step " << step;
        for (const char* name : resources)
            EXPECT_EQ(TestSupport::readFile(dir.file(QStringLiteral("run_analysisReport_files/") + name)),
                      TestSupport::readFile(QStringLiteral(":/rscFiles/") + name))
                << name << ", step " << step;
        for (const auto& [path, entry] : RunCheck::snapshot(dir.path()))
            EXPECT_EQ(path.find(".anarep-"), std::string::npos) << path << ", step " << step;
    }
}

// Under every address-space limit from the least the program starts with, a run ends with its
// page, or with the memory line and nothing changed: never an abort, never standard error.
TEST(MemoryLimitTest, EveryLimitEndsWithThePageOrTheMemoryLine) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizers' runtime reserves more address space than these limits";
#endif
    const auto runUnder = [](qint64 limit, const QString& folder, const QString& argument) {
        return TestSupport::runAnarepUnder({"prlimit", "--as=" + QString::number(limit)}, {argument}, folder);
    };
    // The least limit that the program starts with at all, to 1 MiB.
    qint64 low = 1 << 20;
    qint64 high = qint64(1) << 32;
    while (high - low > (1 << 20)) {
        const qint64 middle = (low + high) / 2;
        (runUnder(middle, ".", "--version").exitCode == 0 ? high : low) = middle;
    }
    TestSupport::TempDir dir;
    for (const char* document : {"k2_analysisReport.xml", "k2_graphs.xml"})
        QFile::copy(TestSupport::sourceDir() + "/tests/golden/rep_2000_modalities/" + document, dir.file(document));
    int memoryLines = 0;
    int pages = 0;
    for (qint64 limit = high; pages < 3 && limit < high + (qint64(256) << 20); limit += 64 << 10) {
        TestSupport::writeFile(dir.file("k2_analysisReport.html"), "earlier page");
        QDir(dir.file("k2_analysisReport_files")).removeRecursively();
        const RunCheck::Snapshot before = RunCheck::snapshot(dir.path());
        const TestSupport::RunResult result = runUnder(limit, dir.path(), "k2_analysisReport.xml");
        EXPECT_EQ(result.err, "") << "limit " << limit;
        if (result.out == "Error: Not enough memory\n") {
            ++memoryLines;
            EXPECT_EQ(result.exitCode, 1);
            EXPECT_EQ(RunCheck::snapshot(dir.path()), before) << "limit " << limit;
        } else {
            ++pages;
            EXPECT_EQ(result.out, "All Ok.\n") << "limit " << limit;
        }
    }
    EXPECT_GT(memoryLines, 0) << "no limit ran out of memory";
}

}  // namespace
