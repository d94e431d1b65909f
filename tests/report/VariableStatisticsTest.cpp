// Detail sections of the model's variables: headings, modality tables (name column, number
// formats, the 2000-modality filter, alternating rows) and the highest univariate quality list.

#include "SectionRender.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

std::string spaces(int n) { return std::string(static_cast<size_t>(n), ' '); }

// The text of a modality table for one variable element (given as XML).
std::string modalityTable(const std::string& variable, bool binaryTarget) {
    const XmlNode var = parseReport(variable).childAt(0);
    return renderSection(var, [&](PageSink& p, const XmlNode&, bool) { writeModalityTable(p, var, binaryTarget); },
                         binaryTarget);
}

// The rows of a table, each without its span tags.
std::vector<std::string> rows(const std::string& table) {
    std::vector<std::string> out;
    for (const std::string& cell : cellsAfter(table, "\">\n")) {
        const size_t end = cell.find("</span>");
        out.push_back(cell.substr(0, end));
    }
    return out;
}

const std::string kMaleNumbers = "         50        5.0          5         10.0      500.0";

struct NameCase {
    const char* what;
    std::string name;
    std::string column;  // the row up to the numbers
};

void PrintTo(const NameCase& c, std::ostream* os) { *os << c.what; }

class NameColumnTest : public testing::TestWithParam<NameCase> {};

TEST_P(NameColumnTest, PadsToVisibleWidth52) {
    const std::string table = modalityTable(
        R"(<Var nLine="1000" sumTargetTotal="20"><Modality name=")" + xmlEscaped(GetParam().name) +
            R"(" nOcc="50" sumTarget="5"/></Var>)", true);
    EXPECT_EQ(rows(table), std::vector<std::string>{GetParam().column + kMaleNumbers});
}

const std::string kNextLine = "\n" + spaces(55);

INSTANTIATE_TEST_SUITE_P(VariableStatistics, NameColumnTest, testing::Values(
    NameCase{"short", "Male", "   Male" + spaces(48)},
    NameCase{"empty", "", spaces(55)},
    NameCase{"entity widens the field", "ab&cdefghi", "   ab&amp;cdefghi" + spaces(42)},
    NameCase{"entity near the limit", repeated("a", 49) + "<", "   " + repeated("a", 49) + "&lt;" + spaces(2)},
    NameCase{"52 characters", repeated("a", 52), "   " + repeated("a", 52)},
    NameCase{"53 characters go on their own line", repeated("a", 53), "   " + repeated("a", 53) + kNextLine},
    NameCase{"60 characters", repeated("a", 60), "   " + repeated("a", 60) + kNextLine},
    NameCase{"103 characters stay whole", repeated("a", 103), "   " + repeated("a", 103) + kNextLine},
    NameCase{"104 characters are cut", repeated("a", 104), "   " + repeated("a", 100) + "..." + kNextLine},
    NameCase{"120 characters are cut", repeated("a", 120), "   " + repeated("a", 100) + "..." + kNextLine},
    NameCase{"cut before escaping", repeated("a", 99) + "&" + repeated("b", 10),
             "   " + repeated("a", 99) + "&amp;..." + kNextLine},
    NameCase{"52 letters outside ASCII", repeated("\xC3\xA9", 52), "   " + repeated("\xC3\xA9", 52)},
    NameCase{"53 letters outside ASCII", repeated("\xC3\xA9", 53),
             "   " + repeated("\xC3\xA9", 53) + kNextLine},
    NameCase{"two units each outside the basic plane", repeated("\xF0\x9F\x98\x80", 26),
             "   " + repeated("\xF0\x9F\x98\x80", 26)},
    NameCase{"and one unit more", repeated("\xF0\x9F\x98\x80", 26) + "a",
             "   " + repeated("\xF0\x9F\x98\x80", 26) + "a" + kNextLine}));

struct NumbersCase {
    const char* what;
    bool binaryTarget;
    const char* totals;    // attributes of the Var
    const char* modality;  // attributes of its Modality
    const char* numbers;
};

void PrintTo(const NumbersCase& c, std::ostream* os) { *os << c.what; }

class NumberColumnsTest : public testing::TestWithParam<NumbersCase> {};

TEST_P(NumberColumnsTest, CFormats) {
    const std::string table =
        modalityTable(std::string("<Var ") + GetParam().totals + "><Modality name=\"m\" " +
                          GetParam().modality + "/></Var>", GetParam().binaryTarget);
    EXPECT_EQ(rows(table), std::vector<std::string>{"   m" + spaces(51) + GetParam().numbers});
}

