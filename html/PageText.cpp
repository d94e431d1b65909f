#include "html/PageText.h"

#include "xml/TextEncoding.h"

namespace PageText {

size_t units(std::string_view text) noexcept {
    return TextEncoding::utf16Length(text.data(), text.size());
}

std::string cutToUnits(std::string_view text, size_t limit, size_t kept) {
    return units(text) <= limit ? std::string(text) : firstUnits(text, kept) + "...";
}

std::string firstUnits(std::string_view text, size_t kept) {
    std::string out;
    size_t counted = 0;
    for (size_t i = 0; i < text.size() && counted < kept;) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        if (length == 4 && counted + 1 == kept) {
            out += "\xEF\xBF\xBD";
            break;
        }
        out.append(text.substr(i, length));
        counted += length == 4 ? 2 : 1;
        i += length;
    }
    return out;
}

}  // namespace PageText
