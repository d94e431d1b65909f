#pragma once
// Document texts placed inside the page's inline scripts. A text without quotes, backslashes,
// line breaks, "</" or "<!" passes through unchanged, so ordinary pages keep their exact bytes.

#include <string>
#include <string_view>

namespace ScriptText {

// UTF-8 text made safe between single quotes of a script string literal inside a <script>
// element: \ -> \\, ' -> \', LF -> \n, CR -> \r, U+2028/U+2029 -> \u2028/\u2029, </ -> <\/,
// <! -> <\!. Appended to out.
void appendQuoted(std::string& out, std::string_view text);
std::string quoted(std::string_view text);
// Text safe as the tail of a script variable name: every UTF-16 unit that is not an ASCII
// letter, digit, '_' or '$' becomes '_'.
std::string identifierPart(std::string_view text);

}  // namespace ScriptText
