#include "html/Escape.h"

#include "xml/XmlNode.h"

#include <array>

namespace Escape {
namespace {

bool isAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool isAsciiLetterOrDigit(char c) { return isAsciiLetter(c) || (c >= '0' && c <= '9'); }

// The inline formatting elements that document texts use for emphasis. Any other element could
// restructure the page (a heading, a list, a form control swallowing what follows) or hide it.
bool isInlineFormatting(std::string_view name) {
    static constexpr std::array<std::string_view, 17> names = {
        "b", "i", "u", "em", "strong", "sub", "sup", "small", "big", "s", "strike", "tt", "code", "span", "font",
        "br", "mark"};
    for (const std::string_view formatting : names)
        if (xmlNamesEqual(name, formatting))
            return true;
    return false;
}

// Whether the "<" at text[at] may stay: it starts no markup at all (a digit, a blank or the
// end follows), or a bare start or end tag of an inline formatting element.
bool harmlessLessThan(std::string_view text, size_t at) {
    size_t start = at + 1;
    const bool endTag = start < text.size() && text[start] == '/';
    if (endTag)
        ++start;
    if (start >= text.size() || !isAsciiLetter(text[start]))
        return !endTag && (start >= text.size() || (text[start] != '!' && text[start] != '?'));
    size_t end = start;
    while (end < text.size() && isAsciiLetterOrDigit(text[end]))
        ++end;
    return end < text.size() && text[end] == '>' && isInlineFormatting(text.substr(start, end - start));
}

}  // namespace

void appendText(std::string& out, std::string_view text) {
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
}

std::string text(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    appendText(out, text);
    return out;
}

std::string inlineMarkup(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '<' && !harmlessLessThan(text, i))
            out += "&lt;";
        else
            out += text[i];
    }
    return out;
}

std::string attribute(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        if (c == '&')
            out += "&amp;";
        else if (c == '"')
            out += "&quot;";
        else
            out += c;
    }
    return out;
}

void appendScriptString(std::string& out, std::string_view text) {
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        switch (c) {
        case '\\': out += "\\\\"; break;
        case '\'': out += "\\'"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '<': {
            // "</script" inside a script element would end it early, whatever the quotes;
            // "<!--" followed by "<script" would make the browser skip the real end tag.
            const char next = i + 1 < text.size() ? text[i + 1] : '\0';
            out += (next == '/' || next == '!') ? "<\\" : "<";
            break;
        }
        case '\xE2':
            // U+2028 and U+2029 end a line inside a script string.
            if (i + 2 < text.size() && text[i + 1] == '\x80' && (text[i + 2] == '\xA8' || text[i + 2] == '\xA9')) {
                out += text[i + 2] == '\xA8' ? "\\u2028" : "\\u2029";
                i += 2;
                break;
            }
            out += c;
            break;
        default: out += c;
        }
    }
}

std::string scriptString(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    appendScriptString(out, text);
    return out;
}

std::string scriptIdentifier(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte & 0xC0) == 0x80)
            continue;
        out += isAsciiLetterOrDigit(c) || c == '_' || c == '$' ? c : '_';
        // A character beyond the basic plane is two units.
        if (byte >= 0xF0)
            out += '_';
    }
    return out;
}

std::string scriptElement(std::string_view script) {
    // Inside a script element the browser ends the element at "</script", and after "<!--" a
    // "<script" would keep the next "</script>" from ending it. In the scripts the program
    // carries, either can only stand in a string, a template, a regular expression or a
    // comment: in the first three \x3C reads as "<", in a comment it is just as inert.
    std::string out;
    out.reserve(script.size());
    for (size_t at = 0; at < script.size(); ++at) {
        const std::string_view rest = script.substr(at);
        if (script[at] == '<' && (rest.starts_with("<!--") || xmlNamesEqual(rest.substr(0, 8), "</script")))
            out += "\\x3C";
        else
            out += script[at];
    }
    return out;
}

}  // namespace Escape
