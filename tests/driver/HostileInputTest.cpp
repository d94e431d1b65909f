// Damaged, hostile and huge documents given to the built program. Whatever the input, a run
// ends with exit code 0 or 1 and its one line on standard output, writes nothing to standard
// error (where a sanitizer would report), finishes, and leaves either no page or a page whose
// inline scripts all parse and run and whose markup holds nothing a document text put there to
// take the page over (tests/driver/check-page-scripts.mjs).

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QtEndian>

#include <cctype>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

using TestSupport::readFile;
using TestSupport::TempDir;
using TestSupport::writeFile;

const char* const allOk = "All Ok.\n";
const char* const badReport = "Error: Invalid AnalystReport file\n";
const char* const badCharts = "Error: Invalid Graph file\n";

const QString reportName = QStringLiteral("run_analysisReport.xml");
const QString chartsName = QStringLiteral("run_graphs.xml");
const QString pageName = QStringLiteral("run_analysisReport.html");
const QString sideName = QStringLiteral("run_analysisReport_files");

// A hang guard, not a speed limit: the largest inputs take seconds, even under the sanitizers.
constexpr int runLimitMs = 400000;

QByteArray sample(const char* path) {
    const QByteArray bytes = readFile(TestSupport::sourceDir() + QStringLiteral("/tests/golden/") +
                                      QString::fromLatin1(path));
    EXPECT_FALSE(bytes.isEmpty()) << path;
    return bytes;
}

QByteArray wineReport() { return sample("public-wine/wine_analysisReport.xml"); }
QByteArray wineCharts() { return sample("public-wine/wine_graphs.xml"); }
QByteArray diabetesReport() { return sample("public-diabetes/diabetes_analysisReport.xml"); }
QByteArray diabetesCharts() { return sample("public-diabetes/diabetes_graphs.xml"); }

// The document with extra text put right after the start tag of its root element.
QByteArray insideRoot(QByteArray document, const char* root, const QByteArray& content) {
    const qsizetype tagEnd = document.indexOf('>', document.indexOf(QByteArray("<") + root)) + 1;
    EXPECT_GT(tagEnd, 0) << root;
    return document.insert(tagEnd, content);
}

// The document with extra attributes in the start tag of the first element of that name.
QByteArray withAttributes(QByteArray document, const char* element, const QByteArray& attributes) {
    const qsizetype at = document.indexOf(QByteArray("<") + element + ' ');
    EXPECT_GE(at, 0) << element;
    return document.insert(at + qsizetype(std::strlen(element)) + 2, attributes + ' ');
}

QByteArray nested(int depth, bool closed) {
    QByteArray text = QByteArray("<a>").repeated(depth);
    if (closed)
        text += QByteArray("</a>").repeated(depth);
    return text;
}

QByteArray manyAttributes(int count, bool sameName) {
    QByteArray text;
    for (int i = 0; i < count; ++i)
        text += (sameName ? QByteArray("name") : "a" + QByteArray::number(i)) + "=\"v" + QByteArray::number(i) +
                "\" ";
    return text;
}

QByteArray randomBytes(unsigned seed, int count) {
    std::mt19937 random(seed);
    QByteArray bytes(count, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random() & 0xFF);
    return bytes;
}

// A case writes the two documents into the run's directory when it runs: the tables only
// hold the recipes, so that listing the tests builds no document.
using Writer = std::function<void(const QString& directory)>;
using Document = std::function<QByteArray()>;

Writer files(Document report, Document charts) {
    return [report, charts](const QString& directory) {
        writeFile(directory + u'/' + reportName, report());
        writeFile(directory + u'/' + chartsName, charts());
    };
}

// Large files are written in pieces so that the test itself stays small.
void writePieces(const QString& path, const std::vector<std::pair<QByteArray, qint64>>& pieces) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << qPrintable(path);
    for (const auto& [piece, times] : pieces)
        for (qint64 i = 0; i < times; ++i)
            ASSERT_EQ(file.write(piece), piece.size());
}

// A whole, valid document at the start of a file whose size is made far larger by a sparse
// tail of zero bytes: a size taken modulo 2^32 would see only the document.
Writer sparse(bool inReport, qint64 extra) {
    return [=](const QString& directory) {
        files(wineReport, wineCharts)(directory);
        QFile file(directory + u'/' + (inReport ? reportName : chartsName));
        ASSERT_TRUE(file.resize(file.size() + extra)) << "cannot make a sparse file here";
    };
}

struct HostileCase {
    std::string what;
    Writer write;
    const char* out;
};

