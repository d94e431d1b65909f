#include "xml/TextEncoding.h"

#include <cstring>

namespace TextEncoding {
namespace {

// Windows-1252 bytes 80 to 9F; the rest of the code page equals Latin-1.
constexpr char16_t windows1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

bool startsWith(const unsigned char* bytes, size_t count, const unsigned char* mark, size_t markLength) {
    return count >= markLength && std::memcmp(bytes, mark, markLength) == 0;
}

constexpr unsigned char littleEndianMark[] = {0xFF, 0xFE};
constexpr unsigned char bigEndianMark[] = {0xFE, 0xFF};
constexpr unsigned char utf8Mark[] = {0xEF, 0xBB, 0xBF};

size_t lengthToZero(const unsigned char* bytes, size_t count) {
    const void* zero = std::memchr(bytes, 0, count);
    return zero != nullptr ? static_cast<size_t>(static_cast<const unsigned char*>(zero) - bytes) : count;
}

// Checks one sequence whose lead byte is at p (not ASCII); answers the byte after it, and in
// *valid whether it was well-formed. A lead or continuation that cannot be part of well-formed
// UTF-8 ends the sequence, and what was read so far stands for a single U+FFFD.
const unsigned char* checkSequence(const unsigned char* p, const unsigned char* end, bool* valid) {
    const unsigned char lead = *p++;
    int needed = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        needed = 1;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        needed = 2;
        low = lead == 0xE0 ? 0xA0 : 0x80;  // no overlong forms
        high = lead == 0xED ? 0x9F : 0xBF;  // no surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        needed = 3;
        low = lead == 0xF0 ? 0x90 : 0x80;
        high = lead == 0xF4 ? 0x8F : 0xBF;  // nothing above U+10FFFF
    } else {
        *valid = false;
        return p;
    }
    for (int i = 0; i < needed; ++i, ++p) {
        if (p == end || *p < low || *p > high) {
            *valid = false;
            return p;
        }
        low = 0x80;
        high = 0xBF;
    }
    *valid = true;
    return p;
}

// A new buffer of room bytes and a terminating zero, plus the padding the parser's block
// reads may look at.
std::unique_ptr<char[]> textBuffer(size_t room) {
    return std::make_unique_for_overwrite<char[]>(room + 4);
}

}  // namespace

// The common document is ASCII all through, and then this one pass is the whole check. Sixty-four bytes are
// judged at once, their words combined (which the compiler turns into vector instructions), then
// the last few bytes word by word. A word's byte that is zero or has its high bit set leaves the
// high bit set in word | (word - 0x01..01): a zero borrows, and a borrow into a byte comes only
// from a zero below it.
size_t asciiPrefix(const unsigned char* bytes, size_t count) noexcept {
    constexpr uint64_t highBits = 0x8080808080808080u;
    constexpr uint64_t ones = 0x0101010101010101u;
    constexpr size_t chunk = 64;
    size_t i = 0;
    for (; i + chunk <= count; i += chunk) {
        uint64_t words[chunk / 8];
        std::memcpy(words, bytes + i, chunk);
        uint64_t any = 0;
        for (const uint64_t word : words)
            any |= word | (word - ones);
        if ((any & highBits) != 0)
            break;
    }
    for (; i + 8 <= count; i += 8) {
        uint64_t word;
        std::memcpy(&word, bytes + i, 8);
        if (((word | (word - ones)) & highBits) != 0)
            break;
    }
    while (i < count && bytes[i] != 0 && bytes[i] < 0x80)
        ++i;
    return i;
}

bool isTextUnicode(const unsigned char* bytes, size_t count) noexcept {
    if (startsWith(bytes, count, littleEndianMark, 2))
        return true;
    if (startsWith(bytes, count, bigEndianMark, 2) || startsWith(bytes, count, utf8Mark, 3))
        return false;
    const size_t sampled = count < 256 ? count : 256;
    size_t evenBytes = 0, evenZeros = 0, oddBytes = 0, oddZeros = 0;
    for (size_t i = 0; i < sampled; ++i) {
        if (i % 2 == 0) {
            ++evenBytes;
            evenZeros += bytes[i] == 0 ? 1 : 0;
        } else {
            ++oddBytes;
            oddZeros += bytes[i] == 0 ? 1 : 0;
        }
    }
    return oddZeros * 2 >= oddBytes && evenZeros * 10 < evenBytes;
}

Detection detect(const unsigned char* bytes, size_t count) noexcept {
    if (startsWith(bytes, count, littleEndianMark, 2))
        return {Encoding::Utf16LittleEndian, 2};
    if (startsWith(bytes, count, bigEndianMark, 2))
        return {Encoding::Utf16BigEndian, 2};
    if (startsWith(bytes, count, utf8Mark, 3))
        return {Encoding::Utf8, 3};
    if (isTextUnicode(bytes, count))
        return {Encoding::Utf16LittleEndian, 0};
    return {Encoding::Windows1252, 0};
}

size_t sequenceLength(const unsigned char* p, const unsigned char* end) noexcept {
    if (p == end)
        return 0;
    if (*p < 0x80)
        return 1;
    bool valid = false;
    const unsigned char* next = checkSequence(p, end, &valid);
    return valid ? static_cast<size_t>(next - p) : 0;
}

