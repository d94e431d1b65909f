#pragma once
// Portable stand-ins for the platform's text services: a UTF-16 judgement over raw bytes and the
// conversions of 8-bit text to UTF-16. Nothing here fails: bad bytes become replacement units.

#include <cstddef>
#include <memory>

namespace TextEncoding {

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

// Windows-1252 text up to its first zero byte (or count) as new zero-terminated UTF-16; the five
// undefined bytes 81 8D 8F 90 9D keep their value (U+0081 ...).
std::unique_ptr<char16_t[]> windows1252ToUtf16(const unsigned char* bytes, size_t count);

// UTF-8 text up to its first zero byte (or count) as new zero-terminated UTF-16; each maximal
// invalid subpart becomes one U+FFFD.
std::unique_ptr<char16_t[]> utf8ToUtf16(const unsigned char* bytes, size_t count);

// Reverses the byte order of count units in place.
void swapByteOrder(char16_t* units, size_t count) noexcept;

}  // namespace TextEncoding
