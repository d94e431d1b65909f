// Small documents run through the program, each held against texts its page must hold. Rows
// live in tests/{html,report,charts}/page-rows.json: "name"; "report" and "charts", the inside of
// each document's root element ("root", attributes of the first); "expect", excerpts of the
// page; "absent", texts it must not hold; optionally "rc", "stdout" and "page" (the whole page)
// when they are not 0, "All Ok." and left open. In "charts", {{range N}} stands for the base64
// of the doubles 0 to N - 1. Both documents are written in UTF-8 with a byte-order mark. The
// page of a failing row is left in <build>/page-rows/<name>.html.

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <QRegularExpression>

#include <bit>
#include <cctype>
#include <cstdint>
#include <string>
#include <vector>

void PrintTo(const QJsonObject& row, std::ostream* os) { *os << row["name"].toString().toStdString(); }

namespace {

std::vector<QJsonObject> rows() {
    std::vector<QJsonObject> all;
    for (const char* folder : {"html", "report", "charts"}) {
        const QString path = TestSupport::sourceDir() + "/tests/" + folder + "/page-rows.json";
        for (const QJsonValue row : QJsonDocument::fromJson(TestSupport::readFile(path)).array())
            all.push_back(row.toObject());
    }
    return all;
}

QString expanded(QString text) {
    static const QRegularExpression range(QStringLiteral(R"(\{\{range (\d+)\}\})"));
    for (QRegularExpressionMatch m; (m = range.match(text)).hasMatch();) {
        QByteArray bytes;
        for (int i = 0; i < m.captured(1).toInt(); ++i)
            for (uint64_t bits = std::bit_cast<uint64_t>(static_cast<double>(i)), k = 0; k < 8; ++k, bits >>= 8)
                bytes.append(static_cast<char>(bits & 0xFF));
        text.replace(m.capturedStart(), m.capturedLength(), QString::fromLatin1(bytes.toBase64()));
    }
    return text;
}

class PageRowsTest : public testing::TestWithParam<QJsonObject> {};

TEST_P(PageRowsTest, PageHoldsItsExcerpts) {
    const QJsonObject row = GetParam();
    TestSupport::TempDir dir;
    const QByteArray mark = "\xEF\xBB\xBF";  // QString::fromUtf8 would drop it
    TestSupport::writeFile(dir.file("r_analysisReport.xml"),
                           mark + ("<ORB_AnalystReport" + row["root"].toString() + ">" + row["report"].toString() +
                                   "</ORB_AnalystReport>").toUtf8());
    TestSupport::writeFile(dir.file("r_graphs.xml"),
                           mark + ("<ORB_Charts>" + expanded(row["charts"].toString()) + "</ORB_Charts>").toUtf8());

    const TestSupport::RunResult run = TestSupport::runAnarep({"r_analysisReport.xml"}, dir.path());

    EXPECT_EQ(run.exitCode, row["rc"].toInt(0));
    EXPECT_EQ(run.out.toStdString(), row["stdout"].toString("All Ok.\n").toStdString());
    EXPECT_TRUE(run.err.isEmpty()) << run.err.toStdString();
    const QString page = QString::fromUtf8(TestSupport::readFile(dir.file("r_analysisReport.html")));
    if (row.contains("page")) {
        EXPECT_EQ(page.toStdString(), row["page"].toString().toStdString());
    }
    for (const QJsonValue excerpt : row["expect"].toArray())
        EXPECT_TRUE(page.contains(excerpt.toString())) << "missing: " << excerpt.toString().left(300).toStdString();
    for (const QJsonValue text : row["absent"].toArray())
        EXPECT_FALSE(page.contains(text.toString())) << "there: " << text.toString().toStdString();
    if (HasFailure())
        TestSupport::writeFile(TestSupport::binaryDir() + "/page-rows/" + row["name"].toString() + ".html",
                               page.toUtf8());
}

INSTANTIATE_TEST_SUITE_P(Rows, PageRowsTest, testing::ValuesIn(rows()),
                         [](const testing::TestParamInfo<QJsonObject>& row) {
                             std::string name = row.param["name"].toString().toStdString();
                             for (char& c : name)
                                 if (!std::isalnum(static_cast<unsigned char>(c)))
                                     c = '_';
                             return name;
                         });

}  // namespace