char* appendUtf8(char* out, uint32_t c) noexcept {
    if (c >= 0xD800 && c < 0xE000)
        c = 0xFFFD;
    if (c < 0x80) {
        *out++ = static_cast<char>(c);
    } else if (c < 0x800) {
        *out++ = static_cast<char>(0xC0 | (c >> 6));
        *out++ = static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        *out++ = static_cast<char>(0xE0 | (c >> 12));
        *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        *out++ = static_cast<char>(0x80 | (c & 0x3F));
    } else {
        *out++ = static_cast<char>(0xF0 | (c >> 18));
        *out++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        *out++ = static_cast<char>(0x80 | (c & 0x3F));
    }
    return out;
}

size_t utf16Length(const char* text, size_t count) noexcept {
    size_t units = 0;
    size_t i = 0;
    // Names and labels are mostly ASCII: eight such bytes are eight units, judged at once.
    for (; i + 8 <= count; i += 8) {
        uint64_t word;
        std::memcpy(&word, text + i, 8);
        if ((word & 0x8080808080808080u) != 0)
            break;
        units += 8;
    }
    for (; i < count; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        units += (byte & 0xC0) != 0x80 ? 1 : 0;
        units += byte >= 0xF0 ? 1 : 0;  // a supplementary character takes two units
    }
    return units;
}

std::unique_ptr<char[]> windows1252ToUtf8(const unsigned char* bytes, size_t count, size_t* length, size_t knownAscii) {
    const size_t ascii = knownAscii + asciiPrefix(bytes + knownAscii, count - knownAscii);
    // Text that is ASCII up to its end or its zero is read where it lies: one pass decides it.
    if (ascii == count || bytes[ascii] == 0) {
        *length = ascii;
        return nullptr;
    }
    const size_t byteLength = ascii + lengthToZero(bytes + ascii, count - ascii);
    *length = byteLength;
    // No byte needs more than three.
    auto text = textBuffer(byteLength * 3);
    std::memcpy(text.get(), bytes, ascii);
    char* out = text.get() + ascii;
    // Accented letters are few and far between: the ASCII between them is copied in runs.
    for (size_t i = ascii; i < byteLength;) {
        const unsigned char byte = bytes[i++];
        out = appendUtf8(out, (byte & 0xE0) == 0x80 ? windows1252High[byte - 0x80] : byte);
        const size_t run = asciiPrefix(bytes + i, byteLength - i);
        std::memcpy(out, bytes + i, run);
        out += run;
        i += run;
    }
    *length = static_cast<size_t>(out - text.get());
    std::memset(out, 0, 4);
    return text;
}

std::unique_ptr<char[]> repairUtf8(const unsigned char* bytes, size_t count, size_t* length, size_t knownAscii) {
    const size_t ascii = knownAscii + asciiPrefix(bytes + knownAscii, count - knownAscii);
    if (ascii == count || bytes[ascii] == 0) {
        *length = ascii;
        return nullptr;
    }
    const size_t byteLength = ascii + lengthToZero(bytes + ascii, count - ascii);
    const unsigned char* end = bytes + byteLength;
    const unsigned char* p = bytes + ascii;
    bool valid = true;
    while (p != end && valid) {
        p += asciiPrefix(p, static_cast<size_t>(end - p));
        if (p == end)
            break;
        const unsigned char* start = p;
        p = checkSequence(p, end, &valid);
        if (!valid)
            p = start;
    }
    *length = byteLength;
    if (valid)
        return nullptr;
    // One U+FFFD (three bytes) never stands for fewer than one byte.
    auto text = textBuffer(byteLength * 3);
    const auto good = static_cast<size_t>(p - bytes);
    std::memcpy(text.get(), bytes, good);
    char* out = text.get() + good;
    while (p != end) {
        if (*p < 0x80) {
            *out++ = static_cast<char>(*p++);
            continue;
        }
        const unsigned char* start = p;
        p = checkSequence(p, end, &valid);
        if (valid) {
            std::memcpy(out, start, static_cast<size_t>(p - start));
            out += p - start;
        } else {
            out = appendUtf8(out, 0xFFFD);
        }
    }
    *length = static_cast<size_t>(out - text.get());
    std::memset(out, 0, 4);
    return text;
}

std::unique_ptr<char[]> utf16ToUtf8(const char16_t* units, size_t count, size_t* length) {
    size_t unitLength = 0;
    while (unitLength < count && units[unitLength] != 0)
        ++unitLength;
    auto text = textBuffer(unitLength * 3);
    char* out = text.get();
    for (size_t i = 0; i < unitLength; ++i) {
        uint32_t c = units[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < unitLength && units[i + 1] >= 0xDC00 && units[i + 1] < 0xE000)
            c = 0x10000 + ((c - 0xD800) << 10) + (units[++i] - 0xDC00u);
        out = appendUtf8(out, c);
    }
    *length = static_cast<size_t>(out - text.get());
    std::memset(out, 0, 4);
    return text;
}

void swapByteOrder(char16_t* units, size_t count) noexcept {
    for (size_t i = 0; i < count; ++i)
        units[i] = static_cast<char16_t>((units[i] >> 8) | (units[i] << 8));
}

}  // namespace TextEncoding
