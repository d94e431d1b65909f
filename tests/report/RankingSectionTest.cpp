// The ranking and signaletic tables: statistics per row, cut rules, column scales, images.

#include "SectionRender.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QString>

#include <limits>
#include <regex>
#include <vector>

namespace {

const Section ranking = writeRankingTable;
const Section signaletic = writeSignaleticTable;

const std::string kBestCell = "\n    <td nowrap=\"nowrap\" class=\"blBorderLeft\">";
const std::string kLowestCell = "\n    <td class=\"blBorderLeft\" >";
const std::string kHighestCell = "\n    <td class=\"greyBorderBottom\" >";

std::vector<std::string> darkWidths(const std::string& page) {
    static const std::regex bar(R"re(width:(-?\d+)px;" class="sparkBl")re");
    std::vector<std::string> widths;
    for (std::sregex_iterator it(page.begin(), page.end(), bar), end; it != end; ++it)
        widths.push_back((*it)[1]);
    return widths;
}

// One variable in both lists whose only modality (index 200) is named name.
std::string rankedVariable(const std::string& name) {
    return R"(<ModelVariableShort><Var name="V" idx="1"/></ModelVariableShort>)"
           R"(<ModelVariableLong><Var nLine="10" sumTargetTotal="5"><Modality name=")" +
           xmlEscaped(name) + R"(" nOcc="5" sumTarget="5"/></Var></ModelVariableLong>)";
}

std::string signaleticVariable(const std::string& name) {
    return R"(<VariablesIllustrative><Var name="V" idx="1" nLine="10" sumTargetTotal="5">)"
           R"(<Modality name=")" + xmlEscaped(name) + R"(" nOcc="5" sumTarget="5"/></Var></VariablesIllustrative>)";
}

struct CutCase {
    const char* what;
    std::string name;
    std::string rankingShows;
    std::string signaleticShows;
};

void PrintTo(const CutCase& c, std::ostream* os) { *os << c.what; }

class BestModalityCutTest : public testing::TestWithParam<CutCase> {};

TEST_P(BestModalityCutTest, RankingCutsEscapedTextAbove33) {
    EXPECT_EQ(cellsAfter(renderSection(rankedVariable(GetParam().name), ranking), kBestCell),
              std::vector<std::string>{GetParam().rankingShows});
}

TEST_P(BestModalityCutTest, SignaleticCutsAbove25BeforeEscaping) {
    EXPECT_EQ(cellsAfter(renderSection(signaleticVariable(GetParam().name), signaletic), kBestCell),
              std::vector<std::string>{GetParam().signaleticShows});
}

const std::string a21 = repeated("a", 21), a23 = repeated("a", 23), a29 = repeated("a", 29),
                  a30 = repeated("a", 30);

INSTANTIATE_TEST_SUITE_P(Ranking, BestModalityCutTest, testing::Values(
    CutCase{"short", "Male", "Male", "Male"},
    CutCase{"25 characters", repeated("b", 25), repeated("b", 25), repeated("b", 25)},
    CutCase{"26 characters", repeated("b", 26), repeated("b", 26), repeated("b", 23) + ".."},
    CutCase{"33 characters", repeated("a", 33), repeated("a", 33), a23 + ".."},
    CutCase{"34 characters", repeated("a", 34), a30 + "...", a23 + ".."},
    CutCase{"40 characters", repeated("a", 40), a30 + "...", a23 + ".."},
    CutCase{"escaping reaches 33 exactly", repeated("a", 28) + "&", repeated("a", 28) + "&amp;",
            repeated("a", 23) + ".."},
    CutCase{"escaping passes 33: the entity is split", a29 + "&", a29 + "&...", a23 + ".."},
    CutCase{"24 characters escaped to 28 stay whole", repeated("a", 23) + "<", a23 + "&lt;",
            a23 + "&lt;"},
    CutCase{"26 characters: the escaped text is cut", a21 + "&" + "aaaa", a21 + "&amp;aaaa",
            a21 + "&a.."},
    CutCase{"non-ASCII letters count one unit each", repeated("\xC3\xA9", 30),
            repeated("\xC3\xA9", 30), repeated("\xC3\xA9", 23) + ".."},
    CutCase{"outside the basic plane: two units each", "a" + repeated("\xF0\x9F\x98\x80", 12) + "a",
            "a" + repeated("\xF0\x9F\x98\x80", 12) + "a", "a" + repeated("\xF0\x9F\x98\x80", 11) + ".."}));

