// generate(): the prediction job decides the target kind or stops the page before its first
// byte; the frame around the sections is fixed.

#include "report/ReportGenerator.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

XmlNode parse(const std::string& text) {
    XmlParseResult result;
    XmlNode root = XmlNode::parseString(text, "ORB_AnalystReport", &result);
    EXPECT_EQ(result.error, XmlError::None);
    return root;
}

struct Generated {
    bool failed;
    bool binary;
    std::string page;
    std::string out;
};

Generated generate(const std::string& report) {
    Generated g{};
    {
        PageSink page([&](std::string_view bytes) { return g.page.append(bytes), true; });
        const PageFrame frame("base");
        ReportGenerator generator(parse(report), XmlNode(), page, frame);
        testing::internal::CaptureStdout();
        g.failed = generator.generate();
        g.out = testing::internal::GetCapturedStdout();
    }
    g.binary = g.page.find("Binary modeling") != std::string::npos;
    return g;
}

std::string withJob(const std::string& attribute) {
    return "<ORB_AnalystReport><GeneralStats " + attribute + "/></ORB_AnalystReport>";
}

struct JobCase {
    std::string report;
    bool known;
    bool binary;
};

void PrintTo(const JobCase& c, std::ostream* os) {
    *os << c.report;
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
    JobCase{withJob("predictionJob='t'"), true, true},
    JobCase{withJob("predictionJob='T'"), true, true},
    JobCase{withJob("predictionJob='c'"), true, false},
    JobCase{withJob("predictionJob='C'"), true, false},
    JobCase{withJob("PREDICTIONJOB='c'"), true, false},
    JobCase{withJob("predictionJob='tc'"), false, false},
    JobCase{withJob("predictionJob='tt'"), false, false},
    JobCase{withJob("predictionJob=' t'"), false, false},
    JobCase{withJob("predictionJob='binary'"), false, false},
    JobCase{withJob("predictionJob='x'"), false, false},
    JobCase{withJob("predictionJob=''"), false, false},
    JobCase{withJob("predictionJob"), false, false},
    JobCase{withJob(""), false, false},
    JobCase{"<ORB_AnalystReport/>", false, false}));

std::vector<std::string> headings(const std::string& page) {
    std::vector<std::string> found;
    for (size_t at = page.find("<H2 "); at != std::string::npos; at = page.find("<H2 ", at + 1)) {
        const size_t start = page.find('>', at) + 1;
        found.push_back(page.substr(start, page.find("</H2>", start) - start));
    }
    return found;
}

struct OrderCase {
    const char* what;
    std::string report;
    std::vector<std::string> headings;
};

void PrintTo(const OrderCase& c, std::ostream* os) { *os << c.what; }

class SectionOrderTest : public testing::TestWithParam<OrderCase> {};

TEST_P(SectionOrderTest, HeadingsInPageOrder) {
    EXPECT_EQ(headings(generate(GetParam().report).page), GetParam().headings);
}

const std::string ranking = "Discriminative Variables ranking";
const std::string signaletic = "Signaletic Variables";
const std::vector<std::string> lists = {
    "General Counts", "Technical Parameters", "Variables that have been pruned",
    "Suspicious Variables (removed because AUCuniv > AUCmax)", "Variable Ignored",
    "Statistics for Variables in Model"};
const std::string quality = "Highest Univariate Quality of variables (100 first only)";

std::vector<std::string> join(std::vector<std::string> head, const std::vector<std::string>& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

std::string report(const std::string& job, const std::string& content) {
    return "<ORB_AnalystReport><GeneralStats predictionJob='" + job + "'/>" + content +
           "</ORB_AnalystReport>";
}

INSTANTIATE_TEST_SUITE_P(ReportGenerator, SectionOrderTest, testing::Values(
    OrderCase{"binary, no signaletic list", report("t", ""),
              join(join({"Target:", ranking, "Lifts"}, lists), {quality})},
    OrderCase{"binary, empty signaletic list", report("t", "<VariablesIllustrative/>"),
              join(join({"Target:", ranking, "Lifts"}, lists), {quality})},
    OrderCase{"binary, one signaletic variable",
              report("t", "<VariablesIllustrative><v name='a' auc='0.5'/></VariablesIllustrative>"),
              join(join({"Target:", ranking, "Lifts", signaletic}, lists), {quality})},
    OrderCase{"continuous", report("C", "<VariablesIllustrative><x/></VariablesIllustrative>"),
              join({"Target:", ranking, "Graphics", signaletic}, lists)}));

const std::string binaryReport =
    "<ORB_AnalystReport version='3.1'><GeneralStats predictionJob='t'/>"
    "<Target><HumanReadable>AT&amp;T &lt; 5</HumanReadable></Target></ORB_AnalystReport>";

// The rest of the frame is held against the golden pages; these are the generator's own lines.
TEST(ReportGeneratorTest, BannerAndTargetLineOpenTheBody) {
    const std::string page = generate(binaryReport).page;
    EXPECT_EQ(page.rfind("<!--[if ie 7]>", 0), 0u);
    EXPECT_NE(page.find("\n-->\n</style>\n</head>\n<body>\n<H1 "), std::string::npos);
    EXPECT_NE(page.find("\n\t  <u>Analyst report v3.1</u></span> </H1>"
                        "\n<H2 style=\"display:inline\">Target:</H2> \n\t\tAT&amp;T &lt; 5\n\t"),
              std::string::npos);
    EXPECT_EQ(page.substr(page.size() - 16), "\n</body>\n</html>");
}

TEST(ReportGeneratorTest, MissingVersionAndTargetLeaveEmptyTexts) {
    const std::string page = generate(withJob("predictionJob='c'")).page;
    EXPECT_NE(page.find("<u>Analyst report v</u></span> </H1>"
                        "\n<H2 style=\"display:inline\">Target:</H2> \n\t\t\n\t"),
              std::string::npos);
}

}  // namespace
