#pragma once
// Document text (UTF-8) cut to a length the page counts in UTF-16 units, as its readers did.

#include <cstddef>
#include <string>
#include <string_view>

namespace PageText {

// Number of UTF-16 units that text stands for.
size_t units(std::string_view text) noexcept;
// The first count UTF-16 units of text (all of it when shorter). A cut through a character
// beyond the basic plane leaves U+FFFD for its first unit, which is what the page showed.
std::string firstUnits(std::string_view text, size_t count);
// text when it has at most limit units; otherwise its first kept units and "...".
std::string cutToUnits(std::string_view text, size_t limit, size_t kept);

}  // namespace PageText