void PrintTo(const HostileCase& c, std::ostream* os) { *os << c.what; }

// The page checked by Node: its inline scripts and event attributes, and its markup. Empty when
// all is well; otherwise what failed.
QString scriptErrors(const QString& page, int* scripts) {
    QProcess node;
    node.start(QStringLiteral("node"), {TestSupport::sourceDir() + QStringLiteral("/tests/driver/check-page-scripts.mjs"),
                                        page});
    if (!node.waitForFinished(runLimitMs) || node.exitStatus() != QProcess::NormalExit)
        return QStringLiteral("node did not run: ") + node.errorString();
    const QJsonObject answer = QJsonDocument::fromJson(node.readAllStandardOutput()).object();
    *scripts = answer.value(u"scripts").toInt(-1);
    QStringList errors;
    for (const QJsonValue& error : answer.value(u"errors").toArray())
        errors << error.toString();
    if (*scripts < 0)
        errors << QStringLiteral("no answer from node: ") + QString::fromUtf8(node.readAllStandardError());
    return errors.join(u'\n');
}

class HostileInputTest : public testing::TestWithParam<HostileCase> {};

TEST_P(HostileInputTest, EndsWithItsMessageAndASoundPage) {
    const HostileCase& c = GetParam();
    TempDir dir;
    c.write(dir.path());
    if (HasFatalFailure() || IsSkipped())
        return;

    const TestSupport::RunResult run = TestSupport::runAnarep({reportName}, dir.path(), runLimitMs);

    ASSERT_FALSE(run.timedOut) << "the run did not finish";
    const bool succeeds = std::strcmp(c.out, allOk) == 0;
    EXPECT_EQ(run.out.toStdString(), c.out);
    EXPECT_EQ(run.exitCode, succeeds ? 0 : 1);
    EXPECT_TRUE(run.err.isEmpty()) << run.err.left(4000).toStdString();
    const QString page = dir.file(pageName);
    if (!succeeds) {
        EXPECT_FALSE(QFileInfo::exists(page));
        EXPECT_FALSE(QFileInfo::exists(dir.file(sideName)));
        return;
    }
    EXPECT_EQ(QDir(dir.file(sideName)).entryList(QDir::Files).size(), 3);
    ASSERT_GT(QFileInfo(page).size(), 0);
    if (QStandardPaths::findExecutable(QStringLiteral("node")).isEmpty())
        GTEST_SKIP() << "node is not installed: the page's scripts are not checked";
    int scripts = 0;
    const QString errors = scriptErrors(page, &scripts);
    EXPECT_TRUE(errors.isEmpty()) << errors.left(4000).toStdString();
    EXPECT_GE(scripts, 2);  // the sparkline set-up and at least one chart
}

// A million levels of elements: the parser must refuse them without exhausting its stack.
std::vector<HostileCase> deepCases() {
    return {
        {"report nested a million deep",
         files([] { return insideRoot(wineReport(), "ORB_AnalystReport", nested(1000000, true)); }, wineCharts),
         badReport},
        {"report opening a million elements",
         files([] { return insideRoot(wineReport(), "ORB_AnalystReport", nested(1000000, false)); }, wineCharts),
         badReport},
        {"charts nested a million deep",
         files(wineReport, [] { return insideRoot(wineCharts(), "ORB_Charts", nested(1000000, true)); }),
         badCharts},
    };
}

std::vector<HostileCase> sizeCases() {
    const qint64 twoGigabytes = qint64(1) << 31;
    const qint64 fourGigabytes = qint64(1) << 32;
    return {
        {"100,000 attributes on one element",
         files([] { return withAttributes(wineReport(), "GeneralStats", manyAttributes(100000, false)); },
               [] { return withAttributes(wineCharts(), "prunedFull", manyAttributes(100000, false)); }),
         allOk},
        {"100,000 attributes of one name",
         files([] { return withAttributes(wineReport(), "Var", manyAttributes(100000, true)); }, wineCharts),
         allOk},
        // The version is shown in the banner, so the value goes all the way into the page; the
        // references make the parser decode the whole value.
        {"200 MB attribute value",
         [](const QString& directory) {
             const QByteArray report = diabetesReport();
             const qsizetype at = report.indexOf("version=\"") + 9;
             writePieces(directory + u'/' + reportName, {{report.left(at) + "&amp;", 1},
                                                         {QByteArray(1 << 20, 'v'), 200},
                                                         {"&lt;" + report.mid(at), 1}});
             writeFile(directory + u'/' + chartsName, diabetesCharts());
         },
         allOk},
        // A whole document followed by a sparse tail of zero bytes: a size taken modulo 2^32
        // would see the document alone.
        {"report of 2 GB", sparse(true, twoGigabytes), badReport},
        {"report of 4 GB and a whole document", sparse(true, fourGigabytes), badReport},
        {"charts of 4 GB and a whole document", sparse(false, fourGigabytes), badCharts},
    };
}

