#pragma once
// Document texts placed inside the page's inline scripts. A text without quotes, backslashes,
// line breaks, "</" or "<!" passes through unchanged, so ordinary pages keep their exact bytes.

#include <QString>

namespace ScriptText {

// Text safe between single quotes of a script string literal inside a <script> element:
// \ -> \\, ' -> \', LF -> \n, CR -> \r, U+2028/U+2029 -> \u2028/\u2029, </ -> <\/, <! -> <\!.
QString quoted(const QString& text);
// Text safe as the tail of a script variable name: every unit that is not an ASCII letter,
// digit, '_' or '$' becomes '_'.
QString identifierPart(const QString& text);

}  // namespace ScriptText
