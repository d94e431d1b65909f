// Inline scripts of a self-contained page: only what could end the element or hide its end
// changes, and \x3C means "<" to the script. The shipped scripts hold none of these, so the
// page runs never show it.

#include "html/Escape.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

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

}  // namespace
