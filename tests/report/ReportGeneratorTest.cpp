// generate(): the prediction job decides the target kind or stops the page before its first
// byte; the frame around the sections is fixed.

#include "report/ReportGenerator.h"

#include <gtest/gtest.h>

#include <string>

namespace {

XmlNode parse(const std::u16string& text) {
    XmlParseResult result;
    XmlNode root = XmlNode::parseString(text.c_str(), u"ORB_AnalystReport", &result);
    EXPECT_EQ(result.error, XmlError::None);
    return root;
}

struct Generated {
    bool failed;
    bool binary;
    std::string page;
    std::string out;
};

Generated generate(const std::u16string& report) {
    QString page;
    Generated g{};
    {
        ReportGenerator generator(parse(report), XmlNode(), &page, QStringLiteral("base"));
        testing::internal::CaptureStdout();
        g.failed = generator.generate();
        g.out = testing::internal::GetCapturedStdout();
        g.binary = generator.isBinaryTarget;
    }
    g.page = page.toStdString();
    return g;
}

std::u16string withJob(const std::u16string& attribute) {
    return u"<ORB_AnalystReport><GeneralStats " + attribute + u"/></ORB_AnalystReport>";
}

struct JobCase {
    std::u16string report;
    bool known;
    bool binary;
};

void PrintTo(const JobCase& c, std::ostream* os) {
    *os << QString::fromStdU16String(c.report).toStdString();
}

class PredictionJobTest : public testing::TestWithParam<JobCase> {};

TEST_P(PredictionJobTest, DecidesTargetOrFailsBeforeWriting) {
    const Generated g = generate(GetParam().report);
    EXPECT_EQ(g.failed, !GetParam().known);
    if (GetParam().known) {
        EXPECT_EQ(g.binary, GetParam().binary);
        EXPECT_EQ(g.out, "");
        EXPECT_FALSE(g.page.empty());
    } else {
        EXPECT_EQ(g.out, "ERROR: Unknown predictionJob\n");
        EXPECT_EQ(g.page, "");
    }
}

INSTANTIATE_TEST_SUITE_P(ReportGenerator, PredictionJobTest, testing::Values(
    JobCase{withJob(u"predictionJob='t'"), true, true},
    JobCase{withJob(u"predictionJob='T'"), true, true},
    JobCase{withJob(u"predictionJob='c'"), true, false},
    JobCase{withJob(u"predictionJob='C'"), true, false},
    JobCase{withJob(u"PREDICTIONJOB='c'"), true, false},
    JobCase{withJob(u"predictionJob='tc'"), false, false},
    JobCase{withJob(u"predictionJob='tt'"), false, false},
    JobCase{withJob(u"predictionJob=' t'"), false, false},
    JobCase{withJob(u"predictionJob='binary'"), false, false},
    JobCase{withJob(u"predictionJob='x'"), false, false},
    JobCase{withJob(u"predictionJob=''"), false, false},
    JobCase{withJob(u"predictionJob"), false, false},
    JobCase{withJob(u""), false, false},
    JobCase{u"<ORB_AnalystReport/>", false, false}));

const std::u16string binaryReport =
    u"<ORB_AnalystReport version='3.1'><GeneralStats predictionJob='t'/>"
    u"<Target><HumanReadable>AT&amp;T &lt; 5</HumanReadable></Target></ORB_AnalystReport>";

TEST(ReportGeneratorTest, PageOpensWithTheDocumentStart) {
    EXPECT_EQ(generate(binaryReport).page.rfind("<!--[if ie 7]>\n<!DOCTYPE html", 0), 0u);
}

TEST(ReportGeneratorTest, HeadEndsAfterTheStyleSheetAndBodyOpensWithTheBanner) {
    const std::string page = generate(binaryReport).page;
    EXPECT_NE(page.find("\n-->\n</style>\n</head>\n<body>\n<H1 "), std::string::npos);
    EXPECT_NE(page.find("\n\t  <u>Analyst report v3.1</u></span> </H1>"
                        "\n<H2 style=\"display:inline\">Target:</H2> \n\t\tAT&amp;T &lt; 5\n\t"),
              std::string::npos);
}

TEST(ReportGeneratorTest, MissingVersionAndTargetLeaveEmptyTexts) {
    const std::string page = generate(withJob(u"predictionJob='c'")).page;
    EXPECT_NE(page.find("<u>Analyst report v</u></span> </H1>"
                        "\n<H2 style=\"display:inline\">Target:</H2> \n\t\t\n\t"),
              std::string::npos);
}

TEST(ReportGeneratorTest, PageEndsWithTheClosingTags) {
    const std::string page = generate(binaryReport).page;
    const std::string end = "\n</body>\n</html>";
    ASSERT_GE(page.size(), end.size());
    EXPECT_EQ(page.substr(page.size() - end.size()), end);
}

TEST(ReportGeneratorTest, TitleAndScriptsOpenTheHead) {
    const std::string page = generate(binaryReport).page;
    EXPECT_NE(page.find("charset=utf-8\">\n<head>\n<title>ORB - analyst report</title>\n"
                        "\n<script type=\"text/javascript\" src=\"base_files/orbi.min.js\">"),
              std::string::npos);
}

}  // namespace
