// The general counts: the sampled line count and its fallback name, shares and their formats,
// zero denominators, 32-bit arithmetic, texts shown as stored.

#include "SectionRender.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

const Section counts = writeGeneralCounts;

const std::string kShareCell = "\n    <td width=\"90\" align=\"left\"  >= ";
const std::string kSetCell = "\n    <td width=\"78\" align=\"right\" >";
const std::string kAprioriCell = "\n    <td align=\"right\">";
const std::string kCountCell = "\n    <td width=\"71\" align=\"right\">";

struct CountsCase {
    const char* what;
    bool binaryTarget;
    const char* stats;  // attributes of GeneralStats
    std::string cell;
    std::vector<std::string> expected;
};

void PrintTo(const CountsCase& c, std::ostream* os) { *os << c.what; }

class GeneralCountsTest : public testing::TestWithParam<CountsCase> {};

TEST_P(GeneralCountsTest, Cells) {
    const std::string page = renderSection(std::string("<GeneralStats ") + GetParam().stats + "/>",
                                           counts, GetParam().binaryTarget);
    EXPECT_EQ(cellsAfter(page, GetParam().cell), GetParam().expected);
}

const char* const kSamping =
    R"(nLineSQL="9900" nLineInTestSet="3000" nLineInCreationSet="500" nLineSamping="10000"
       nTargetSQL="1180" nTargetSampling="1200" nTargetInTestSet="360"
       minSizeModalityForNominalVar="100" minSizeModalityForOrderedVar="250")";

INSTANTIATE_TEST_SUITE_P(Counts, GeneralCountsTest, testing::Values(
    CountsCase{"shares of 30 and 5 percent from nLineSamping", true, kSamping, kShareCell,
               {"30.00%)", " 5.00%)", "30.000%)", "70.000%)"}},
    CountsCase{"sampled count from nLineSamping", true, kSamping, kCountCell,
               {"10000", "", "", "1180", "1200", "", "", "", "", "", "", "100", "250"}},
    CountsCase{"test and creation counts, then size shares over S", true, kSamping, kSetCell,
               {"3000", "500", "360", "840", "1.000", "2.500"}},
    CountsCase{"a-priori probabilities: selected lines, then S", true, kSamping, kAprioriCell,
               {"11.919", "12.000"}},
    CountsCase{"nLineSampling of 0 falls back", true,
               R"(nLineSampling="0" nLineSamping="500" nLineInTestSet="100")", kShareCell,
               {"20.00%)", " 0.00%)", "  nan%)", "  nan%)"}},
    CountsCase{"nLineSampling wins over nLineSamping", true,
               R"(nLineSampling="400" nLineSamping="500" nLineInTestSet="100")", kShareCell,
               {"25.00%)", " 0.00%)", "  nan%)", "  nan%)"}},
    CountsCase{"zero denominators: inf and nan, five wide", true, R"(nLineInTestSet="5")",
               kShareCell, {"  inf%)", "  nan%)", "  nan%)", "  nan%)"}},
    CountsCase{"zero denominators in the a-priori rows", true, R"(nTargetSampling="-7")",
               kAprioriCell, {"  nan", " -inf"}},
    CountsCase{"zero denominators in the size shares", true, R"(minSizeModalityForNominalVar="3")",
               kSetCell, {"0", "0", "0", "0", "  inf", "  nan"}},
    CountsCase{"negative and exact half shares", true,
               R"(nLineSampling="800" nLineInTestSet="-40" nLineInCreationSet="1")", kShareCell,
               {"-5.00%)", " 0.12%)", "  nan%)", "  nan%)"}},
    CountsCase{"target creation count wraps in 32 bits", true,
               R"(nTargetSampling="-2147483648" nTargetInTestSet="1")", kSetCell,
               {"0", "0", "1", "2147483647", "  nan", "  nan"}},
    CountsCase{"size products wrap in 32 bits", true,
               R"(nLineSampling="1000" minSizeModalityForNominalVar="30000000"
                  minSizeModalityForOrderedVar="21474837")", kSetCell,
               {"0", "0", "0", "0", "-1294967.296", "-2147483.596"}},
    CountsCase{"continuous: no target block", false, kSamping, kSetCell,
               {"3000", "500", "1.000", "2.500"}},
    CountsCase{"continuous: no a-priori rows", false, kSamping, kAprioriCell, {}},
    CountsCase{"text counts as stored, integer counts as read", true,
               R"(nLineStart="1 234" nLineSQL="1 234" nTargetCountStart="n/a"
                  nTargetInWholeDataset="" nTargetSQL="5xyz" nColInitialCount="&lt;17&gt;")",
               kCountCell, {"0", "n/a", "", "5", "0", "<17>", "", "", "", "", "", "0", "0"}}));

TEST(GeneralCountsTest, OpensWithTheDatasetNameUnescapedAndTheTargetKind) {
    const std::string page = renderSection(
        R"(<GeneralStats configFile="C:\data\bank &amp; co &lt;2019&gt;.csv" nLineStart="1 234" nLineSQL="1 234"/>)",
        counts);
    EXPECT_EQ(page.substr(0, page.find("\n  <tr>\n    <td width=\"12\">&nbsp;</td>\n    <td width=\"261\" align=\"left\">After sampling")),
              "\n<H2 >General Counts</H2>"
              "\n"
              "\nDataset: C:\\data\\bank & co <2019>.csv<br>"
              "\nBinary modeling"
              "\n<table width=\"700\" border=\"0\" nowrap=\"nowrap\" >"
              "\n  <tr><td colspan=\"7\" align=\"left\">Dataset</td></tr>"
              "\n  <tr>"
              "\n    <td width=\"12\">&nbsp;</td>"
              "\n    <td width=\"261\" align=\"left\">Initial count</td>"
              "\n    <td width=\"71\"align=\"right\">1 234</td>"
              "\n  </tr>"
              "\n  <tr>"
              "\n    <td width=\"12\">&nbsp;</td>"
              "\n    <td width=\"261\"align=\"left\">After lines exclusion/selection</td>"
              "\n    <td width=\"71\"align=\"right\">1</td>"
              "\n  </tr>");
}

TEST(GeneralCountsTest, ContinuousGoesFromDatasetSpacersToVariables) {
    const std::string page = renderSection("", counts, false);
    EXPECT_NE(page.find("\nContinuous modeling\n<table"), std::string::npos);
    EXPECT_NE(page.find("%)</td>\n  </tr>"
                        "\n  <tr><td colspan=\"7\"></td></tr>"
                        "\n  <tr><td colspan=\"7\"></td></tr>"
                        "\n  <tr>\n    <td colspan=\"7\" align=\"left\">Number of Variable</td>"),
              std::string::npos);
    EXPECT_EQ(page.find("Target"), std::string::npos);
}

}  // namespace