INSTANTIATE_TEST_SUITE_P(VariableStatistics, NumberColumnsTest, testing::Values(
    NumbersCase{"binary", true, R"(nLine="1000" sumTargetTotal="20")", R"(nOcc="50" sumTarget="5")",
                "         50        5.0          5         10.0      500.0"},
    NumbersCase{"continuous", false, R"(nLine="1000" sumTargetTotal="20")", R"(nOcc="50" sumTarget="5")",
                "         50        5.0          0.1      500.0"},
    NumbersCase{"continuous, no line", false, R"(nLine="1000" sumTargetTotal="20")",
                R"(nOcc="0" sumTarget="3")", "          0        0.0          0.0        0.0"},
    NumbersCase{"binary, no line: the target count stays", true, R"(nLine="1000" sumTargetTotal="20")",
                R"(nOcc="0" sumTarget="3")", "          0        0.0          3          0.0        0.0"},
    NumbersCase{"exact halves round to even", true, R"(nLine="400" sumTargetTotal="8")",
                R"(nOcc="1" sumTarget="2.5")", "          1        0.2          2        250.0    12500.0"},
    NumbersCase{"and up when odd", true, R"(nLine="4000" sumTargetTotal="800")",
                R"(nOcc="16" sumTarget="3.5")", "         16        0.4          4         21.9      109.4"},
    NumbersCase{"negative zero keeps its sign", true, R"(nLine="10" sumTargetTotal="1")",
                R"(nOcc="5" sumTarget="-0")", "          5       50.0         -0         -0.0       -0.0"},
    NumbersCase{"no line count: infinite share, index from 0 lines", true, R"(sumTargetTotal="1")",
                R"(nOcc="5" sumTarget="1")", "          5        inf          1         20.0        0.0"},
    NumbersCase{"no target total: infinite index", false, R"(nLine="10")",
                R"(nOcc="5" sumTarget="1")", "          5       50.0          0.2        inf"},
    NumbersCase{"nothing at all: not a number", true, R"(nLine="10")", R"(nOcc="5")",
                "          5       50.0          0          0.0        nan"},
    NumbersCase{"huge counts overflow their fields", true, R"(nLine="2147483647" sumTargetTotal="1e16")",
                R"(nOcc="2147483647" sumTarget="1e16")",
                " 2147483647      100.0 10000000000000000  465661287.5      100.0"},
    NumbersCase{"tiny values", false, R"(nLine="100000" sumTargetTotal="1")",
                R"(nOcc="1" sumTarget="1e-5")", "          1        0.0          0.0      100.0"}));

TEST(ModalityTableTest, BinaryHeaderLabelsStartInColumn59) {
    EXPECT_EQ(modalityTable(R"(<Var idx="9" auc="8.75"/>)", true),
              "\n    <center><div id=\"container9\" style=\"width: 800px; height: 450px; margin: 0 auto\"></div></center>"
              "\n<pre>"
              "\nUnivariate AUC=  8.75 %" + spaces(36) + "Count       %         Count         Proba        %"
              "\n" + spaces(59) + "Dataset   DataSet      Target       Target      Index "
              "\n</pre>");
}

TEST(ModalityTableTest, ContinuousHeaderWithoutAuc) {
    EXPECT_EQ(modalityTable(R"(<Var auc="8.75"/>)", false),
              "\n    <center><div id=\"container\" style=\"width: 800px; height: 450px; margin: 0 auto\"></div></center>"
              "\n<pre>"
              "\n" + spaces(59) + "Count       %         Average         %"
              "\n" + spaces(59) + "Dataset   DataSet      Target       Index "
              "\n</pre>");
}

// n modalities whose counts alternate 1, 2, 1, 2 ...; the modality names are their positions.
std::string alternatingCounts(int n) {
    std::string out = R"(<Var idx="1" nLine="3000" sumTargetTotal="10">)";
    for (int i = 0; i < n; ++i)
        out += "<Modality name=\"" + std::to_string(i) + "\" nOcc=\"" + (i % 2 ? "2" : "1") + "\"/>";
    return out + "</Var>";
}

const std::string kNotice = "\n    => The number of modalities is above 2000."
                            "\n    => only modalities that occurs more than once will be displayed.";

