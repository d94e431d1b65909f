#pragma once
// Portable stand-ins for the platform's text services: a UTF-16 judgement over raw bytes and the
// conversions of 8-bit text to UTF-16. Nothing here fails: bad bytes become replacement units.

#include <array>
#include <cstddef>
#include <memory>

namespace TextEncoding {

namespace detail {

// Windows-1252 bytes 80 to 9F; the rest of the code page equals Latin-1.
inline constexpr char16_t windows1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

constexpr std::array<char16_t, 256> makeWindows1252() {
    std::array<char16_t, 256> table{};
    for (int b = 0; b < 256; ++b)
        table[static_cast<size_t>(b)] = (b & 0xE0) == 0x80 ? windows1252High[b - 0x80] : static_cast<char16_t>(b);
    return table;
}

inline constexpr std::array<char16_t, 256> windows1252 = makeWindows1252();

}  // namespace detail

// The UTF-16 unit of one Windows-1252 byte; the five undefined bytes 81 8D 8F 90 9D keep their
// value (U+0081 ...).
inline char16_t windows1252Unit(unsigned char byte) noexcept {
    return detail::windows1252[byte];
}

// Converts count Windows-1252 bytes (zero bytes included) to count UTF-16 units at out.
void windows1252ToUnits(const unsigned char* bytes, size_t count, char16_t* out) noexcept;

enum class Encoding {
    Utf16LittleEndian,  // FF FE, or no mark and isTextUnicode says yes
    Utf16BigEndian,     // FE FF
    Utf8,               // EF BB BF
    Windows1252,        // every other file: the 8-bit code page of files without a mark
};

struct Detection {
    Encoding encoding;
    size_t markLength;  // bytes of the byte-order mark to skip
};

// True for bytes that start with FF FE; for bytes that start with none of FF FE, FE FF and
// EF BB BF, true when at least half of the odd-index bytes among the first 256 are 0 and fewer
// than a tenth of the even-index ones are; false otherwise.
bool isTextUnicode(const unsigned char* bytes, size_t count) noexcept;

// The encoding of a whole file's bytes and the length of its byte-order mark.
Detection detect(const unsigned char* bytes, size_t count) noexcept;

// Windows-1252 text up to its first zero byte (or count) as new zero-terminated UTF-16.
std::unique_ptr<char16_t[]> windows1252ToUtf16(const unsigned char* bytes, size_t count);

// UTF-8 text up to its first zero byte (or count) as new zero-terminated UTF-16; each maximal
// invalid subpart becomes one U+FFFD. *length, when given, receives the units before the zero.
std::unique_ptr<char16_t[]> utf8ToUtf16(const unsigned char* bytes, size_t count, size_t* length = nullptr);

// Reverses the byte order of count units in place.
void swapByteOrder(char16_t* units, size_t count) noexcept;

}  // namespace TextEncoding