TEST(RankingTableTest, LowestIgnoresZeroIndicesHighestAndBestDoNot) {
    const std::string document =
        R"(<ModelVariableShort><Var/></ModelVariableShort><ModelVariableLong>
           <Var nLine="100" sumTargetTotal="10"><Modality name="zero" nOcc="20" sumTarget="0"/>
           <Modality name="low" nOcc="50" sumTarget="4"/><Modality name="high" nOcc="30" sumTarget="4.2"/>
           <Modality name="tie" nOcc="30" sumTarget="4.2"/></Var></ModelVariableLong>)";
    const std::string page = renderSection(document, ranking);
    EXPECT_EQ(cellsAfter(page, kLowestCell), std::vector<std::string>{"80.00"});
    EXPECT_EQ(cellsAfter(page, kHighestCell), std::vector<std::string>{"140.00"});
    EXPECT_EQ(cellsAfter(page, kBestCell), std::vector<std::string>{"high"});
}

TEST(RankingTableTest, OnlyTheBestTextCarriesOverToRowsWithoutUsableModalities) {
    const std::string document =
        R"(<ModelVariableShort><Var/><Var/><Var/><Var/></ModelVariableShort><ModelVariableLong>
           <Var nLine="10" sumTargetTotal="5"/>
           <Var nLine="10" sumTargetTotal="5"><Modality name="first" nOcc="5" sumTarget="5"/></Var>
           <Var nLine="10" sumTargetTotal="5"/>
           <Var nLine="10" sumTargetTotal="5"><Modality name="zero" nOcc="5" sumTarget="0"/></Var>
           </ModelVariableLong>)";
    const std::string page = renderSection(document, ranking);
    const std::string largest = cFormat("%.2f", std::numeric_limits<double>::max());
    EXPECT_EQ(cellsAfter(page, kBestCell), (std::vector<std::string>{" ", "first", "first", "zero"}));
    EXPECT_EQ(cellsAfter(page, kLowestCell),
              (std::vector<std::string>{largest, "200.00", largest, largest}));
    EXPECT_EQ(cellsAfter(page, kHighestCell),
              (std::vector<std::string>{"-" + largest, "200.00", "-" + largest, "0.00"}));
}

TEST(RankingTableTest, RowsPairChildrenByPositionWhateverTheirNames) {
    const std::string document =
        R"(<ModelVariableShort><Var name="x&lt;y" idx="7"/><Variable name="B" idx="8"/></ModelVariableShort>
           <ModelVariableLong><Var/><Group nLine="2" sumTargetTotal="1"><Modality name="g" nOcc="1" sumTarget="1"/></Group></ModelVariableLong>)";
    const std::string page = renderSection(document, ranking);
    EXPECT_EQ(cellsAfter(page, "\n    <td width=\"8\" class=\"thinline\">"),
              (std::vector<std::string>{"1", "2"}));
    EXPECT_EQ(cellsAfter(page, "\n    <td align=\"left\" nowrap=\"nowrap\" class=\"thinline\">"),
              (std::vector<std::string>{"<A  href=\"#label_7\" >x&lt;y</A>",
                                        "<A  href=\"#label_8\" >B</A>"}));
    EXPECT_EQ(cellsAfter(page, kBestCell), (std::vector<std::string>{" ", "g"}));
}

TEST(RankingTableTest, ImportanceAtOrBelowMinus9900ShowsEmptyCells) {
    const std::string document =
        R"(<ModelVariableShort><Var importance="-9999"/><Var importance="-9900"/>
           <Var importance="-9899.99"/><Var/></ModelVariableShort>)";
    EXPECT_EQ(cellsAfter(renderSection(document, ranking), "\n\t<td width=\"35\" class=\"blBorderLeft\" >"),
              (std::vector<std::string>{"&nbsp;", "0.00&nbsp;", "0.00&nbsp;", "0.00&nbsp;",
                                        "&nbsp;", "0.00&nbsp;", "0.00&nbsp;", "0.00&nbsp;",
                                        "-9899.99&nbsp;", "0.00&nbsp;", "0.00&nbsp;", "0.00&nbsp;",
                                        "0.00&nbsp;", "0.00&nbsp;", "0.00&nbsp;", "0.00&nbsp;"}));
}

