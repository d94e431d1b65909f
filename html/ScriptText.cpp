#include "html/ScriptText.h"

namespace ScriptText {

QString quoted(const QString& text) {
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text.at(i).unicode();
        switch (c) {
        case u'\\': out += u"\\\\"; break;
        case u'\'': out += u"\\'"; break;
        case u'\n': out += u"\\n"; break;
        case u'\r': out += u"\\r"; break;
        case 0x2028: out += u"\\u2028"; break;
        case 0x2029: out += u"\\u2029"; break;
        case u'<': {
            // "</script" inside a script element would end it early, whatever the quotes;
            // "<!--" followed by "<script" would make the browser skip the real end tag.
            const char16_t next = i + 1 < text.size() ? text.at(i + 1).unicode() : 0;
            out += (next == u'/' || next == u'!') ? u"<\\" : u"<";
            break;
        }
        default: out += QChar(c);
        }
    }
    return out;
}

QString identifierPart(const QString& text) {
    QString out = text;
    for (QChar& c : out) {
        const char16_t u = c.unicode();
        const bool allowed = (u >= u'a' && u <= u'z') || (u >= u'A' && u <= u'Z') ||
                             (u >= u'0' && u <= u'9') || u == u'_' || u == u'$';
        if (!allowed)
            c = u'_';
    }
    return out;
}

}  // namespace ScriptText
