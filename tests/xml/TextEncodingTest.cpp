#include "XmlTestSupport.h"

#include "xml/TextEncoding.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using XmlTest::utf8;

namespace {

std::vector<unsigned char> bytesOf(const std::string& text) {
    return std::vector<unsigned char>(text.begin(), text.end());
}

struct UnicodeTestCase {
    const char* name;
    std::string bytes;
    bool expected;
};

TEST(TextEncodingTest, IsTextUnicodeJudgesMarksAndZeroBytes) {
    const std::string ascii300(300, 'a');
    std::string utf16Ascii;
    for (char c : std::string("<r>text</r>"))
        utf16Ascii += std::string{c, '\0'};
    const UnicodeTestCase cases[] = {
        {"little-endian mark", std::string("\xFF\xFE", 2) + "abc", true},
        {"big-endian mark", std::string("\xFE\xFF\0<", 4), false},
        {"UTF-8 mark", std::string("\xEF\xBB\xBF<\0r\0", 7), false},
        {"UTF-16 ASCII text", utf16Ascii, true},
        {"8-bit text", "<r>text</r>", false},
        {"half the odd bytes zero", std::string("a\0bc", 4), true},
        {"fewer than half zero", std::string("a\0bcde", 6), false},
        {"a tenth of the even bytes zero", std::string("\0\0" "a\0b\0c\0d\0e\0f\0g\0h\0i\0j\0", 20), false},
        {"under a tenth of the even bytes zero", std::string("\0\0" "a\0b\0c\0d\0e\0f\0g\0h\0i\0j\0k\0", 22), true},
        {"only the first 256 bytes count", ascii300.substr(0, 256) + utf16Ascii, false},
    };
    for (const UnicodeTestCase& c : cases) {
        const std::vector<unsigned char> bytes = bytesOf(c.bytes);
        EXPECT_EQ(TextEncoding::isTextUnicode(bytes.data(), bytes.size()), c.expected) << c.name;
    }
}

TEST(TextEncodingTest, DetectNamesTheEncodingAndItsMark) {
    using TextEncoding::Encoding;
    const std::vector<unsigned char> little = bytesOf(std::string("\xFF\xFE<\0", 4));
    const std::vector<unsigned char> big = bytesOf(std::string("\xFE\xFF\0<", 4));
    const std::vector<unsigned char> utf8Marked = bytesOf("\xEF\xBB\xBF<r/>");
    const std::vector<unsigned char> unmarked16 = bytesOf(std::string("<\0r\0/\0>\0", 8));
    const std::vector<unsigned char> plain = bytesOf("<r/>");
    EXPECT_EQ(TextEncoding::detect(little.data(), little.size()).encoding, Encoding::Utf16LittleEndian);
    EXPECT_EQ(TextEncoding::detect(little.data(), little.size()).markLength, 2u);
    EXPECT_EQ(TextEncoding::detect(big.data(), big.size()).encoding, Encoding::Utf16BigEndian);
    EXPECT_EQ(TextEncoding::detect(utf8Marked.data(), utf8Marked.size()).markLength, 3u);
    EXPECT_EQ(TextEncoding::detect(unmarked16.data(), unmarked16.size()).encoding, Encoding::Utf16LittleEndian);
    EXPECT_EQ(TextEncoding::detect(unmarked16.data(), unmarked16.size()).markLength, 0u);
    EXPECT_EQ(TextEncoding::detect(plain.data(), plain.size()).encoding, Encoding::Windows1252);
}

struct ConversionCase {
    std::string bytes;
    std::string expected;
};

// The text a conversion stands for: its new buffer, or the bytes themselves when it made none.
std::string textOf(const std::unique_ptr<char[]>& made, const std::vector<unsigned char>& bytes, size_t length) {
    return made ? std::string(made.get(), length) : std::string(bytes.begin(), bytes.begin() + static_cast<long>(length));
}

TEST(TextEncodingTest, Windows1252MapsTheHighBytesAndStopsAtZero) {
    const ConversionCase cases[] = {
        {"plain", "plain"},
        {"\x80\x8A\x9F", "\u20AC\u0160\u0178"},
        {"\x81\x8D\x8F\x90\x9D", "\u0081\u008D\u008F\u0090\u009D"},
        {"\xA0\xE9\xFF", "\u00A0\u00E9\u00FF"},
        {"\xC3\xA9", "\u00C3\u00A9"},  // UTF-8 bytes read one by one
        {std::string("ab\0cd", 5), "ab"},
        {std::string("\0x", 2), ""},
    };
    for (const ConversionCase& c : cases) {
        const std::vector<unsigned char> bytes = bytesOf(c.bytes);
        size_t length = 0;
        const auto made = TextEncoding::windows1252ToUtf8(bytes.data(), bytes.size(), &length);
        EXPECT_EQ(textOf(made, bytes, length), c.expected) << c.bytes;
    }
}

TEST(TextEncodingTest, Utf8ReplacesEachMaximalInvalidSubpart) {
    const ConversionCase cases[] = {
        {"a\xC3\xA9\xE2\x82\xAC", "a\u00E9\u20AC"},
        {"\xF0\x9F\x98\x80", "\U0001F600"},
        {"\xF4\x8F\xBF\xBF", "\U0010FFFF"},
        {"\x80", "\uFFFD"},
        {"\xFF\xFE", "\uFFFD\uFFFD"},
        {"\xC0\xAF", "\uFFFD\uFFFD"},              // overlong: C0 is never a lead
        {"\xE0\x80\xAF", "\uFFFD\uFFFD\uFFFD"},    // overlong three-byte form
        {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},    // a surrogate
        {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},  // above U+10FFFF
        {"\xE1\x80" "A", "\uFFFD" "A"},            // a cut sequence is one subpart
        {"\xF0\x9F\x98", "\uFFFD"},
        {"\xC3" "\xC3\xA9", "\uFFFD\u00E9"},
        // The example of the Unicode standard: 61 F1 80 80 E1 80 C2 62 80 63 80 BF 64.
        {"a\xF1\x80\x80\xE1\x80\xC2" "b\x80" "c\x80\xBF" "d", "a\uFFFD\uFFFD\uFFFDb\uFFFDc\uFFFD\uFFFDd"},
        {std::string("\xE2\x82\0\xAC", 4), "\uFFFD"},
        {std::string("a\0b", 3), "a"},
    };
    for (const ConversionCase& c : cases) {
        const std::vector<unsigned char> bytes = bytesOf(c.bytes);
        size_t length = 0;
        const auto made = TextEncoding::repairUtf8(bytes.data(), bytes.size(), &length);
        EXPECT_EQ(textOf(made, bytes, length), c.expected) << c.expected;
    }
}

TEST(TextEncodingTest, Utf16ReplacesLoneSurrogatesUnitForUnitAndStopsAtZero) {
    const char16_t units[] = {u'a', 0xD83D, 0xDE00, 0xD800, u'b', 0xDC00, 0, u'c'};
    size_t length = 0;
    const auto made = TextEncoding::utf16ToUtf8(units, std::size(units), &length);
    EXPECT_EQ(std::string(made.get(), length), "a\xF0\x9F\x98\x80\xEF\xBF\xBD" "b\xEF\xBF\xBD");
    EXPECT_EQ(TextEncoding::utf16Length(made.get(), length), 6u);
}

}  // namespace
