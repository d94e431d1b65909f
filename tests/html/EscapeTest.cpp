// The escaping policies that work by table: whole scripts, and texts shown as markup.

#include "html/Escape.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

// Inline scripts of a self-contained page: only what could end the element or hide its end
// changes, and \x3C means "<" to the script. The shipped scripts hold none of these, so the
// page runs never show it.
class ScriptElementTest : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(ScriptElementTest, DefusesWhatCouldEndTheElement) {
    EXPECT_EQ(Escape::scriptElement(GetParam().first), GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Escape, ScriptElementTest, testing::Values(
    std::pair{"a<b&&c>d", "a<b&&c>d"},
    std::pair{"s='<script></scrip</'", "s='<script></scrip</'"},
    std::pair{"s='</script>'", "s='\\x3C/script>'"},
    std::pair{"s=\"</SCRIPT \"+`</Script/`", "s=\"\\x3C/SCRIPT \"+`\\x3C/Script/`"},
    std::pair{"r=/<!--x-->/;//<!--", "r=/\\x3C!--x-->/;//\\x3C!--"},
    std::pair{"<!--<script>", "\\x3C!--<script>"},
    std::pair{"<!-", "<!-"},
    std::pair{"</script", "\\x3C/script"}));

// Texts shown as markup: only bare inline formatting tags stay, and they end inside the text,
// so no label can restyle what follows it. Balanced texts keep their bytes.
class InlineMarkupTest : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(InlineMarkupTest, KeepsInlineTagsClosedInsideTheText) {
    EXPECT_EQ(Escape::inlineMarkup(GetParam().first), GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Escape, InlineMarkupTest, testing::Values(
    std::pair{"<b>x</b> <I>y</i> <SPAN><font>z</font></span>", "<b>x</b> <I>y</i> <SPAN><font>z</font></span>"},
    std::pair{"Age & <group>, <missing>", "Age & &lt;group>, &lt;missing>"},
    std::pair{"a < b <, bank <2019>.csv", "a < b <, bank <2019>.csv"},
    std::pair{"Alcohol<s><big><big><big>", "Alcohol<s><big><big><big></big></big></big></s>"},
    std::pair{"<I><U><EM><Strong><sub><sup><small><big><s><strike><tt><code><span><font><br><mark>",
              "<I><U><EM><Strong><sub><sup><small><big><s><strike><tt><code><span><font><br><mark>"
              "</mark></font></span></code></tt></strike></s></big></small></sup></sub></Strong></EM></U></I>"},
    std::pair{"x</u></SPAN></br>y</b>", "xy"},
    std::pair{"<b><i>x</b>y</i>", "<b><i>x</i></b>y"},
    std::pair{"<b><b>x</b>", "<b><b>x</b></b>"},
    std::pair{"<br>x<BR>", "<br>x<BR>"},
    std::pair{"<b>x</b><H1>y</H1>", "<b>x</b>&lt;H1>y&lt;/H1>"},
    std::pair{"<br/><b ><bx><b1><a-b><font color=red>", "&lt;br/>&lt;b >&lt;bx>&lt;b1>&lt;a-b>&lt;font color=red>"},
    std::pair{"<script>x=</script><img src=x onerror=f()>", "&lt;script>x=&lt;/script>&lt;img src=x onerror=f()>"},
    std::pair{"x<!--y <?php </ x> a</", "x&lt;!--y &lt;?php &lt;/ x> a&lt;/"},
    std::pair{"<b", "&lt;b"}));

}  // namespace