TEST(ModalityTableTest, Exactly2000ModalitiesAreAllListed) {
    const std::string table = modalityTable(alternatingCounts(2000), true);
    EXPECT_EQ(rows(table).size(), 2000u);
    EXPECT_EQ(table.find("=>"), std::string::npos);
    EXPECT_NE(table.find("width: 30000px"), std::string::npos);
}

TEST(ModalityTableTest, Above2000OnlyModalitiesOfSeveralLines) {
    const std::string table = modalityTable(alternatingCounts(2001), true);
    const std::vector<std::string> listed = rows(table);
    ASSERT_EQ(listed.size(), 1000u);
    EXPECT_EQ(listed.front().substr(0, 5), "   1 ");
    EXPECT_EQ(listed.back().substr(0, 8), "   1999 ");
    EXPECT_NE(table.find("\n<pre>" + kNotice + "\nUnivariate AUC="), std::string::npos);
    EXPECT_NE(table.find("width: 30015px"), std::string::npos);
}

TEST(ModalityTableTest, RowStylesAlternateOverWrittenRowsOnly) {
    const std::string table = modalityTable(alternatingCounts(2001), true);
    std::vector<std::string> classes = cellsAfter(table, "<span class=\"");
    for (std::string& c : classes)
        c = c.substr(0, c.find('"'));
    ASSERT_GE(classes.size(), 3u);
    EXPECT_EQ((std::vector<std::string>(classes.begin(), classes.begin() + 3)),
              (std::vector<std::string>{"OrbStyle_tableEvenLine", "OrbStyle_tableOddLine",
                                        "OrbStyle_tableEvenLine"}));
}

TEST(ModalityTableTest, RowsFollowOneAnotherInsideThePreformattedBlock) {
    const std::string table =
        modalityTable(R"(<Var nLine="1000" sumTargetTotal="20"><Modality name="Male" nOcc="50" sumTarget="5"/>
                         <Modality name="Female" nOcc="950" sumTarget="15"/></Var>)", true);
    const std::string body = table.substr(table.find("Index ") + 6);
    EXPECT_EQ(body,
              "<span class=\"OrbStyle_tableEvenLine\">\n   Male" + spaces(48) + kMaleNumbers + "</span>"
              "<span class=\"OrbStyle_tableOddLine\">\n   Female" + spaces(46) +
              "        950       95.0         15          1.6       78.9</span>"
              "\n</pre>");
}

TEST(VariableSectionTest, LabelIsTheHeadingAndNameItsAnnotation) {
    const std::string document =
        R"(<ModelVariableLong><Var label="Age group" name="AGE_GRP" idx="1"/><Group name="G"/>
           <Var label="" name="JOB" idx="2"/><var name="x&lt;y"/></ModelVariableLong>)";
    const std::string page =
        renderSection(document, writeVariableStatistics);
    EXPECT_EQ(page.substr(0, page.find("\n    <center>")),
              "\n<H2 >Statistics for Variables in Model</H2>"
              "\n\t<H3  onmouseover=\"annotationShow(this,'AGE_GRP','Age group')\" "
              "onmouseout=\"annotationHide(this)\"  ><A  name=\"label_1\" >Age group</A>\n\t</H3>");
    std::vector<std::string> headings = cellsAfter(page, "\n\t<H3 ");
    for (std::string& h : headings)
        h = h.substr(0, h.find("\n\t</H3>"));
    EXPECT_EQ(headings, (std::vector<std::string>{
                            " onmouseover=\"annotationShow(this,'AGE_GRP','Age group')\" "
                            "onmouseout=\"annotationHide(this)\"  ><A  name=\"label_1\" >Age group</A>",
                            " ><A  name=\"label_2\" >JOB</A>", " >x&lt;y"}));
}

const Section quality = writeHighestUnivariateQuality;

std::string qualityBar(int dark) {
    return "<div style=\"width:100px;\" class=\"sparkContainer\" ><div style=\"width:100px;\" "
           "class=\"sparkLB\" ><div style=\"width:" + std::to_string(dark) +
           "px;\" class=\"sparkBl\" ></div></div></div>";
}

const std::string kQualityHeading = "\n<H2 >Highest Univariate Quality of variables (100 first only)</H2>";
const std::string kQualityOpen = "\n<span style=\"line-height:24px;\">";

