// Every body section of this subsystem rendered over the analysis report of each golden case
// and held against the same section of its expected page (the text from one H2 heading to the
// next). The chart sections are not compared here.

#include "SectionRender.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <cctype>
#include <sstream>
#include <utility>
#include <vector>

namespace {

QString goldenDir() { return TestSupport::sourceDir() + QStringLiteral("/tests/golden/"); }

// Cases that end with a page: exit code 0 and a page name.
std::vector<std::string> pageCases() {
    std::vector<std::string> cases;
    const QStringList folders = QDir(goldenDir()).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& folder : folders) {
        const QString expected = goldenDir() + folder + QStringLiteral("/expected/");
        if (TestSupport::readFile(expected + QStringLiteral("rc")).trimmed() == "0" &&
            !TestSupport::readFile(expected + QStringLiteral("page")).trimmed().isEmpty())
            cases.push_back(folder.toStdString());
    }
    return cases;
}

const std::vector<std::pair<std::string, Section>> kSections = {
    {"Discriminative Variables ranking", writeRankingTable},
    {"Signaletic Variables", writeSignaleticTable},
    {"General Counts", writeGeneralCounts},
    {"Technical Parameters", [](PageSink& p, const XmlNode& r, bool) { writeTechnicalParameters(p, r); }},
    {"Variables that have been pruned", [](PageSink& p, const XmlNode& r, bool) { writePrunedVariables(p, r); }},
    {"Suspicious Variables", [](PageSink& p, const XmlNode& r, bool) { writeSuspiciousVariables(p, r); }},
    {"Variable Ignored", [](PageSink& p, const XmlNode& r, bool) { writeIgnoredVariables(p, r); }},
    {"Statistics for Variables in Model", writeVariableStatistics},
    {"Highest Univariate Quality", writeHighestUnivariateQuality},
};

// The section whose heading starts with title: from its "\n<H2 " to the next one or the end
// of the body; empty when the page has no such heading.
std::string pageSection(const std::string& page, const std::string& title) {
    const size_t from = page.find("\n<H2 >" + title);
    if (from == std::string::npos)
        return {};
    size_t to = page.find("\n<H2 ", from + 1);
    if (to == std::string::npos)
        to = page.find("\n</body>", from);
    return page.substr(from, to - from);
}

// Empty when equal; otherwise the first differing line of each.
std::string firstDifference(const std::string& actual, const std::string& expected) {
    if (actual == expected)
        return {};
    std::istringstream a(actual), e(expected);
    std::string lineA, lineE;
    for (int line = 1;; ++line) {
        const bool moreA = static_cast<bool>(std::getline(a, lineA));
        const bool moreE = static_cast<bool>(std::getline(e, lineE));
        if (!moreA || !moreE || lineA != lineE)
            return "line " + std::to_string(line) + "\n  expected: " + (moreE ? lineE : "<end>") +
                   "\n  actual:   " + (moreA ? lineA : "<end>");
    }
}

class GoldenSectionsTest : public testing::TestWithParam<std::string> {};

TEST_P(GoldenSectionsTest, SectionsMatchTheExpectedPage) {
    const QString folder = goldenDir() + QString::fromStdString(GetParam()) + QStringLiteral("/");
    const QString reportName = QString::fromUtf8(TestSupport::readFile(folder + QStringLiteral("args")))
                                   .split(QLatin1Char(' '), Qt::SkipEmptyParts).value(0).trimmed();
    const QString pageName =
        QString::fromUtf8(TestSupport::readFile(folder + QStringLiteral("expected/page"))).trimmed();
    XmlParseResult result;
    const XmlNode root = XmlNode::parseFile(QFile::encodeName(folder + reportName).constData(),
                                            "ORB_AnalystReport", &result);
    ASSERT_EQ(result.error, XmlError::None) << reportName.toStdString();
    const std::string job = std::string(root.childNamed("GeneralStats").attribute("predictionJob"));
    const std::string page = TestSupport::readFile(folder + QStringLiteral("expected/") + pageName).toStdString();
    ASSERT_FALSE(pageSection(page, "Statistics for Variables in Model").empty()) << "no body";
    for (const auto& [title, section] : kSections)
        EXPECT_EQ(firstDifference(renderSection(root, section, job == "t" || job == "T"),
                                  pageSection(page, title)), "")
            << title;
}

INSTANTIATE_TEST_SUITE_P(Golden, GoldenSectionsTest, testing::ValuesIn(pageCases()),
                         [](const testing::TestParamInfo<std::string>& param) {
                             std::string name = param.param;
                             for (char& c : name)
                                 if (!std::isalnum(static_cast<unsigned char>(c)))
                                     c = '_';
                             return name;
                         });

}  // namespace
