#pragma once
// Decoding of base64 text (RFC 4648 alphabet, white space anywhere) into a buffer that one
// decoder owns and reuses.

#include "xml/XmlNode.h"

// Outcome of decodeInto.
enum Base64Status : int32_t {
    Base64Failed = 0,    // bad character, or more data than expected
    Base64Partial = 1,   // the data ended before the expected length
    Base64Complete = 2,  // the expected length, or text that ended at a quantum boundary
};

class Base64Decoder {
public:
    Base64Decoder() noexcept = default;
    Base64Decoder(const Base64Decoder&) = delete;
    Base64Decoder& operator=(const Base64Decoder&) = delete;
    ~Base64Decoder();

    // Bytes the text decodes to, computed from its significant characters and trailing padding;
    // 0 for null text (error untouched), on error, or for empty text. error may be null.
    static int32_t decodedLength(std::string_view text, XmlError* error) noexcept;
    // Decodes text into destination, which has room for length bytes; *written, when given,
    // receives the bytes it wrote (fewer than length when the data ends early). error may be null.
    static Base64Status decodeInto(std::string_view text, unsigned char* destination, int32_t length,
                                   XmlError* error, int32_t* written = nullptr) noexcept;
    // The decoded bytes in this decoder's buffer (valid until the next decode or freeBuffer), a
    // static empty string for null text, null on failure or when nothing decodes. *length
    // receives decodedLength. length and error may be null.
    const unsigned char* decode(std::string_view text, int32_t* length, XmlError* error);
    // Releases the buffer; the next decode allocates again.
    void freeBuffer() noexcept;

    // Size of the buffer in bytes; 0 without one.
    int32_t capacity() const noexcept { return capacity_; }
    // Bytes the last decode really wrote: its length, or fewer for data that ended early.
    int32_t written() const noexcept { return written_; }

private:
    unsigned char* buffer_ = nullptr;
    int32_t capacity_ = 0;
    int32_t written_ = 0;
};
