// Sparkline spans and the modality index, for both kinds of target.

#include "SectionRender.h"

#include "html/NumberFormat.h"

#include <gtest/gtest.h>

namespace {

struct SparklineCase {
    const char* what;
    bool binaryTarget;
    const char* variable;  // a Var element
    const char* line;      // text between the span tags
    const char* box;
};

void PrintTo(const SparklineCase& c, std::ostream* os) { *os << c.what; }

class SparklineTest : public testing::TestWithParam<SparklineCase> {};

TEST_P(SparklineTest, LineSpan) {
    const XmlNode variable = parseReport(GetParam().variable).childAt(0);
    EXPECT_EQ(renderSection(variable, [&](PageSink& p, const XmlNode&, bool) {
                  writeLineSparkline(p, variable, GetParam().binaryTarget);
              }),
              std::string("\n<span class=\"orbLine\">") + GetParam().line + "</span>");
}

TEST_P(SparklineTest, BoxSpan) {
    const XmlNode variable = parseReport(GetParam().variable).childAt(0);
    EXPECT_EQ(renderSection(variable, [&](PageSink& p, const XmlNode&, bool) { writeBoxSparkline(p, variable); }),
              std::string("\n <span class=\"orbBox\">") + GetParam().box + "</span>");
}

INSTANTIATE_TEST_SUITE_P(Sparklines, SparklineTest, testing::Values(
    SparklineCase{"binary: lower bound 0, then the overall mean", true,
                  R"(<Var nLine="1000" sumTargetTotal="24"><Modality nOcc="50" sumTarget="5"/>
                     <Modality nOcc="950" sumTarget="19"/></Var>)",
                  "0,0.024,0.1,0.02", "50,950"},
    SparklineCase{"sixteen significant digits", true,
                  R"(<Var nLine="3" sumTargetTotal="1"><Modality nOcc="3" sumTarget="1"/></Var>)",
                  "0,0.3333333333333333,0.3333333333333333", "3"},
    SparklineCase{"continuous: lower bound is the smallest mean", false,
                  R"(<Var nLine="6" sumTargetTotal="16"><Modality nOcc="2" sumTarget="7"/>
                     <Modality nOcc="4" sumTarget="9"/></Var>)",
                  "2.25,2.666666666666667,3.5,2.25", "2,4"},
    SparklineCase{"a modality of no line contributes nothing", false,
                  R"(<Var nLine="10" sumTargetTotal="10"><Modality nOcc="4" sumTarget="8"/>
                     <Modality nOcc="0" sumTarget="3"/><Modality nOcc="6" sumTarget="3"/></Var>)",
                  "0.5,1,2,0.5", "4,6"},
    SparklineCase{"continuous without modalities: the largest double, no points", false,
                  R"(<Var nLine="4" sumTargetTotal="2"/>)", "1.797693134862316e+308,0.5", ""},
    SparklineCase{"binary, every modality empty", true,
                  R"(<Var nLine="4" sumTargetTotal="2"><Modality nOcc="0" sumTarget="1"/></Var>)",
                  "0,0.5", ""},
    SparklineCase{"absent line count: infinite overall mean", true,
                  R"(<Var sumTargetTotal="2"><Modality nOcc="1" sumTarget="1"/></Var>)",
                  "0,inf,1", "1"},
    SparklineCase{"nothing counted at all: not a number", true,
                  R"(<Var><Modality nOcc="1" sumTarget="-1"/></Var>)", "0,nan,-1", "1"},
    SparklineCase{"negative zero mean keeps its sign", false,
                  R"(<Var nLine="5" sumTargetTotal="1"><Modality nOcc="5" sumTarget="-0"/></Var>)",
                  "-0,0.2,-0", "5"},
    SparklineCase{"a large size in six significant digits", true,
                  R"(<Var nLine="1234567" sumTargetTotal="1"><Modality nOcc="1234567" sumTarget="1"/></Var>)",
                  "0,8.100005913004317e-07,8.100005913004317e-07", "1.23457e+06"},
    SparklineCase{"counts read like C integers", true,
                  R"(<Var nLine="12" sumTargetTotal="6"><Modality nOcc="12abc" sumTarget="6"/>
                     <Modality nOcc="abc" sumTarget="6"/></Var>)",
                  "0,0.5,0.5", "12"},
    SparklineCase{"names compare without case", true,
                  R"(<Var NLINE="4" SumTargetTotal="2"><MODALITY NOCC="2" SUMTARGET="1"/></Var>)",
                  "0,0.5,0.5", "2"}));

struct IndexCase {
    const char* what;
    const char* modality;  // attributes of a Modality inside <Var nLine="1000" sumTargetTotal="20">
    int nLine;
    double sumTargetTotal;
    const char* expected;  // %.17g, so that infinities and not-a-number compare too
};

void PrintTo(const IndexCase& c, std::ostream* os) { *os << c.what; }

class ModalityIndexTest : public testing::TestWithParam<IndexCase> {};

TEST_P(ModalityIndexTest, Percent) {
    const XmlNode root = parseReport(std::string(R"(<Var nLine="1000" sumTargetTotal="20"><Modality )") +
                                     GetParam().modality + "/></Var>");
    const XmlNode modality = root.childAt(0).childAt(0);
    const double index =
        modalityIndex(modality, GetParam().nLine, GetParam().sumTargetTotal);
    EXPECT_EQ(NumberFormat::g(index, 17), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Sparklines, ModalityIndexTest, testing::Values(
    IndexCase{"both totals from the variable", R"(nOcc="50" sumTarget="5")", -1, -1.0, "500"},
    IndexCase{"totals given explicitly", R"(nOcc="50" sumTarget="5")", 2000, 40.0, "500"},
    IndexCase{"only the line count given", R"(nOcc="50" sumTarget="5")", 500, -1.0, "250"},
    IndexCase{"only the target sum given", R"(nOcc="50" sumTarget="5")", -1, 10.0, "1000"},
    IndexCase{"zero totals passed are used as such", R"(nOcc="50" sumTarget="5")", 0, 20.0, "0"},
    IndexCase{"a modality of no line", R"(nOcc="0" sumTarget="5")", -1, -1.0, "0"},
    IndexCase{"zero target total", R"(nOcc="50" sumTarget="5")", 1000, 0.0, "inf"},
    IndexCase{"zero over zero", R"(nOcc="50" sumTarget="0")", 1000, 0.0, "nan"},
    IndexCase{"grouping (nLine x sumTarget) / (nOcc x total) x 100", R"(nOcc="3" sumTarget="1")",
              10, 1.0, "333.33333333333337"}));

}  // namespace
