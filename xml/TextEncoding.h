#pragma once
// Portable stand-ins for the platform's text services: a UTF-16 judgement over raw bytes and the
// conversions of a file's text to UTF-8, the one form the program reads. Nothing here fails: bad
// bytes become replacement characters.

#include <cstddef>
#include <cstdint>
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

// The text of a file as UTF-8: a new buffer with a terminating zero, or null when the bytes
// already are that text (plain ASCII, or valid UTF-8). Conversion stops at the first zero
// byte (or unit); *length receives the text's bytes before it.
// Windows-1252: the five undefined bytes 81 8D 8F 90 9D keep their value (U+0081 ...).
// knownAscii: how many bytes from the start the caller has already found ASCII other than zero
// (asciiPrefix), which are not looked at again.
std::unique_ptr<char[]> windows1252ToUtf8(const unsigned char* bytes, size_t count, size_t* length,
                                          size_t knownAscii = 0);
// UTF-8: each maximal invalid subpart becomes one U+FFFD.
std::unique_ptr<char[]> repairUtf8(const unsigned char* bytes, size_t count, size_t* length, size_t knownAscii = 0);

// How many bytes from the start are ASCII other than zero (zero ends a document's text).
size_t asciiPrefix(const unsigned char* bytes, size_t count) noexcept;
// UTF-16: always converted. A lone surrogate becomes U+FFFD, one unit as it was, as the page's
// encoder has always written it.
std::unique_ptr<char[]> utf16ToUtf8(const char16_t* units, size_t count, size_t* length);

// Bytes of the well-formed UTF-8 character that starts at p (1 for ASCII, up to 4), or 0 when
// none starts there or p is end.
size_t sequenceLength(const unsigned char* p, const unsigned char* end) noexcept;
// Appends the UTF-8 of one code point below U+110000; a surrogate as U+FFFD.
char* appendUtf8(char* out, uint32_t codePoint) noexcept;
// Number of UTF-16 units the UTF-8 bytes stand for.
size_t utf16Length(const char* text, size_t count) noexcept;

// Reverses the byte order of count units in place.
void swapByteOrder(char16_t* units, size_t count) noexcept;

}  // namespace TextEncoding
