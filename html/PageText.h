#pragma once
// Document text on its way into the page, as UTF-8: the escaping that keeps it from being read
// as markup, and the cuts that count its UTF-16 units.

#include <cstddef>
#include <string>
#include <string_view>

namespace PageText {

// Appends text with & < > " ' replaced by their entities: shown as it reads, never as markup.
void appendText(std::string& out, std::string_view text);
// Number of UTF-16 units that text stands for.
size_t units(std::string_view text) noexcept;
// The first count UTF-16 units of text (all of it when shorter). A cut through a character
// beyond the basic plane leaves U+FFFD for its first unit, which is what the page showed.
std::string firstUnits(std::string_view text, size_t count);
// text when it has at most limit units; otherwise its first kept units and "...".
std::string cutToUnits(std::string_view text, size_t limit, size_t kept);

}  // namespace PageText
