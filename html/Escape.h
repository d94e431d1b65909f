#pragma once
// Document text on its way into the page, one policy for each place it can stand: text in
// markup, attribute values, and scripts. Text that needs no escaping passes through unchanged,
// so ordinary pages keep their exact bytes. All text is UTF-8.

#include <string>
#include <string_view>

namespace Escape {

// Text in markup, shown as it reads and never as markup: & < > " ' become entities.
void appendText(std::string& out, std::string_view text);
std::string text(std::string_view text);
// Whether text holds none of those: appendText then copies it as it is.
bool isPlainText(std::string_view text) noexcept;
// Text in markup that the page shows as markup: a bare start or end tag of an inline
// formatting element (b i u em strong sub sup small big s strike tt code span font br mark,
// any case) stays; every other "<" that would start markup (another element, a comment, a
// declaration, a processing instruction, a tag with attributes) becomes &lt;. The kept tags
// nest and end inside the text: an end tag closes first what was opened after its element, one
// that matches nothing open is dropped, and whatever is still open is closed at the end.
std::string inlineMarkup(std::string_view text);

// Attribute values between double quotes: & and " become entities.
std::string attribute(std::string_view text);

// Script strings between single quotes inside a script element: \ -> \\, ' -> \', LF -> \n,
// CR -> \r, U+2028/U+2029 -> \u2028/\u2029, </ -> <\/, <! -> <\!.
void appendScriptString(std::string& out, std::string_view text);
std::string scriptString(std::string_view text);
// The tail of a script variable name: every UTF-16 unit that is not an ASCII letter, digit,
// '_' or '$' becomes '_'.
std::string scriptIdentifier(std::string_view text);
// A whole script inside a script element: the "<" of every "<!--" and "</script" (any case)
// becomes \x3C.
std::string scriptElement(std::string_view script);

}  // namespace Escape