QByteArray left(const QByteArray& bytes, int tenths) { return bytes.left(bytes.size() * tenths / 10); }

// Cuts at every tenth of a sample, in 8-bit text and in UTF-16 (whose cuts fall between the
// two bytes of a unit too). A cut document has lost its end tags: never a valid one.
std::vector<HostileCase> truncationCases() {
    struct Sample {
        const char* name;
        Document report;
        Document charts;
    };
    const Sample samples[] = {
        {"binary", wineReport, wineCharts},
        {"continuous", diabetesReport, diabetesCharts},
        {"UTF-16", [] { return sample("enc_utf16le_crlf/u16_analysisReport.xml"); },
         [] { return sample("enc_utf16le_crlf/u16_graphs.xml"); }},
    };
    std::vector<HostileCase> cases;
    for (const Sample& s : samples) {
        for (int tenths = 0; tenths < 10; ++tenths) {
            const std::string at = " cut at " + std::to_string(tenths) + "/10";
            const Document report = s.report;
            const Document charts = s.charts;
            cases.push_back({std::string(s.name) + " report" + at,
                             files([=] { return left(report(), tenths); }, charts), badReport});
            cases.push_back({std::string(s.name) + " charts" + at,
                             files(report, [=] { return left(charts(), tenths); }), badCharts});
        }
    }
    return cases;
}

QByteArray utf16(const QByteArray& utf8, bool bigEndian) {
    QByteArray bytes(bigEndian ? "\xFE\xFF" : "\xFF\xFE");
    for (const QChar unit : QString::fromUtf8(utf8)) {
        const char16_t value = unit.unicode();
        const char pair[2] = {static_cast<char>(bigEndian ? value >> 8 : value & 0xFF),
                              static_cast<char>(bigEndian ? value & 0xFF : value >> 8)};
        bytes.append(pair, 2);
    }
    return bytes;
}

std::vector<HostileCase> byteCases() {
    std::vector<HostileCase> cases;
    for (unsigned seed = 1; seed <= 3; ++seed) {
        const std::string n = " " + std::to_string(seed);
        cases.push_back({"random bytes as report" + n, files([=] { return randomBytes(seed, 65536); }, wineCharts),
                         badReport});
        cases.push_back({"random bytes as charts" + n, files(wineReport, [=] { return randomBytes(seed, 65536); }),
                         badCharts});
        // Random bytes after a byte-order mark go through each decoder.
        cases.push_back({"random UTF-16 bytes as report" + n,
                         files([=] { return "\xFF\xFE" + randomBytes(seed, 4097); }, wineCharts), badReport});
        cases.push_back({"random UTF-16 big-endian bytes as report" + n,
                         files([=] { return "\xFE\xFF" + randomBytes(seed, 4097); }, wineCharts), badReport});
        cases.push_back({"random UTF-8 bytes as report" + n,
                         files([=] { return "\xEF\xBB\xBF" + randomBytes(seed, 4097); }, wineCharts), badReport});
    }
    // An odd last byte is read with a zero byte as its partner.
    for (const bool bigEndian : {false, true}) {
        const std::string order = bigEndian ? "big-endian" : "little-endian";
        cases.push_back({"UTF-16 " + order + " report with an odd length, last byte a letter",
                         files([=] { return utf16(wineReport(), bigEndian) + "A"; }, wineCharts), allOk});
        cases.push_back({"UTF-16 " + order + " report with an odd length, last byte a \"<\"",
                         files([=] { return utf16(wineReport(), bigEndian) + "<"; }, wineCharts),
                         bigEndian ? allOk : badReport});
        cases.push_back({"UTF-16 " + order + " charts with an odd length",
                         files(wineReport, [=] { return utf16(wineCharts(), bigEndian) + "\n"; }), allOk});
        cases.push_back({"UTF-16 " + order + " report cut inside a unit",
                         files([=] { return utf16(wineReport(), bigEndian).chopped(5); }, wineCharts), badReport});
    }
    // The zero byte ends the text, and with it the root element.
    cases.push_back({"zero byte inside the report",
                     files([] { return insideRoot(wineReport(), "ORB_AnalystReport", QByteArray(1, '\0')); },
                           wineCharts),
                     badReport});
    return cases;
}