TEST(HighestUnivariateQualityTest, LinesWithBarsMarksAndLinks) {
    const std::string document =
        R"(<UnivariateAUC highestNormalAUC="85"><Var name="DURATION" idx="30" auc="92.5" deleted="1"/>
           <Var name="a&lt;b" idx="1" auc="85" deleted="0"/><Var name="ID" idx="40" auc="-1" deleted="1"/>
           <Var name="N" idx="41" auc="-0" deleted="10"/><Var name="M" auc="1"/><Var name="K" auc="1" deleted=" 1"/>
           </UnivariateAUC>)";
    const std::string line = "<div syle=\"display: inline;\">";
    EXPECT_EQ(renderSection(document, quality),
              kQualityHeading + kQualityOpen +
                  line + qualityBar(100) + "&nbsp;&nbsp;     92.500 % : (deleted) <A  href=\"#label_30\" >DURATION</A></div>\n" +
                  line + qualityBar(99) + "&nbsp;&nbsp;     85.000 % : <A  href=\"#label_1\" >a&lt;b</A></div>\n" +
                  line + qualityBar(0) + "&nbsp;&nbsp;     -0.000 % : (deleted) <A  href=\"#label_41\" >N</A></div>\n" +
                  line + qualityBar(1) + "&nbsp;&nbsp;      1.000 % : <A  href=\"#label_\" >M</A></div>\n" +
                  line + qualityBar(1) + "&nbsp;&nbsp;      1.000 % : <A  href=\"#label_\" >K</A></div>\n" +
                  "\n</span>");
}

struct QualityLimitCase {
    const char* what;
    std::string children;
    size_t lines;
};

void PrintTo(const QualityLimitCase& c, std::ostream* os) { *os << c.what; }

class QualityLimitTest : public testing::TestWithParam<QualityLimitCase> {};

TEST_P(QualityLimitTest, ExaminesTheFirst100Positions) {
    const std::string page = renderSection("<UnivariateAUC>" + GetParam().children + "</UnivariateAUC>", quality);
    EXPECT_EQ(cellsAfter(page, "<div syle=").size(), GetParam().lines);
}

const std::string kListed = R"(<Var auc="1"/>)";
const std::string kSkipped = R"(<Var auc="-1"/>)";

INSTANTIATE_TEST_SUITE_P(VariableStatistics, QualityLimitTest, testing::Values(
    QualityLimitCase{"99", repeated(kListed, 99), 99},
    QualityLimitCase{"100", repeated(kListed, 100), 100},
    QualityLimitCase{"150", repeated(kListed, 150), 100},
    QualityLimitCase{"skipped ones count", repeated(kSkipped, 10) + repeated(kListed, 140), 90},
    QualityLimitCase{"other children take positions", repeated("<Other/>", 50) + repeated(kListed, 150), 50},
    QualityLimitCase{"the first Var is examined wherever it is", repeated("<Other/>", 100) + kListed, 1},
    QualityLimitCase{"a Var at position 99 ends the walk", repeated("<Other/>", 99) + repeated(kListed, 2), 1}));

struct QualityShownCase {
    const char* what;
    bool binaryTarget;
    std::string document;
    std::string expected;
};

void PrintTo(const QualityShownCase& c, std::ostream* os) { *os << c.what; }

class QualityShownTest : public testing::TestWithParam<QualityShownCase> {};

TEST_P(QualityShownTest, WhenTheHighestAucAllows) {
    EXPECT_EQ(renderSection(GetParam().document, quality, GetParam().binaryTarget), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(VariableStatistics, QualityShownTest, testing::Values(
    QualityShownCase{"absent list: scale 100, empty span", true, "", kQualityHeading + kQualityOpen + "\n</span>"},
    QualityShownCase{"absent highest AUC: scale 100", true, R"(<UnivariateAUC><Var auc="50"/></UnivariateAUC>)",
                     kQualityHeading + kQualityOpen + "<div syle=\"display: inline;\">" + qualityBar(49) +
                         "&nbsp;&nbsp;     50.000 % : <A  href=\"#label_\" ></A></div>\n\n</span>"},
    QualityShownCase{"highest AUC 0", true, R"(<UnivariateAUC highestNormalAUC="0"><Var auc="1"/></UnivariateAUC>)", ""},
    QualityShownCase{"highest AUC 0.00001", true, R"(<UnivariateAUC highestNormalAUC="0.00001"/>)", ""},
    QualityShownCase{"highest AUC 0.00002", true, R"(<UnivariateAUC highestNormalAUC="0.00002"/>)",
                     kQualityHeading + kQualityOpen + "\n</span>"},
    QualityShownCase{"continuous target", false, R"(<UnivariateAUC highestNormalAUC="85"><Var auc="1"/></UnivariateAUC>)", ""}));

}  // namespace
