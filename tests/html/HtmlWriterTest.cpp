// Markup pieces, escaping and the page frame rendered into a string and held against the exact
// text they must produce.

#include "html/Escape.h"
#include "html/Markup.h"
#include "html/PageFrame.h"
#include "report/Sections.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>

namespace {

using Write = std::function<void(PageSink&)>;

std::string render(const Write& write) {
    std::string out;
    {
        PageSink page([&](std::string_view bytes) { return out.append(bytes), true; });
        write(page);
    }
    return out;
}

struct MarkupCase {
    const char* what;
    Write write;
    const char* expected;
};

void PrintTo(const MarkupCase& c, std::ostream* os) { *os << c.what; }

class MarkupTest : public testing::TestWithParam<MarkupCase> {};

TEST_P(MarkupTest, WritesExactText) {
    EXPECT_EQ(render(GetParam().write), GetParam().expected) << GetParam().what;
}

const std::string_view none;
std::string_view s(const char* text) { return text; }

INSTANTIATE_TEST_SUITE_P(HtmlWriter, MarkupTest, testing::Values(
    MarkupCase{"h2 without style keeps the blank", [](PageSink& w) { Markup::h2(w, s("Lifts")); },
               "\n<H2 >Lifts</H2>"},
    MarkupCase{"h2 with style", [](PageSink& w) { Markup::h2(w, s("Target:"), s("display:inline")); },
               "\n<H2 style=\"display:inline\">Target:</H2>"},
    MarkupCase{"h2 text unescaped", [](PageSink& w) { Markup::h2(w, s("AUCuniv > AUCmax")); },
               "\n<H2 >AUCuniv > AUCmax</H2>"},
    MarkupCase{"h3 bare text escaped", [](PageSink& w) { Markup::h3(w, s("a<b & c"), none, none); },
               "\n\t<H3  >a&lt;b &amp; c\n\t</H3>"},
    MarkupCase{"h3 anchor text unescaped", [](PageSink& w) { Markup::h3(w, s("x <b>y</b> & z"), s("7"), none); },
               "\n\t<H3  ><A  name=\"label_7\" >x <b>y</b> & z</A>\n\t</H3>"},
    MarkupCase{"h3 anchor text cannot open a tag with attributes",
               [](PageSink& w) { Markup::h3(w, s("x<y"), s("7"), none); },
               "\n\t<H3  ><A  name=\"label_7\" >x&lt;y</A>\n\t</H3>"},
    MarkupCase{"link id cannot end its attribute",
               [](PageSink& w) { Markup::link(w, s("N"), s("1\" onclick=\"x&")); },
               "<A  href=\"#label_1&quot; onclick=&quot;x&amp;\" >N</A>"},
    MarkupCase{"container id cannot end its attribute",
               [](PageSink& w) { Markup::chartContainer(w, s("\"><script>"), 0); },
               "<div id=\"container&quot;><script>\" style=\"width: 800px; height: 450px; margin: 0 auto\"></div>"},
    MarkupCase{"h3 with annotation and id",
               [](PageSink& w) { Markup::h3(w, s("Age group"), s("1"), s("AGE_GRP")); },
               "\n\t<H3  onmouseover=\"annotationShow(this,'AGE_GRP','Age group')\" "
               "onmouseout=\"annotationHide(this)\"  ><A  name=\"label_1\" >Age group</A>\n\t</H3>"},
    MarkupCase{"h3 annotation escaped for the attribute",
               [](PageSink& w) { Markup::h3(w, s("Age & <group>"), s("1"), s("AGE_GRP")); },
               "\n\t<H3  onmouseover=\"annotationShow(this,'AGE_GRP','Age &amp; &lt;group&gt;')\" "
               "onmouseout=\"annotationHide(this)\"  ><A  name=\"label_1\" >Age & &lt;group></A>\n\t</H3>"},
    MarkupCase{"h3 quotes cannot end the script string or the attribute",
               [](PageSink& w) { Markup::h3(w, s("say \"it's\""), none, s("O'Brien\\x")); },
               "\n\t<H3  onmouseover=\"annotationShow(this,'O\\&apos;Brien\\\\x',"
               "'say &quot;it\\&apos;s&quot;')\" onmouseout=\"annotationHide(this)\"  >"
               "say &quot;it&apos;s&quot;\n\t</H3>"},
    MarkupCase{"h3 line feed in annotation",
               [](PageSink& w) { Markup::h3(w, s("T"), none, s("a\nb")); },
               "\n\t<H3  onmouseover=\"annotationShow(this,'a\\nb','T')\" "
               "onmouseout=\"annotationHide(this)\"  >T\n\t</H3>"},
    MarkupCase{"link", [](PageSink& w) { Markup::link(w, s("NOISE"), s("41")); },
               "<A  href=\"#label_41\" >NOISE</A>"},
    MarkupCase{"anchor", [](PageSink& w) { Markup::anchor(w, s("Âge"), s("1")); },
               "<A  name=\"label_1\" >Âge</A>"}));

struct InertCase {
    const char* input;
    const char* expected;
};

void PrintTo(const InertCase& c, std::ostream* os) { *os << c.input; }

class InertMarkupTest : public testing::TestWithParam<InertCase> {};

// Document text shown as markup keeps the bare tags of inline formatting and every "<" that opens
// nothing; any other markup (an element, a comment, a declaration, attributes) is defused.
TEST_P(InertMarkupTest, KeepsOnlyInlineFormattingTags) {
    EXPECT_EQ(Escape::inlineMarkup(GetParam().input), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(HtmlWriter, InertMarkupTest, testing::Values(
    InertCase{"Age & <group>", "Age & &lt;group>"},
    InertCase{"<missing>", "&lt;missing>"},
    InertCase{"Alcohol <select>", "Alcohol &lt;select>"},
    InertCase{"bank <2019>.csv", "bank <2019>.csv"},
    InertCase{"a < b <", "a < b <"},
    InertCase{"<b>x</b><H1>y</H1>", "<b>x</b>&lt;H1>y&lt;/H1>"},
    InertCase{"<I><U><EM><Strong><sub><sup><small><big><s><strike><tt><code><span><font><br><mark>",
              "<I><U><EM><Strong><sub><sup><small><big><s><strike><tt><code><span><font><br><mark>"},
    InertCase{"</mark></Span></FONT></br>", "</mark></Span></FONT></br>"},
    InertCase{"<br/><b >", "&lt;br/>&lt;b >"},
    InertCase{"<bx><b1>", "&lt;bx>&lt;b1>"},
    InertCase{"</script>", "&lt;/script>"},
    InertCase{"<script>x=</script>", "&lt;script>x=&lt;/script>"},
    InertCase{"<style><title><textarea><xmp><iframe><noscript><plaintext><template><svg><math>",
              "&lt;style>&lt;title>&lt;textarea>&lt;xmp>&lt;iframe>&lt;noscript>&lt;plaintext>&lt;template>"
              "&lt;svg>&lt;math>"},
    InertCase{"<img src=x onerror=alert(1)>", "&lt;img src=x onerror=alert(1)>"},
    InertCase{"<font color=red>", "&lt;font color=red>"},
    InertCase{"x<!--y", "x&lt;!--y"},
    InertCase{"<?php", "&lt;?php"},
    InertCase{"</ x>", "&lt;/ x>"},
    InertCase{"a</", "a&lt;/"},
    InertCase{"<b", "&lt;b"},
    InertCase{"<a-b>", "&lt;a-b>"}));

TEST(HtmlWriterTest, AttributeValuesEscapeOnlyAmpersandAndQuote) {
    EXPECT_EQ(Escape::attribute("img/v 1.png"), "img/v 1.png");
    EXPECT_EQ(Escape::attribute("a&b\"c'<d>"), "a&amp;b&quot;c'<d>");
}

struct EscapeCase {
    const char* input;
    const char* expected;
};

void PrintTo(const EscapeCase& c, std::ostream* os) { *os << c.input; }

class EscapeHtmlTest : public testing::TestWithParam<EscapeCase> {};

TEST_P(EscapeHtmlTest, ReplacesTheFiveCharacters) {
    EXPECT_EQ(Escape::text(GetParam().input), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(HtmlWriter, EscapeHtmlTest, testing::Values(
    EscapeCase{"", ""},
    EscapeCase{"plain text", "plain text"},
    EscapeCase{"a&b<c>", "a&amp;b&lt;c&gt;"},
    EscapeCase{"\"", "&quot;"},
    EscapeCase{"'", "&apos;"},
    EscapeCase{"&amp;", "&amp;amp;"},
    EscapeCase{"&&<<", "&amp;&amp;&lt;&lt;"},
    EscapeCase{"Âge ° £ «»", "Âge ° £ «»"},
    EscapeCase{"x\ty\nz", "x\ty\nz"}));

class ContainerWidthTest : public testing::TestWithParam<std::pair<int, int>> {};

TEST_P(ContainerWidthTest, GrowsWithTheModalityCount) {
    const auto [count, width] = GetParam();
    EXPECT_EQ(render([count](PageSink& w) { Markup::chartContainer(w, s("12"), count); }),
              "<div id=\"container12\" style=\"width: " + std::to_string(width) +
                  "px; height: 450px; margin: 0 auto\"></div>");
}

INSTANTIATE_TEST_SUITE_P(HtmlWriter, ContainerWidthTest, testing::Values(
    std::pair{0, 800}, std::pair{26, 800}, std::pair{27, 810}, std::pair{34, 1020},
    std::pair{35, 800}, std::pair{53, 800}, std::pair{54, 810}, std::pair{60, 900},
    std::pair{100, 1500}, std::pair{200, 3000}, std::pair{2000, 30000}));

struct BarCase {
    double value;
    double maximum;
    int width;
    int outer;
    int filled;
};

void PrintTo(const BarCase& c, std::ostream* os) {
    *os << c.value << " of " << c.maximum << " in " << c.width;
}

class BarTest : public testing::TestWithParam<BarCase> {};

TEST_P(BarTest, ScalesTheDarkPart) {
    const BarCase c = GetParam();
    const std::string outer = std::to_string(c.outer);
    EXPECT_EQ(render([&c](PageSink& w) { Markup::bar(w, c.value, c.maximum, c.width); }),
              "<div style=\"width:" + outer + "px;\" class=\"sparkContainer\" >"
              "<div style=\"width:" + outer + "px;\" class=\"sparkLB\" >"
              "<div style=\"width:" + std::to_string(c.filled) +
                  "px;\" class=\"sparkBl\" ></div></div></div>")
        << c.value << " / " << c.maximum;
}

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(HtmlWriter, BarTest, testing::Values(
    BarCase{0.5, 1.0, 40, 42, 21},
    BarCase{1.0, 3.0, 40, 42, 14},  // 1/3 rounds up in double: 0.33...3 * 42 == 14.0
    BarCase{2.0, 3.0, 40, 42, 28},
    BarCase{0.0, 7.0, 100, 102, 0},
    BarCase{90.0, 90.0, 100, 102, 102},
    BarCase{75.0, 90.0000001, 98, 100, 83},
    BarCase{0.999999, 1.0, 40, 42, 41},
    BarCase{2.0, 1.0, 40, 42, 84},
    BarCase{0.0, 0.0, 40, 42, 0},
    BarCase{1.0, 0.0, 100, 102, 0},
    BarCase{inf, 1.0, 40, 42, 0},
    BarCase{nan, 1.0, 40, 42, 0},
    BarCase{1e300, 1e-300, 40, 42, 0},
    BarCase{1e9, 1.0, 40, 42, 0}));  // 4.2e10 does not fit an int

std::string cells(const std::string& number, int filled) {
    if (number.empty())
        return "\n\t<td width=\"35\" class=\"blBorderLeft\" >&nbsp;</td>"
               "\n\t<td width=\"45\" class=\"greyBorderBottom\" >&nbsp;</td>";
    return "\n\t<td width=\"35\" class=\"blBorderLeft\" >" + number +
           "&nbsp;</td>\n\t<td width=\"45\" class=\"greyBorderBottom\" >"
           "<div style=\"width:42px;\" class=\"sparkContainer\" >"
           "<div style=\"width:42px;\" class=\"sparkLB\" >"
           "<div style=\"width:" + std::to_string(filled) +
           "px;\" class=\"sparkBl\" ></div></div></div></td>";
}

struct ValueCellsCase {
    const char* element;
    double maximum;
    double threshold;
    const char* number;  // empty: the two blank cells
    int filled;
};

void PrintTo(const ValueCellsCase& c, std::ostream* os) {
    *os << c.element << " threshold " << c.threshold;
}

class ValueCellsTest : public testing::TestWithParam<ValueCellsCase> {};

TEST_P(ValueCellsTest, WritesNumberAndBar) {
    const ValueCellsCase c = GetParam();
    XmlParseResult result;
    const XmlNode node = XmlNode::parseString(c.element, {}, &result);
    ASSERT_EQ(result.error, XmlError::None);
    EXPECT_EQ(render([&](PageSink& w) { writeValueCells(w, node, "v", c.maximum, c.threshold); }),
              cells(c.number, c.filled));
}

constexpr double lowest = std::numeric_limits<double>::lowest();

INSTANTIATE_TEST_SUITE_P(HtmlWriter, ValueCellsTest, testing::Values(
    ValueCellsCase{"<r v='-0.25'/>", 0.5, lowest, "-0.25", 21},
    ValueCellsCase{"<r v='12.5'/>", 50.0, lowest, "12.50", 10},
    ValueCellsCase{"<r v='-9950'/>", 100.0, -9900.0, "", 0},
    ValueCellsCase{"<r v='-9900'/>", 100.0, -9900.0, "", 0},
    ValueCellsCase{"<r v='-9899.5'/>", 10000.0, -9900.0, "-9899.50", 41},
    ValueCellsCase{"<r v='-1'/>", 1.0, -1.0, "", 0},
    ValueCellsCase{"<r v='-0.99'/>", 1.0, -1.0, "-0.99", 41},
    ValueCellsCase{"<r/>", 1.0, -1.0, "0.00", 0},
    ValueCellsCase{"<r v='0'/>", 0.0, lowest, "0.00", 0},
    ValueCellsCase{"<r v='0.5'/>", 0.0, lowest, "0.50", 21},
    ValueCellsCase{"<r v='0.125'/>", 1.0, lowest, "0.12", 5},
    ValueCellsCase{"<r v='0.375'/>", 1.0, lowest, "0.38", 15},
    ValueCellsCase{"<r v='abc'/>", 1.0, lowest, "0.00", 0}));

// The frame is held against a page made independently of this code.
class PageFrameTest : public testing::Test {
protected:
    void SetUp() override {
        page = TestSupport::readFile(TestSupport::sourceDir() +
                                     "/tests/golden/bin_basic/expected/run1_analysisReport.html")
                   .toStdString();
        ASSERT_FALSE(page.empty());
    }
    std::string page;
    const PageFrame frame{"run1_analysisReport"};
};

TEST_F(PageFrameTest, DocumentStartHeadAndScriptIncludesOpenThePage) {
    const std::string head = render([&](PageSink& w) { frame.writeHeadStart(w); }) + "\n\t<script type=\"text/javascript\">";
    EXPECT_EQ(page.substr(0, head.size()), head);
}

TEST_F(PageFrameTest, StyleSheetAndBannerFrameTheBody) {
    const std::string body = render([&](PageSink& w) { frame.writeHeadEnd(w, "Analyst report v3.1.7"); }) +
                             "\n<H2 style=\"display:inline\">Target:</H2> \n";
    const size_t start = page.find("\n<style type=\"text/css\">");
    ASSERT_NE(start, std::string::npos);
    EXPECT_EQ(page.substr(start, body.size()), body);
}

TEST(HtmlWriterTest, SideDirectoryLinksStartWithTheBaseGiven) {
    const PageFrame frame("model%23_analysisReport");
    const std::string scripts = render([&](PageSink& w) { frame.writeHeadStart(w); });
    const std::string banner = render([&](PageSink& w) { frame.writeHeadEnd(w, "<b>v</b>"); });
    EXPECT_NE(scripts.find("src=\"model%23_analysisReport_files/orbi.min.js\""), std::string::npos);
    EXPECT_NE(scripts.find("src=\"model%23_analysisReport_files/excanvas.compiled.js\""), std::string::npos);
    EXPECT_NE(banner.find("<img src=\"model%23_analysisReport_files/logo.png\" width=\"50\""), std::string::npos);
    EXPECT_NE(banner.find("\n\t  <u><b>v</b></u></span> </H1>"), std::string::npos);
}

// A self-contained page: each script inline where its reference was, the logo as given.
TEST(HtmlWriterTest, InlineResourcesReplaceTheSideDirectoryLinks) {
    const PageFrame frame("run1", PageFrame::InlineResources{"var b='</script>';", "if(!c){}", "data:image/png;base64,AAAA"});
    const std::string scripts = render([&](PageSink& w) { frame.writeHeadStart(w); });
    const std::string banner = render([&](PageSink& w) { frame.writeHeadEnd(w, "v"); });
    const std::string head = "\n<script type=\"text/javascript\">\nvar b='\\x3C/script>';\n</script>"
                             "\n<script type=\"text/javascript\">\n $(function() {";
    const std::string tail = "\n });\n </script>\n<script type=\"text/javascript\">\nif(!c){}\n</script>";
    EXPECT_NE(scripts.find(head), std::string::npos);
    EXPECT_NE(scripts.find(tail), std::string::npos);
    EXPECT_NE(banner.find("\n\t  <img src=\"data:image/png;base64,AAAA\" width=\"50\" height=\"55\" align=\"absmiddle\" />"),
              std::string::npos);
    EXPECT_EQ(scripts.find("_files"), std::string::npos);
}

struct ScriptTextCase {
    const char* script;
    const char* expected;
};

void PrintTo(const ScriptTextCase& c, std::ostream* os) { *os << c.script; }

class ScriptElementTextTest : public testing::TestWithParam<ScriptTextCase> {};

// Only what could end the element or hide its end changes; \x3C means "<" to the script.
TEST_P(ScriptElementTextTest, DefusesWhatCouldEndTheElement) {
    EXPECT_EQ(Escape::scriptElement(GetParam().script), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(HtmlWriter, ScriptElementTextTest, testing::Values(
    ScriptTextCase{"a<b&&c>d", "a<b&&c>d"},
    ScriptTextCase{"s='<script></scrip</'", "s='<script></scrip</'"},
    ScriptTextCase{"s='</script>'", "s='\\x3C/script>'"},
    ScriptTextCase{"s=\"</SCRIPT \"+`</Script/`", "s=\"\\x3C/SCRIPT \"+`\\x3C/Script/`"},
    ScriptTextCase{"r=/<!--x-->/;//<!--", "r=/\\x3C!--x-->/;//\\x3C!--"},
    ScriptTextCase{"<!--<script>", "\\x3C!--<script>"},
    ScriptTextCase{"<!-", "<!-"},
    ScriptTextCase{"</script", "\\x3C/script"}));

// A failed hand-over is told, and nothing after it is sent on.
TEST(HtmlWriterTest, SinkTellsAFailedWriteAndSendsNothingMore) {
    int calls = 0;
    PageSink page([&](std::string_view) { return ++calls > 1; });
    page << "lost";
    EXPECT_FALSE(page.flush());
    page << "dropped";
    EXPECT_FALSE(page.flush());
    EXPECT_TRUE(page.writeFailed());
    EXPECT_EQ(calls, 1);
}

}  // namespace
