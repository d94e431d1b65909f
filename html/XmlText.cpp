#include "html/XmlText.h"

QString xmlText(std::string_view text) {
    if (text.data() == nullptr)
        return QString();
    QString out(static_cast<qsizetype>(text.size()), Qt::Uninitialized);
    char16_t* units = reinterpret_cast<char16_t*>(out.data());
    qsizetype count = 0;
    // The document's text is well-formed UTF-8 but for surrogates in their three-byte form,
    // which a general decoder would reject: decoded here unit by unit.
    for (size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const auto at = [&](size_t k) { return static_cast<uint32_t>(static_cast<unsigned char>(text[i + k]) & 0x3F); };
        if (lead < 0x80) {
            units[count++] = lead;
            i += 1;
        } else if (lead < 0xE0) {
            units[count++] = static_cast<char16_t>(((lead & 0x1Fu) << 6) | at(1));
            i += 2;
        } else if (lead < 0xF0) {
            units[count++] = static_cast<char16_t>(((lead & 0x0Fu) << 12) | (at(1) << 6) | at(2));
            i += 3;
        } else {
            const uint32_t c = (((lead & 0x07u) << 18) | (at(1) << 12) | (at(2) << 6) | at(3)) - 0x10000;
            units[count++] = static_cast<char16_t>(0xD800 + (c >> 10));
            units[count++] = static_cast<char16_t>(0xDC00 + (c & 0x3FF));
            i += 4;
        }
    }
    out.truncate(count);
    return out;
}
