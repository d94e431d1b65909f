#include "xml/Base64Index.h"

#include "xml/Base64Table.h"

#include <algorithm>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

using Base64Table::classify;

namespace {

#if defined(__SSE2__)
// Bytes of v in [low, low + count), by a signed comparison once low is moved to -128.
inline __m128i inRange(__m128i v, char low, int count) {
    const __m128i moved = _mm_add_epi8(v, _mm_set1_epi8(static_cast<char>(-128 - low)));
    return _mm_cmplt_epi8(moved, _mm_set1_epi8(static_cast<char>(-128 + count)));
}

inline __m128i equal(__m128i v, char c) {
    return _mm_cmpeq_epi8(v, _mm_set1_epi8(c));
}

// The sum of the sixteen byte lanes.
inline uint32_t laneSum(__m128i counts) {
    const __m128i sums = _mm_sad_epu8(counts, _mm_setzero_si128());
    return static_cast<uint32_t>(_mm_cvtsi128_si32(sums) + _mm_extract_epi16(sums, 4));
}
#endif

}  // namespace

Base64Index::Base64Index(std::string_view text) : Base64Index(text, Pass::Vectors) {}

Base64Index Base64Index::byteByByte(std::string_view text) {
    return Base64Index(text, Pass::Bytes);
}

bool Base64Index::countBytes(const char* p, const char* end, uint32_t& significant, uint32_t& padding) noexcept {
    // A few instructions per byte: unrolling pays.
#pragma GCC unroll 8
    for (; p != end; ++p) {
        const uint8_t entry = classify(*p);
        if (entry > Base64Table::whiteSpace)
            return false;
        significant += entry < Base64Table::whiteSpace ? 1 : 0;
        padding += entry == Base64Table::padding ? 1 : 0;
    }
    return true;
}

bool Base64Index::countVectors(const char* p, const char* end, uint32_t& significant, uint32_t& padding) noexcept {
#if defined(__SSE2__)
    // Sixteen bytes at a time and no branch among them: the verdict on the alphabet is taken
    // once for the block (where in it a stray byte lies does not matter: the text is then
    // unusable), and the counts gather in the byte lanes, which 16 vectors cannot overflow.
    static_assert(blockUnits / 16 <= 255);
    __m128i known = _mm_set1_epi8(-1);
    __m128i spaces = _mm_setzero_si128();
    __m128i pads = _mm_setzero_si128();
    const char* vectorsEnd = p + (end - p) / 16 * 16;
    const auto vectorBytes = static_cast<uint32_t>(vectorsEnd - p);
    for (; p != vectorsEnd; p += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i alphabet =
            _mm_or_si128(_mm_or_si128(inRange(v, 'A', 26), inRange(v, 'a', 26)),
                         _mm_or_si128(inRange(v, '0', 10), _mm_or_si128(equal(v, '+'), equal(v, '/'))));
        const __m128i space =
            _mm_or_si128(_mm_or_si128(equal(v, ' '), equal(v, '\n')), _mm_or_si128(equal(v, '\r'), equal(v, '\t')));
        const __m128i pad = equal(v, '=');
        known = _mm_and_si128(known, _mm_or_si128(alphabet, _mm_or_si128(space, pad)));
        spaces = _mm_sub_epi8(spaces, space);
        pads = _mm_sub_epi8(pads, pad);
    }
    if (_mm_movemask_epi8(known) != 0xFFFF)
        return false;
    significant += vectorBytes - laneSum(spaces);
    padding += laneSum(pads);
#endif
    return countBytes(p, end, significant, padding);
}

Base64Index::Base64Index(std::string_view text, Pass pass) : text_(text.data()) {
    if (text.data() == nullptr)
        return;
    significantBefore_.reserve(text.size() / blockUnits + 1);
    uint32_t significant = 0;
    uint32_t paddingUnits = 0;
    const char* p = text.data();
    const char* end = p + text.size();
    for (;;) {
        significantBefore_.push_back(significant);
        const char* blockEnd = end - p > blockUnits ? p + blockUnits : end;
        const bool usable = pass == Pass::Vectors ? countVectors(p, blockEnd, significant, paddingUnits)
                                                  : countBytes(p, blockEnd, significant, paddingUnits);
        if (!usable)
            return;
        p = blockEnd;
        if (p == end)
            break;
    }
    const char* first = text.data();
    if (significant == 0)
        return;
    uint32_t trailingPadding = 0;
    for (const char* q = end; q != first && q[-1] == '='; --q)
        ++trailingPadding;
    length_ = static_cast<int32_t>((3 * (int64_t{significant} - trailingPadding - 1) + 3) / 4);
    // Padding that is not all at the very end, or more of it than a quantum can hold, stops the
    // decoder early or marks the text short: Base64Decoder decides what is left then.
    const bool irregular = significant % 4 != 0 || paddingUnits != trailingPadding || trailingPadding > 2;
    shape_ = irregular ? Shape::Irregular : Shape::Regular;
}

void Base64Index::read(int64_t offset, int32_t count, unsigned char* out) const noexcept {
    if (shape_ != Shape::Regular || count <= 0)
        return;
    const int64_t quantum = offset / 3;
    const auto target = static_cast<uint32_t>(quantum * 4);
    // The last block that starts at or before the target's significant unit.
    const auto block = std::upper_bound(significantBefore_.begin(), significantBefore_.end(), target) - 1;
    const char* p = text_ + (block - significantBefore_.begin()) * blockUnits;
    for (uint32_t seen = *block;; ++p) {
        const uint8_t entry = classify(*p);
        if (entry == Base64Table::whiteSpace)
            continue;
        if (seen == target)
            break;
        ++seen;
    }
    // Decode quantum by quantum, keeping the bytes from offset on. Padding units only feed bytes
    // beyond the length, which are never kept.
    int64_t position = quantum * 3;
    const int64_t stop = offset + count;
    while (position < stop) {
        uint32_t bits = 0;
        for (int i = 0; i < 4; ++p) {
            const uint8_t entry = classify(*p);
            if (entry == Base64Table::whiteSpace)
                continue;
            bits = (bits << 6) | (entry & 63u);
            ++i;
        }
        for (int shift = 16; shift >= 0 && position < stop; shift -= 8, ++position) {
            if (position >= offset)
                out[position - offset] = static_cast<unsigned char>(bits >> shift);
        }
    }
}
