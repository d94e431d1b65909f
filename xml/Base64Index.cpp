#include "xml/Base64Index.h"

#include "xml/Base64Table.h"

#include <algorithm>

using Base64Table::classify;

Base64Index::Base64Index(const char16_t* text) : text_(text) {
    if (text == nullptr)
        return;
    // The blocks of the index also keep the loop free of other branches: per unit it only
    // counts, and leaves on the end of the text or a unit outside the alphabet.
    uint32_t significant = 0;
    uint32_t paddingUnits = 0;
    const char16_t* p = text;
    for (uint8_t entry = 0; entry <= Base64Table::whiteSpace;) {
        significantBefore_.push_back(significant);
        // A few instructions per unit over curves of millions of units: unrolling pays.
#pragma GCC unroll 8
        for (const char16_t* blockEnd = p + blockUnits; p != blockEnd; ++p) {
            entry = classify(*p);
            if (entry > Base64Table::whiteSpace)
                break;
            significant += entry < Base64Table::whiteSpace ? 1 : 0;
            paddingUnits += entry == Base64Table::padding ? 1 : 0;
        }
        if (entry == Base64Table::invalid)
            return;
    }
    const char16_t* end = p;
    if (significant == 0)
        return;
    uint32_t trailingPadding = 0;
    for (const char16_t* q = end; q != text && q[-1] == u'='; --q)
        ++trailingPadding;
    // Padding that is not all at the very end, or more of it than a quantum can hold, stops the
    // decoder early or marks the text short: Base64Decoder decides what is left then.
    if (significant % 4 != 0 || paddingUnits != trailingPadding || trailingPadding > 2) {
        shape_ = Shape::Irregular;
        return;
    }
    shape_ = Shape::Regular;
    length_ = static_cast<int32_t>((3 * (int64_t{significant} - trailingPadding - 1) + 3) / 4);
}

void Base64Index::read(int64_t offset, int32_t count, unsigned char* out) const noexcept {
    if (shape_ != Shape::Regular || count <= 0)
        return;
    const int64_t quantum = offset / 3;
    const auto target = static_cast<uint32_t>(quantum * 4);
    // The last block that starts at or before the target's significant unit.
    const auto block = std::upper_bound(significantBefore_.begin(), significantBefore_.end(), target) - 1;
    const char16_t* p = text_ + (block - significantBefore_.begin()) * blockUnits;
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
