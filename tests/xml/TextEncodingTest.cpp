// The conversions that skip ASCII sixty-four and eight bytes at a time, against conversions made
// one byte at a time, over generated texts: ASCII with other bytes at every place around the
// chunks, runs of them, zero bytes, and valid and broken UTF-8.

#include "xml/TextEncoding.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

// Windows-1252's bytes 80 to 9F; the five it leaves undefined keep their value.
constexpr char16_t high[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

std::string windows1252ByByte(const std::string& bytes) {
    std::string out;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte == 0)
            break;
        char buffer[4];
        const char* end = TextEncoding::appendUtf8(buffer, byte >= 0x80 && byte < 0xA0 ? high[byte - 0x80] : byte);
        out.append(buffer, static_cast<size_t>(end - buffer));
    }
    return out;
}

std::string repairByByte(const std::string& bytes) {
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto* end = p + bytes.size();
    std::string out;
    while (p != end && *p != 0) {
        const size_t length = TextEncoding::sequenceLength(p, end);
        if (length > 0) {
            out.append(reinterpret_cast<const char*>(p), length);
            p += length;
            continue;
        }
        out += "\xEF\xBF\xBD";
        // A maximal invalid subpart: the lead, then the continuations it could still take.
        const unsigned char lead = *p++;
        int needed = lead >= 0xC2 && lead <= 0xDF ? 1 : lead >= 0xE0 && lead <= 0xEF ? 2 : lead >= 0xF0 && lead <= 0xF4 ? 3 : 0;
        unsigned char low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
        unsigned char top = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
        for (; needed > 0 && p != end && *p >= low && *p <= top; --needed, ++p) {
            low = 0x80;
            top = 0xBF;
        }
    }
    return out;
}

std::string asString(const std::unique_ptr<char[]>& converted, const std::string& bytes, size_t length) {
    return converted != nullptr ? std::string(converted.get(), length) : bytes.substr(0, length);
}

// ASCII of a random length with a few other bytes (or sequences) dropped in at random places.
std::vector<std::string> generatedTexts(bool utf8Pieces) {
    const std::vector<std::string> pieces = utf8Pieces
        ? std::vector<std::string>{"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xC3", "\xE2\x82", "\xED\xA0\x80",
                                   "\xF4\x90\x80\x80", "\x80", "\xFF", "\xC0\xAF", std::string(1, '\0')}
        : std::vector<std::string>{"\xE9", "\x80", "\x81", "\x9F", "\xA0", "\xFF", std::string(1, '\0')};
    std::mt19937 random(11);
    std::vector<std::string> texts;
    for (int i = 0; i < 5000; ++i) {
        std::string text;
        const size_t length = random() % 300;
        for (size_t k = 0; k < length; ++k)
            text += static_cast<char>(32 + random() % 95);
        const int others = i % 5 == 0 ? 0 : static_cast<int>(random() % 6);
        for (int k = 0; k < others; ++k) {
            const std::string& piece = pieces[random() % pieces.size()];
            text.insert(random() % (text.size() + 1), random() % 8 == 0 ? piece + piece + piece : piece);
        }
        texts.push_back(text);
    }
    // One other byte at each place around the chunks.
    for (size_t at = 0; at < 200; ++at) {
        std::string text(200, 'a');
        text[at] = utf8Pieces ? '\xC3' : '\xE9';
        if (utf8Pieces && at + 1 < text.size())
            text[at + 1] = '\xA9';
        texts.push_back(text);
    }
    return texts;
}

TEST(TextEncodingTest, Windows1252AsByByte) {
    for (const std::string& text : generatedTexts(false)) {
        size_t length = 0;
        const auto converted = TextEncoding::windows1252ToUtf8(reinterpret_cast<const unsigned char*>(text.data()),
                                                               text.size(), &length);
        EXPECT_EQ(asString(converted, text, length), windows1252ByByte(text)) << text;
    }
}

TEST(TextEncodingTest, RepairedUtf8AsByByte) {
    for (const std::string& text : generatedTexts(true)) {
        size_t length = 0;
        const auto converted = TextEncoding::repairUtf8(reinterpret_cast<const unsigned char*>(text.data()), text.size(), &length);
        EXPECT_EQ(asString(converted, text, length), repairByByte(text)) << text;
    }
}

TEST(TextEncodingTest, Utf16LengthAsByByte) {
    for (const std::string& text : generatedTexts(true)) {
        size_t units = 0;
        for (const char c : text) {
            const auto byte = static_cast<unsigned char>(c);
            units += ((byte & 0xC0) != 0x80 ? 1 : 0) + (byte >= 0xF0 ? 1 : 0);
        }
        EXPECT_EQ(TextEncoding::utf16Length(text.data(), text.size()), units) << text;
    }
}

TEST(TextEncodingTest, AsciiIsUsedWhereItLies) {
    const std::string text(1000, 'x');
    size_t length = 0;
    EXPECT_EQ(TextEncoding::windows1252ToUtf8(reinterpret_cast<const unsigned char*>(text.data()), text.size(), &length), nullptr);
    EXPECT_EQ(length, 1000u);
    EXPECT_EQ(TextEncoding::repairUtf8(reinterpret_cast<const unsigned char*>(text.data()), text.size(), &length), nullptr);
}

}  // namespace
