#include "xml/Base64Index.h"

#include "xml/Base64Table.h"

#include <algorithm>

using Base64Table::classify;

Base64Index::Base64Index(std::string_view text) : text_(text.data()) {
    if (text.data() == nullptr)
        return;
    // The blocks of the index also keep the loop free of other branches: per byte it only
    // counts, and leaves on a byte outside the alphabet.
    uint32_t significant = 0;
    uint32_t paddingUnits = 0;
    const char* p = text.data();
    const char* end = p + text.size();
    for (;;) {
        significantBefore_.push_back(significant);
        const char* blockEnd = end - p > blockUnits ? p + blockUnits : end;
        uint8_t entry = 0;
        // A few instructions per byte over curves of millions of bytes: unrolling pays.
#pragma GCC unroll 8
        for (; p != blockEnd; ++p) {
            entry = classify(*p);
            if (entry > Base64Table::whiteSpace)
                break;
            significant += entry < Base64Table::whiteSpace ? 1 : 0;
            paddingUnits += entry == Base64Table::padding ? 1 : 0;
        }
        if (entry > Base64Table::whiteSpace)
            return;
        if (p == end)
            break;
    }
    const char* first = text.data();
    if (significant == 0)
        return;
    uint32_t trailingPadding = 0;
    for (const char* q = end; q != first && q[-1] == '='; --q)
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
