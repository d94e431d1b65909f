#pragma once
// Random access to the bytes of long base64 text without decoding all of it. One pass checks
// the text and notes, for every block of bytes, how many significant ones come before it; a
// read then decodes from the nearest block on. A chart curve of a million points is read for a
// few hundred of them, so this saves a buffer of the whole array and almost all of the decoding.

#include <cstdint>
#include <string_view>
#include <vector>

class Base64Index {
public:
    enum class Shape {
        Unusable,   // null text, a character outside the alphabet, or nothing significant in it
        Irregular,  // padding before the end, a length that is no multiple of 4, and the like:
                    // Base64Decoder alone knows what such text decodes to
        Regular,    // decodes completely, to exactly length() bytes
    };

    // Reads the whole text once; the text must stay alive and unchanged while reads are made.
    explicit Base64Index(std::string_view text);
    // The same index made one byte at a time, as the pass did before it read sixteen at once:
    // the tests hold the two to the same answers.
    static Base64Index byteByByte(std::string_view text);

    Shape shape() const noexcept { return shape_; }
    // Bytes that regular text decodes to (Base64Decoder::decodedLength); 0 for other shapes.
    int32_t length() const noexcept { return shape_ == Shape::Regular ? length_ : 0; }
    // Base64Decoder::decodedLength of regular and irregular text, counted by this pass, so that
    // a decode of irregular text needs no pass of its own for it; 0 for unusable text.
    int32_t decodedLength() const noexcept { return length_; }
    // Decodes count bytes from offset on into out. Regular text only, with offset + count <=
    // length().
    void read(int64_t offset, int32_t count, unsigned char* out) const noexcept;

private:
    static constexpr int64_t blockUnits = 256;

    enum class Pass { Bytes, Vectors };
    Base64Index(std::string_view text, Pass pass);
    // Counts one block's significant and padding units; false at a unit outside the alphabet.
    static bool countBytes(const char* p, const char* end, uint32_t& significant, uint32_t& padding) noexcept;
    static bool countVectors(const char* p, const char* end, uint32_t& significant, uint32_t& padding) noexcept;

    const char* text_ = nullptr;
    Shape shape_ = Shape::Unusable;
    int32_t length_ = 0;
    std::vector<uint32_t> significantBefore_;  // one entry per block of blockUnits units
};