TEST(RankingTableTest, ColumnsScaleByLargestMagnitudeOverTheRankedRowsOnly) {
    const std::string document =
        R"(<ModelVariableShort>
             <Var importance="50" linearCorrelationWithTarget="-25" weightNormalized="10"/>
             <Var importance="-100" linearCorrelationWithTarget="5" weightNormalized="-40"/>
           </ModelVariableShort>
           <ModelVariableLong><Var auc="20"/><Var auc="10"/><Var auc="1000"/></ModelVariableLong>)";
    EXPECT_EQ(darkWidths(renderSection(document, ranking)),
              (std::vector<std::string>{"21", "42", "42", "10", "42", "21", "8", "42"}));
}

TEST(RankingTableTest, WithoutVariablesOnlyTheHeaderRow) {
    const std::string golden = QString::fromUtf8(TestSupport::readFile(
        TestSupport::sourceDir() + "/tests/golden/bin_basic/expected/run1_analysisReport.html")).toStdString();
    const std::string header = between(golden, "\n<H2 >Discriminative", "\n  <tr>\n    <td width=\"8\" class=\"thinline\">");
    EXPECT_EQ(renderSection("", ranking), header + "\n  </table>");
}

TEST(SignaleticTableTest, CountsZeroIndicesAndWritesDefaultNumbers) {
    const std::string document =
        R"(<VariablesIllustrative><Var nLine="100" sumTargetTotal="10">
           <Modality name="high" nOcc="50" sumTarget="7"/><Modality name="zero" nOcc="30" sumTarget="0"/>
           <Modality nOcc="90" sumTarget="7"/></Var></VariablesIllustrative>)";
    const std::string page = renderSection(document, signaletic);
    EXPECT_EQ(cellsAfter(page, kLowestCell), std::vector<std::string>{"0"});
    EXPECT_EQ(cellsAfter(page, kHighestCell), std::vector<std::string>{"140"});
    EXPECT_EQ(cellsAfter(page, kBestCell), std::vector<std::string>{"high"});
}

TEST(SignaleticTableTest, WithoutModalitiesShowsStartValuesAndTheNameEscapedTwice) {
    const std::string page = renderSection(
        R"(<VariablesIllustrative><Var name="A&amp;B"/></VariablesIllustrative>)", signaletic);
    EXPECT_EQ(cellsAfter(page, kLowestCell), std::vector<std::string>{"1.79769e+308"});
    EXPECT_EQ(cellsAfter(page, kHighestCell), std::vector<std::string>{"-1.79769e+308"});
    EXPECT_EQ(cellsAfter(page, kBestCell), std::vector<std::string>{"A&amp;amp;B"});
}

TEST(SignaleticTableTest, AucAtOrBelowMinusOneShowsEmptyCells) {
    const std::string document =
        R"(<VariablesIllustrative><Var auc="-1"/><Var auc="-0.5"/><Var auc="-2"/></VariablesIllustrative>)";
    EXPECT_EQ(cellsAfter(renderSection(document, signaletic), "\n\t<td width=\"35\" class=\"blBorderLeft\" >"),
              (std::vector<std::string>{"&nbsp;", "-0.50&nbsp;", "&nbsp;"}));
}

TEST(SignaleticTableTest, ImagesFollowTheTableInOrder) {
    const std::string page = renderSection(
        R"(<VariablesIllustrative><Var graph="a.png"/><X/></VariablesIllustrative>)", signaletic);
    const std::string tail = "\n  </table><img src=\"a.png\" alt=\"graph\" width=\"560\" height=\"512\"/>"
                             "<img src=\"\" alt=\"graph\" width=\"560\" height=\"512\"/>";
    EXPECT_EQ(page.substr(page.size() - tail.size()), tail);
}

TEST(SignaleticTableTest, NothingWithoutChildren) {
    EXPECT_EQ(renderSection("", signaletic), "");
    EXPECT_EQ(renderSection("<VariablesIllustrative/>", signaletic), "");
    EXPECT_EQ(renderSection("<VariablesIllustrative>text only</VariablesIllustrative>", signaletic), "");
}

}  // namespace
