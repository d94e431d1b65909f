// Damaged and huge documents, made at run time from the golden samples, given to the built
// program. Whatever the input, a run ends with its one line and exit code, writes nothing to
// standard error (where a sanitizer would report), finishes, and leaves either nothing or a page
// that passes check-page-scripts.mjs. Hostile texts that fit in a file are golden cases.

#include "RunCheck.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <cctype>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

const char* const allOk = "All Ok.\n";
const char* const badReport = "Error: Invalid AnalystReport file\n";
const char* const badCharts = "Error: Invalid Graph file\n";

QByteArray sample(const char* path) {
    return TestSupport::readFile(TestSupport::sourceDir() + QStringLiteral("/tests/golden/") + QString::fromLatin1(path));
}

// One of the two documents, whole, for the sample of a binary target (wine) or a continuous one.
QByteArray document(bool report, bool binary) {
    const char* const paths[2][2] = {{"public-diabetes/diabetes_graphs.xml", "public-wine/wine_graphs.xml"},
                                     {"public-diabetes/diabetes_analysisReport.xml",
                                      "public-wine/wine_analysisReport.xml"}};
    return sample(paths[report][binary]);
}

// The document with text put right after the start tag of its root element.
QByteArray insideRoot(bool report, const QByteArray& content) {
    QByteArray text = document(report, true);
    return text.insert(text.indexOf('>', text.indexOf(report ? "<ORB_AnalystReport" : "<ORB_Charts")) + 1, content);
}

QByteArray randomBytes(unsigned seed, int count) {
    std::mt19937 random(seed);
    QByteArray bytes(count, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random() & 0xFF);
    return bytes;
}

QByteArray attributes(int count, bool sameName) {
    QByteArray text;
    for (int i = 0; i < count; ++i)
        text += (sameName ? QByteArray("name") : "a" + QByteArray::number(i)) + "=\"v" + QByteArray::number(i) + "\" ";
    return text;
}

struct HostileCase {
    std::string what;
    std::function<void(QFile& report, QFile& charts)> write;  // both files open, empty
    const char* out;
};

// A case whose documents are the wine sample but for the one given.
HostileCase replaced(const std::string& what, bool report, std::function<QByteArray()> make, const char* out) {
    return {what, [=](QFile& r, QFile& c) {
                (report ? r : c).write(make());
                (report ? c : r).write(document(!report, true));
            }, out};
}

// A whole document followed by a sparse tail of zero bytes: a size taken modulo 2^32 would see
// the document alone.
HostileCase sparse(const std::string& what, bool report, qint64 extra) {
    return {what, [=](QFile& r, QFile& c) {
                r.write(document(true, true));
                c.write(document(false, true));
                ASSERT_TRUE((report ? r : c).resize((report ? r : c).size() + extra)) << "no sparse file here";
            }, report ? badReport : badCharts};
}

