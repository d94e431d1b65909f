#include "html/ScriptText.h"

namespace ScriptText {

void appendQuoted(std::string& out, std::string_view text) {
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

std::string quoted(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    appendQuoted(out, text);
    return out;
}

std::string identifierPart(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte & 0xC0) == 0x80)
            continue;
        const bool allowed = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                             c == '_' || c == '$';
        out += allowed ? c : '_';
        // A character beyond the basic plane is two units.
        if (byte >= 0xF0)
            out += '_';
    }
    return out;
}

}  // namespace ScriptText
