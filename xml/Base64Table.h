#pragma once
// The classification table shared by the base64 decoder and its random-access index: the value
// of each alphabet character, and markers for padding, white space, the end and the rest.

#include <array>
#include <cstdint>

namespace Base64Table {

constexpr uint8_t padding = 96;
constexpr uint8_t whiteSpace = 97;
constexpr uint8_t invalid = 98;
constexpr uint8_t endOfText = 99;  // no character: where the text ends

constexpr std::array<uint8_t, 256> makeDecodeTable() {
    std::array<uint8_t, 256> table{};
    table.fill(invalid);
    const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (uint8_t i = 0; i < 64; ++i)
        table[static_cast<unsigned char>(alphabet[i])] = i;
    table['='] = padding;
    for (char c : {'\t', '\n', '\r', ' '})
        table[static_cast<unsigned char>(c)] = whiteSpace;
    return table;
}

inline constexpr std::array<uint8_t, 256> decodeTable = makeDecodeTable();

inline uint8_t classify(char byte) noexcept {
    return decodeTable[static_cast<unsigned char>(byte)];
}

}  // namespace Base64Table