std::vector<HostileCase> cases() {
    const QByteArray deep = QByteArray("<a>").repeated(1000000);
    const QByteArray closed = deep + QByteArray("</a>").repeated(1000000);
    std::vector<HostileCase> all = {
        // The parser must refuse a million levels without exhausting its stack.
        replaced("report nested a million deep", true, [=] { return insideRoot(true, closed); }, badReport),
        replaced("report opening a million elements", true, [=] { return insideRoot(true, deep); }, badReport),
        replaced("charts nested a million deep", false, [=] { return insideRoot(false, closed); }, badCharts),
        replaced("zero byte inside the report", true, [] { return insideRoot(true, QByteArray(1, '\0')); }, badReport),
        {"100,000 attributes on one element", [](QFile& r, QFile& c) {
             QByteArray report = document(true, true), charts = document(false, true);
             r.write(report.insert(report.indexOf("<GeneralStats ") + 14, attributes(100000, false)));
             c.write(charts.insert(charts.indexOf("<prunedFull ") + 12, attributes(100000, false)));
         }, allOk},
        replaced("100,000 attributes of one name", true, [] {
            QByteArray report = document(true, true);
            return report.insert(report.indexOf("<Var ") + 5, attributes(100000, true));
        }, allOk),
        // The version is shown in the banner, so the value goes all the way into the page; the
        // references make the parser decode the whole value.
        {"200 MB attribute value", [](QFile& r, QFile& c) {
             const QByteArray report = document(true, false);
             const qsizetype at = report.indexOf("version=\"") + 9;
             r.write(report.left(at) + "&amp;");
             for (int i = 0; i < 200; ++i)
                 r.write(QByteArray(1 << 20, 'v'));
             r.write("&lt;" + report.mid(at));
             c.write(document(false, false));
         }, allOk},
        sparse("report of 2 GB", true, qint64(1) << 31),
        sparse("report of 4 GB and a whole document", true, qint64(1) << 32),
        sparse("charts of 4 GB and a whole document", false, qint64(1) << 32),
    };
    // Random bytes, bare and after each byte-order mark, so that they go through every decoder.
    for (unsigned seed = 1; seed <= 3; ++seed) {
        const std::string n = " " + std::to_string(seed);
        all.push_back(replaced("random bytes as report" + n, true, [=] { return randomBytes(seed, 65536); }, badReport));
        all.push_back(replaced("random bytes as charts" + n, false, [=] { return randomBytes(seed, 65536); }, badCharts));
        for (const char* mark : {"\xFF\xFE", "\xFE\xFF", "\xEF\xBB\xBF"})
            all.push_back(replaced("random bytes after the mark " + QByteArray(mark).toHex().toStdString() + n, true,
                                   [=] { return mark + randomBytes(seed, 4097); }, badReport));
    }
    // A document cut at every tenth, in 8-bit text and in UTF-16 (whose cuts fall between the
    // two bytes of a unit too), has lost its end tags: never a valid one.
    const char* const samples[] = {"public-wine/wine", "public-diabetes/diabetes", "enc_utf16le_crlf/u16"};
    for (const char* s : samples) {
        for (int tenths = 0; tenths < 10; ++tenths) {
            for (const bool report : {true, false}) {
                const std::string what = std::string(s) + (report ? " report" : " charts") + " cut at " +
                                         std::to_string(tenths) + "/10";
                all.push_back({what, [=](QFile& r, QFile& c) {
                                   const QByteArray mine = sample((s + std::string(report ? "_analysisReport.xml" : "_graphs.xml")).c_str());
                                   const QByteArray other = sample((s + std::string(report ? "_graphs.xml" : "_analysisReport.xml")).c_str());
                                   (report ? r : c).write(mine.left(mine.size() * tenths / 10));
                                   (report ? c : r).write(other);
                               }, report ? badReport : badCharts});
            }
        }
    }
    return all;
}

void PrintTo(const HostileCase& c, std::ostream* os) { *os << c.what; }

class HostileInputTest : public testing::TestWithParam<HostileCase> {};

TEST_P(HostileInputTest, EndsWithItsMessageAndASoundPage) {
    const HostileCase& c = GetParam();
    TestSupport::TempDir dir;
    {
        QFile report(dir.file("run_analysisReport.xml")), charts(dir.file("run_graphs.xml"));
        ASSERT_TRUE(report.open(QIODevice::WriteOnly) && charts.open(QIODevice::WriteOnly));
        c.write(report, charts);
    }
    if (HasFatalFailure() || IsSkipped())
        return;

    // A hang guard, not a speed limit: the largest inputs take seconds, even under the sanitizers.
    const TestSupport::RunResult run = RunCheck::run({"run_analysisReport.xml"}, dir.path(), 0, 400000);

    ASSERT_FALSE(run.timedOut) << "the run did not finish";
    EXPECT_EQ(run.out.toStdString(), c.out);
    EXPECT_EQ(run.exitCode, c.out == allOk ? 0 : 1);
    EXPECT_TRUE(run.err.isEmpty()) << run.err.left(4000).toStdString();
    const QStringList made = QDir(dir.path()).entryList({"run_analysisReport*"}, QDir::AllEntries);
    if (c.out != allOk) {
        EXPECT_EQ(made, QStringList{"run_analysisReport.xml"});
        return;
    }
    EXPECT_EQ(QDir(dir.file("run_analysisReport_files")).entryList(QDir::Files).size(), 3);
    EXPECT_EQ(RunCheck::pageErrors(dir.file("run_analysisReport.html"), 2), "");
}

std::string caseName(const testing::TestParamInfo<HostileCase>& info) {
    std::string name;
    for (const char c : info.param.what)
        name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Driver, HostileInputTest, testing::ValuesIn(cases()), caseName);

}  // namespace