// Base64 of the given bit patterns as little-endian doubles, as the chart document stores them.
QByteArray doubleBits(const std::vector<quint64>& values) {
    QByteArray bytes(qsizetype(values.size() * 8), '\0');
    for (size_t i = 0; i < values.size(); ++i)
        qToLittleEndian(values[i], bytes.data() + i * 8);
    return bytes.toBase64();
}

QByteArray doubles(const std::vector<double>& values) {
    std::vector<quint64> bits(values.size());
    std::memcpy(bits.data(), values.data(), values.size() * 8);
    return doubleBits(bits);
}

// Every x and y of the chart document replaced by the given texts.
QByteArray withCurves(const QByteArray& charts, const QByteArray& x, const QByteArray& y) {
    static const QRegularExpression xElement(QStringLiteral("<x>[^<]*</x>"));
    static const QRegularExpression yElement(QStringLiteral("<y>[^<]*</y>"));
    QString text = QString::fromUtf8(charts);
    text.replace(xElement, QStringLiteral("<x>") + QString::fromUtf8(x) + QStringLiteral("</x>"));
    text.replace(yElement, QStringLiteral("<y>") + QString::fromUtf8(y) + QStringLiteral("</y>"));
    return text.toUtf8();
}

std::vector<HostileCase> base64Cases() {
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const QByteArray eight = doubles({0, 0.25, 0.5, 1, 2, 10, 50, 100});
    // Signalling, negative and all-ones NaNs, the smallest denormal, negative zero, the largest
    // double and the infinities.
    const std::vector<quint64> oddBits = {0x7FF0000000000001, 0xFFF8000000000000, 0xFFFFFFFFFFFFFFFF,
                                          0x0000000000000001, 0x8000000000000000, 0x7FEFFFFFFFFFFFFF,
                                          0x7FF0000000000000, 0xFFF0000000000000};
    struct Curves {
        const char* what;
        QByteArray x;
        QByteArray y;
    };
    const Curves curves[] = {
        {"NaN and infinities in y", eight, doubles({nan, inf, -inf, -nan, 1, -0.0, 1e308, -1e308})},
        {"NaN and infinities in x", doubles({nan, inf, -inf, 0, 1, nan, -inf, inf}), eight},
        {"NaNs of every kind in x and y", doubleBits(oddBits), doubleBits({oddBits.rbegin(), oddBits.rend()})},
        {"y shorter than x", eight, doubles({1, 2, 3})},
        {"y of seven bytes", eight, QByteArray("AAAAAAAAAA==")},
        {"x shorter than y", doubles({1, 2}), eight},
        {"x of fewer than eight bytes", QByteArray("QUJD"), eight},
        {"invalid characters", QByteArray("QUJD*AAA"), QByteArray("AAAA\xC3\xA9" "AAA")},
        {"padding in the middle", QByteArray("QQ==") + eight, QByteArray("====")},
        {"single characters", QByteArray("Q"), QByteArray("A")},
        {"white space only", QByteArray(" \n\t\r "), QByteArray("\n")},
        {"empty", QByteArray(), QByteArray()},
    };
    std::vector<HostileCase> cases;
    for (const Curves& c : curves) {
        const QByteArray x = c.x;
        const QByteArray y = c.y;
        cases.push_back({std::string("binary target, ") + c.what,
                         files(wineReport, [=] { return withCurves(wineCharts(), x, y); }), allOk});
        cases.push_back({std::string("continuous target, ") + c.what,
                         files(diabetesReport, [=] { return withCurves(diabetesCharts(), x, y); }), allOk});
    }
    return cases;
}

// Quotes of both kinds, a backslash, end tags and a comment opener before a script tag, every
// kind of line break, and markup that would bring a script or hide the page, written as XML
// attribute text.
const char* const hostileText =
    "it&apos;s &quot;q&quot; \\ &lt;/script&gt;&lt;!--&lt;script&gt; &lt;/SCRIPT &gt;&#10;line&#13;&#x2028;"
    "&#x2029;\ntab\t\\u0027 &lt;script&gt;1+&lt;/script&gt;&lt;img src=x onerror=&quot;1+&quot;&gt;"
    "&lt;textarea&gt;&lt;b&gt;end\\";

