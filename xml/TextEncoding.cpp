#include "xml/TextEncoding.h"

#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace TextEncoding {

namespace {

bool startsWith(const unsigned char* bytes, size_t count, const unsigned char* mark, size_t markLength) {
    return count >= markLength && std::memcmp(bytes, mark, markLength) == 0;
}

constexpr unsigned char littleEndianMark[] = {0xFF, 0xFE};
constexpr unsigned char bigEndianMark[] = {0xFE, 0xFF};
constexpr unsigned char utf8Mark[] = {0xEF, 0xBB, 0xBF};

constexpr char16_t replacement = 0xFFFD;

size_t lengthToZero(const unsigned char* bytes, size_t count) {
    const void* zero = std::memchr(bytes, 0, count);
    return zero != nullptr ? static_cast<size_t>(static_cast<const unsigned char*>(zero) - bytes) : count;
}

// Decodes one sequence whose lead byte is at p (not ASCII); answers the byte after it. A lead
// or continuation that cannot be part of well-formed UTF-8 ends the sequence, and what was read
// so far becomes a single U+FFFD.
const unsigned char* decodeSequence(const unsigned char* p, const unsigned char* end, char16_t*& out) {
    const unsigned char lead = *p++;
    int needed = 0;
    uint32_t value = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        needed = 1;
        value = lead & 0x1Fu;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        needed = 2;
        value = lead & 0x0Fu;
        low = lead == 0xE0 ? 0xA0 : 0x80;  // no overlong forms
        high = lead == 0xED ? 0x9F : 0xBF;  // no surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        needed = 3;
        value = lead & 0x07u;
        low = lead == 0xF0 ? 0x90 : 0x80;
        high = lead == 0xF4 ? 0x8F : 0xBF;  // nothing above U+10FFFF
    } else {
        *out++ = replacement;
        return p;
    }
    for (int i = 0; i < needed; ++i, ++p) {
        if (p == end || *p < low || *p > high) {
            *out++ = replacement;
            return p;
        }
        value = (value << 6) | (*p & 0x3Fu);
        low = 0x80;
        high = 0xBF;
    }
    if (value >= 0x10000) {
        value -= 0x10000;
        *out++ = static_cast<char16_t>(0xD800 + (value >> 10));
        *out++ = static_cast<char16_t>(0xDC00 + (value & 0x3FF));
    } else {
        *out++ = static_cast<char16_t>(value);
    }
    return p;
}

}  // namespace

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

void windows1252ToUnits(const unsigned char* bytes, size_t count, char16_t* out) noexcept {
    size_t i = 0;
#if defined(__SSE2__)
    // Blocks of ASCII, the usual content, only need their bytes widened.
    const __m128i zero = _mm_setzero_si128();
    for (; i + 16 <= count; i += 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i));
        if (_mm_movemask_epi8(block) != 0) {
            for (size_t k = i; k < i + 16; ++k)
                out[k] = windows1252Unit(bytes[k]);
            continue;
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_unpacklo_epi8(block, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i + 8), _mm_unpackhi_epi8(block, zero));
    }
#endif
    for (; i < count; ++i)
        out[i] = windows1252Unit(bytes[i]);
}

std::unique_ptr<char16_t[]> windows1252ToUtf16(const unsigned char* bytes, size_t count) {
    const size_t length = lengthToZero(bytes, count);
    auto text = std::make_unique_for_overwrite<char16_t[]>(length + 1);
    windows1252ToUnits(bytes, length, text.get());
    text[length] = 0;
    return text;
}

std::unique_ptr<char16_t[]> utf8ToUtf16(const unsigned char* bytes, size_t count, size_t* length) {
    const size_t byteLength = lengthToZero(bytes, count);
    // A sequence of n bytes never needs more than n units.
    auto text = std::make_unique_for_overwrite<char16_t[]>(byteLength + 1);
    char16_t* out = text.get();
    const unsigned char* p = bytes;
    const unsigned char* end = bytes + byteLength;
    while (p != end) {
        if (*p < 0x80)
            *out++ = *p++;
        else
            p = decodeSequence(p, end, out);
    }
    *out = 0;
    if (length != nullptr)
        *length = static_cast<size_t>(out - text.get());
    return text;
}

void swapByteOrder(char16_t* units, size_t count) noexcept {
    for (size_t i = 0; i < count; ++i)
        units[i] = static_cast<char16_t>((units[i] >> 8) | (units[i] << 8));
}

}  // namespace TextEncoding
