// Technical parameters, the description file, and the pruned, suspicious and ignored lists.

#include "SectionRender.h"

#include <gtest/gtest.h>

namespace {

struct ListCase {
    const char* what;
    Section section;
    std::string document;
    std::string expected;
};

void PrintTo(const ListCase& c, std::ostream* os) { *os << c.what; }

class ParametersAndListsTest : public testing::TestWithParam<ListCase> {};

TEST_P(ParametersAndListsTest, WritesExactText) {
    EXPECT_EQ(renderSection(GetParam().document, GetParam().section), GetParam().expected);
}

const Section parameters = [](PageSink& p, const XmlNode& r, bool) { writeTechnicalParameters(p, r); };
const Section pruned = [](PageSink& p, const XmlNode& r, bool) { writePrunedVariables(p, r); };
const Section suspicious = [](PageSink& p, const XmlNode& r, bool) { writeSuspiciousVariables(p, r); };
const Section ignored = [](PageSink& p, const XmlNode& r, bool) { writeIgnoredVariables(p, r); };

// n attributes p1="v1" ... of ORB_Config, and the lines they give, with a line feed after
// every tenth.
std::string configAttributes(int n) {
    std::string out;
    for (int i = 1; i <= n; ++i)
        out += " p" + std::to_string(i) + "=\"v" + std::to_string(i) + "\"";
    return out;
}

std::string parameterLines(int n) {
    std::string out;
    for (int i = 1; i <= n; ++i)
        out += "p" + std::to_string(i) + " = v" + std::to_string(i) + "<br/>" + (i % 10 ? "" : "\n");
    return out;
}

std::string ignoredVars(int n) { return repeated("<Var name=\"N\"/>", n); }

const std::string kParameters = "\n<H2 >Technical Parameters</H2>";
const std::string kPruned = "\n<H2 >Variables that have been pruned</H2>";
const std::string kSuspicious = "\n<H2 >Suspicious Variables (removed because AUCuniv > AUCmax)</H2>";
const std::string kIgnored = "\n<H2 >Variable Ignored</H2>";

std::string bar(int dark) {
    return "<div style=\"width:102px;\" class=\"sparkContainer\" ><div style=\"width:102px;\" "
           "class=\"sparkLB\" ><div style=\"width:" + std::to_string(dark) +
           "px;\" class=\"sparkBl\" ></div></div></div>";
}

INSTANTIATE_TEST_SUITE_P(Parameters, ParametersAndListsTest, testing::Values(
    ListCase{"no ORB_Config", parameters, "", kParameters + "<br/>\n\n"},
    ListCase{"no attributes", parameters, "<ORB_Config/>", kParameters + "<br/>\n\n"},
    ListCase{"one", parameters, "<ORB_Config a=\"1\"/>", kParameters + "a = 1<br/><br/>\n\n"},
    ListCase{"a line feed after the tenth", parameters, "<ORB_Config" + configAttributes(10) + "/>",
             kParameters + "p1 = v1<br/>p2 = v2<br/>p3 = v3<br/>p4 = v4<br/>p5 = v5<br/>p6 = v6<br/>"
                           "p7 = v7<br/>p8 = v8<br/>p9 = v9<br/>p10 = v10<br/>\n<br/>\n\n"},
    ListCase{"and after the twentieth", parameters, "<ORB_Config" + configAttributes(25) + "/>",
             kParameters + parameterLines(25) + "<br/>\n\n"},
    ListCase{"names and values escaped, valueless and empty values", parameters,
             R"(<ORB_Config x&lt;y="a &amp; 'b'" flag empty=""/>)",
             kParameters + "x&amp;lt;y = a &amp; &apos;b&apos;<br/>flag = <br/>empty = <br/><br/>\n\n"},
    ListCase{"repeated attributes are all listed", parameters, R"(<ORB_Config a="1" A="2"/>)",
             kParameters + "a = 1<br/>A = 2<br/><br/>\n\n"},
    ListCase{"description file", parameters,
             R"(<ORB_Config><DescriptionFile>C:\d\&lt;desc&gt;.txt</DescriptionFile></ORB_Config>)",
             kParameters + "<br/>\n   Description file: \n  C:\\d\\&lt;desc&gt;.txt\n <br/>\n\n"},
    ListCase{"empty description file", parameters, "<ORB_Config><descriptionfile/></ORB_Config>",
             kParameters + "<br/>\n   Description file: \n  \n <br/>\n\n"},
    ListCase{"pruned: label, else name, escaped", pruned,
             R"x(<PrunedVar><Var name="AGE" label="Age (years)"/><Var name="JOB" label=""/>
                <Var name="x&lt;y"/><Other name="skipped"/></PrunedVar>)x",
             kPruned + "<p>Age (years)<br/>JOB<br/>x&lt;y<br/></p>"},
    ListCase{"no pruned list", pruned, "", kPruned + "<p></p>"},
    ListCase{"suspicious: bars against the first AUC", suspicious,
             R"(<VariableAboveAUCMax><Var name="D" auc="90"/><Var label="B" auc="80"/>
                <Var name="P" auc="45"/></VariableAboveAUCMax>)",
             kSuspicious + "<p><div>" + bar(102) + "&nbsp;&nbsp;&nbsp;90% : D</div></p>\n" +
                 "<p><div>" + bar(90) + "&nbsp;&nbsp;&nbsp;80% : B</div></p>\n" +
                 "<p><div>" + bar(51) + "&nbsp;&nbsp;&nbsp;45% : P</div></p>\n"},
    ListCase{"suspicious: a later larger AUC overflows; default number format", suspicious,
             R"(<VariableAboveAUCMax><Var name="a&amp;b" auc="50"/><Var auc="0.9123456"/>
                <Var auc="100"/><Var auc="-25"/><Var auc="1e-5"/></VariableAboveAUCMax>)",
             kSuspicious + "<p><div>" + bar(102) + "&nbsp;&nbsp;&nbsp;50% : a&amp;b</div></p>\n" +
                 "<p><div>" + bar(1) + "&nbsp;&nbsp;&nbsp;0.912346% : </div></p>\n" +
                 "<p><div>" + bar(204) + "&nbsp;&nbsp;&nbsp;100% : </div></p>\n" +
                 "<p><div>" + bar(51) + "&nbsp;&nbsp;&nbsp;-25% : </div></p>\n" +
                 "<p><div>" + bar(0) + "&nbsp;&nbsp;&nbsp;1e-05% : </div></p>\n"},
    ListCase{"suspicious: a first AUC of 0 draws empty bars", suspicious,
             R"(<VariableAboveAUCMax><Var name="Z"/><Var name="Y" auc="10"/></VariableAboveAUCMax>)",
             kSuspicious + "<p><div>" + bar(0) + "&nbsp;&nbsp;&nbsp;0% : Z</div></p>\n" +
                 "<p><div>" + bar(0) + "&nbsp;&nbsp;&nbsp;10% : Y</div></p>\n"},
    ListCase{"no suspicious variable", suspicious, "<VariableAboveAUCMax/>", kSuspicious},
    ListCase{"ignored: none", ignored, "", kIgnored + "\n"},
    ListCase{"ignored: 30 one per line", ignored,
             "<IgnoredVariable>" + ignoredVars(30) + "</IgnoredVariable>",
             kIgnored + "\n" + repeated("N<br/>", 30)},
    ListCase{"ignored: 31 on one line", ignored,
             "<IgnoredVariable>" + ignoredVars(31) + "</IgnoredVariable>",
             kIgnored + "\n" + repeated("N ,", 31)},
    ListCase{"ignored: only Var children count", ignored,
             "<IgnoredVariable>" + ignoredVars(30) + "<Other/><Var label=\"&lt;L&gt;\"/></IgnoredVariable>",
             kIgnored + "\n" + repeated("N ,", 30) + "&lt;L&gt; ,"}));

}  // namespace