// Every attribute of the document, or every one that holds no number, gets the hostile text in
// front of its value (each value stays distinct, so ids still tell variables apart).
QByteArray hostileAttributes(const QByteArray& document, bool numbersToo) {
    static const QRegularExpression attribute(QStringLiteral(" ([A-Za-z_]+)=\"([^\"]*)\""));
    static const QRegularExpression number(QStringLiteral("^-?[0-9.eE+-]*$"));
    const QString text = QString::fromUtf8(document);
    QString result;
    qsizetype from = 0;
    for (const QRegularExpressionMatch& m : attribute.globalMatch(text)) {
        const QString name = m.captured(1);
        const bool keep = name == u"encoding" || name == u"predictionJob" ||
                          (!numbersToo && name != u"idx" && number.match(m.captured(2)).hasMatch());
        result += text.mid(from, m.capturedStart() - from);
        result += keep ? m.captured(0)
                       : QStringLiteral(" %1=\"%2%3\"").arg(name, QString::fromUtf8(hostileText), m.captured(2));
        from = m.capturedEnd();
    }
    result += text.mid(from);
    return result.toUtf8();
}

// The element texts that are not base64 get it too.
QByteArray hostileTexts(const QByteArray& document) {
    static const QRegularExpression element(QStringLiteral("<(HumanReadable|DescriptionFile)>"));
    return QString::fromUtf8(document)
        .replace(element, QStringLiteral("<\\1>") + QString::fromUtf8(hostileText))
        .toUtf8();
}

// Random bytes, other than those that end an attribute value, in front of every name, label,
// id, type and reason; read as Windows-1252, or as UTF-8 after its mark (where most become
// replacement characters, and the line and paragraph separators are added).
QByteArray randomNames(const QByteArray& document, unsigned seed, bool utf8) {
    static const QRegularExpression attribute(QStringLiteral(" (name|label|idx|type|reason)=\"([^\"]*)\""));
    std::mt19937 random(seed);
    QByteArray result = utf8 ? "\xEF\xBB\xBF" : "";
    qsizetype from = 0;
    for (const QRegularExpressionMatch& m : attribute.globalMatch(QString::fromLatin1(document))) {
        result += document.mid(from, m.capturedStart(2) - from);
        QByteArray noise = utf8 ? "\xE2\x80\xA8\xE2\x80\xA9" : "";
        for (int i = 0; i < 24; ++i) {
            const char byte = static_cast<char>(1 + random() % 255);
            if (byte != '<' && byte != '&' && byte != '"')
                noise += byte;
        }
        result += noise;
        from = m.capturedStart(2);
    }
    return result + document.mid(from);
}

std::vector<HostileCase> textCases() {
    std::vector<HostileCase> cases;
    for (const bool numbersToo : {false, true}) {
        const std::string which = numbersToo ? "every attribute" : "every text attribute";
        cases.push_back({"binary target, hostile text in " + which,
                         files([=] { return hostileTexts(hostileAttributes(wineReport(), numbersToo)); },
                               [=] { return hostileAttributes(wineCharts(), numbersToo); }),
                         allOk});
        cases.push_back({"continuous target, hostile text in " + which,
                         files([=] { return hostileTexts(hostileAttributes(diabetesReport(), numbersToo)); },
                               [=] { return hostileAttributes(diabetesCharts(), numbersToo); }),
                         allOk});
    }
    for (unsigned seed = 1; seed <= 2; ++seed) {
        for (const bool utf8 : {false, true}) {
            const std::string n = std::to_string(seed) + (utf8 ? " as UTF-8" : " as Windows-1252");
            cases.push_back({"binary target, random names " + n,
                             files([=] { return randomNames(wineReport(), seed, utf8); }, wineCharts), allOk});
            cases.push_back({"continuous target, random names " + n,
                             files([=] { return randomNames(diabetesReport(), seed, utf8); }, diabetesCharts),
                             allOk});
        }
    }
    return cases;
}

std::string caseName(const testing::TestParamInfo<HostileCase>& info) {
    std::string name;
    for (const char c : info.param.what)
        name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Deep, HostileInputTest, testing::ValuesIn(deepCases()), caseName);
INSTANTIATE_TEST_SUITE_P(Size, HostileInputTest, testing::ValuesIn(sizeCases()), caseName);
INSTANTIATE_TEST_SUITE_P(Truncated, HostileInputTest, testing::ValuesIn(truncationCases()), caseName);
INSTANTIATE_TEST_SUITE_P(Bytes, HostileInputTest, testing::ValuesIn(byteCases()), caseName);
INSTANTIATE_TEST_SUITE_P(Base64, HostileInputTest, testing::ValuesIn(base64Cases()), caseName);
INSTANTIATE_TEST_SUITE_P(Texts, HostileInputTest, testing::ValuesIn(textCases()), caseName);

}  // namespace
