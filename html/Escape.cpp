#include "html/Escape.h"

#include "xml/XmlNode.h"

#include <algorithm>
#include <array>
#include <vector>

namespace Escape {
namespace {

bool isAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool isAsciiLetterOrDigit(char c) { return isAsciiLetter(c) || (c >= '0' && c <= '9'); }

// The inline formatting elements that document texts use for emphasis. Any other element could
// restructure the page (a heading, a list, a form control swallowing what follows) or hide it.
constexpr std::array<std::string_view, 17> inlineFormatting = {
    "b", "i", "u", "em", "strong", "sub", "sup", "small", "big", "s", "strike", "tt", "code", "span", "font",
    "br", "mark"};

// The position of name in inlineFormatting, or its size.
size_t inlineFormattingIndex(std::string_view name) {
    size_t k = 0;
    while (k < inlineFormatting.size() && !xmlNamesEqual(name, inlineFormatting[k]))
        ++k;
    return k;
}

// What a "<" in a text shown as markup starts.
struct LessThan {
    enum Kind { Text, StartTag, EndTag, Other } kind;
    std::string_view name;  // of a start or end tag, as written
    size_t element;         // its position in inlineFormatting
    size_t length;          // of the tag, "<" to ">"
};

// Text: it starts no markup at all (a digit, a blank or the end follows). A bare start or end
// tag of an inline formatting element. Other: anything the browser would read as markup.
LessThan lessThanAt(std::string_view text, size_t at) {
    size_t start = at + 1;
    const bool endTag = start < text.size() && text[start] == '/';
    if (endTag)
        ++start;
    if (start >= text.size() || !isAsciiLetter(text[start])) {
        const bool inert = !endTag && (start >= text.size() || (text[start] != '!' && text[start] != '?'));
        return {inert ? LessThan::Text : LessThan::Other, {}, 0, 0};
    }
    size_t end = start;
    while (end < text.size() && isAsciiLetterOrDigit(text[end]))
        ++end;
    const std::string_view name = text.substr(start, end - start);
    const size_t element = inlineFormattingIndex(name);
    if (end == text.size() || text[end] != '>' || element == inlineFormatting.size())
        return {LessThan::Other, {}, 0, 0};
    return {endTag ? LessThan::EndTag : LessThan::StartTag, name, element, end + 1 - at};
}

// Whether a byte stands for itself in markup text.
constexpr std::array<bool, 256> makePlainInText() {
    std::array<bool, 256> plain{};
    plain.fill(true);
    for (const char c : {'&', '<', '>', '"', '\''})
        plain[static_cast<unsigned char>(c)] = false;
    return plain;
}

// Whether a byte stands for itself in a script string.
constexpr std::array<bool, 256> makePlainInScript() {
    std::array<bool, 256> plain{};
    plain.fill(true);
    for (const char c : {'\\', '\'', '\n', '\r', '<', '\xE2'})
        plain[static_cast<unsigned char>(c)] = false;
    return plain;
}

constexpr std::array<bool, 256> plainInText = makePlainInText();
constexpr std::array<bool, 256> plainInScript = makePlainInScript();

// How many bytes from the start stand for themselves: names and labels mostly do all through,
// and are then appended in one piece rather than byte by byte.
size_t plainRun(std::string_view text, const std::array<bool, 256>& plain) {
    size_t end = 0;
    while (end < text.size() && plain[static_cast<unsigned char>(text[end])])
        ++end;
    return end;
}

}  // namespace

bool isPlainText(std::string_view text) noexcept {
    return plainRun(text, plainInText) == text.size();
}

void appendText(std::string& out, std::string_view text) {
    const size_t run = plainRun(text, plainInText);
    out.append(text.substr(0, run));
    for (const char c : text.substr(run)) {
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
    // The tags the text has opened and not closed, innermost last, and how many of each element
    // are among them. A browser keeps formatting elements open past the end of the element
    // holding the text, and re-opens them after it: whatever is left open here would restyle
    // the rest of the page.
    std::vector<LessThan> open;
    std::array<size_t, inlineFormatting.size()> openCount{};
    const auto close = [&](size_t count) {
        for (; count > 0; --count) {
            out += "</";
            out += open.back().name;
            out += '>';
            --openCount[open.back().element];
            open.pop_back();
        }
    };
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '<') {
            out += text[i];
            continue;
        }
        const LessThan tag = lessThanAt(text, i);
        if (tag.kind == LessThan::Text) {
            out += '<';
            continue;
        }
        if (tag.kind == LessThan::Other) {
            out += "&lt;";
            continue;
        }
        if (tag.kind == LessThan::StartTag) {
            if (inlineFormatting[tag.element] != "br") {
                open.push_back(tag);
                ++openCount[tag.element];
            }
            out += text.substr(i, tag.length);
        } else if (openCount[tag.element] > 0) {
            // What was opened inside the element closes first, so that every element nests.
            const auto opened = std::find_if(open.rbegin(), open.rend(),
                                             [&tag](const LessThan& o) { return o.element == tag.element; });
            close(static_cast<size_t>(opened - open.rbegin()));
            --openCount[tag.element];
            open.pop_back();
            out += text.substr(i, tag.length);
        }
        // An end tag of nothing the text opened is dropped: it would close an element of the page.
        i += tag.length - 1;
    }
    close(open.size());
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
    const size_t run = plainRun(text, plainInScript);
    out.append(text.substr(0, run));
    for (size_t i = run; i < text.size(); ++i) {
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
