// The escaping policies that work by table: whole scripts, and texts shown as markup.

#include "html/Escape.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
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

// Text and script strings are copied in runs up to the first byte that needs escaping; byte by
// byte, as below, every byte is looked at alone. Generated texts mix plain runs with every byte
// either policy replaces.
std::string textByByte(std::string_view text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\'': out += "&apos;"; break;
        default: out += c;
        }
    }
    return out;
}

std::string scriptByByte(std::string_view text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const char next = i + 1 < text.size() ? text[i + 1] : '\0';
        if (c == '\\')
            out += "\\\\";
        else if (c == '\'')
            out += "\\'";
        else if (c == '\n')
            out += "\\n";
        else if (c == '\r')
            out += "\\r";
        else if (c == '<')
            out += next == '/' || next == '!' ? "<\\" : "<";
        else if (c == '\xE2' && i + 2 < text.size() && next == '\x80' && (text[i + 2] == '\xA8' || text[i + 2] == '\xA9')) {
            out += text[i + 2] == '\xA8' ? "\\u2028" : "\\u2029";
            i += 2;
        } else
            out += c;
    }
    return out;
}

TEST(EscapeRunsTest, RunsAsByByte) {
    const std::string pieces[] = {"a", "Z", "0", " ", "&", "<", ">", "\"", "'", "\\", "\n", "\r", "/", "!",
                                  "\xE2\x80\xA8", "\xE2\x80\xA9", "\xE2\x82\xAC", "\xE2", "\xC3\xA9", "[0; 10["};
    std::mt19937 random(3);
    for (int i = 0; i < 20000; ++i) {
        std::string text;
        const int count = static_cast<int>(random() % 12);
        for (int k = 0; k < count; ++k)
            text += pieces[random() % (k == 0 && i % 2 == 0 ? 4 : std::size(pieces))];
        std::string out = "x";
        Escape::appendText(out, text);
        EXPECT_EQ(out, "x" + textByByte(text)) << text;
        EXPECT_EQ(Escape::isPlainText(text), textByByte(text) == text) << text;
        out = "x";
        Escape::appendScriptString(out, text);
        EXPECT_EQ(out, "x" + scriptByByte(text)) << text;
    }
}

}  // namespace
