#include "xml/Base64Decoder.h"

#include "xml/Base64Table.h"

#include <cstdlib>
#include <new>

namespace {

using Base64Table::classify;
using Base64Table::endOfText;
using Base64Table::invalid;
using Base64Table::padding;
using Base64Table::whiteSpace;

void setError(XmlError* error, XmlError value) {
    if (error != nullptr)
        *error = value;
}

// The next character that is not white space, as its table entry; p moves past it. endOfText
// at the end.
uint8_t nextSignificant(const char*& p, const char* end) {
    for (; p != end; ++p) {
        const uint8_t entry = classify(*p);
        if (entry != whiteSpace) {
            ++p;
            return entry;
        }
    }
    return endOfText;
}

// The third and fourth units of a quantum share their rules: where the expected length is
// reached only padding may follow; before it, padding means the data was cut short.
bool lateUnitEnds(uint8_t entry, int32_t written, int32_t length, XmlError* error, Base64Status& status) {
    if (entry == endOfText) {
        setError(error, XmlError::Base64Truncated);
        status = Base64Partial;
        return true;
    }
    if (written == length) {
        if (entry == padding) {
            status = Base64Complete;
        } else {
            setError(error, XmlError::Base64TooLong);
            status = Base64Failed;
        }
        return true;
    }
    if (entry == padding) {
        setError(error, XmlError::Base64Truncated);
        status = Base64Partial;
        return true;
    }
    return false;
}

}  // namespace

Base64Decoder::~Base64Decoder() {
    freeBuffer();
}

int32_t Base64Decoder::decodedLength(std::string_view text, XmlError* error) noexcept {
    if (text.data() == nullptr)
        return 0;
    setError(error, XmlError::None);
    int64_t significant = 0;
    for (const char c : text) {
        const uint8_t entry = classify(c);
        if (entry == invalid) {
            setError(error, XmlError::Base64BadCharacter);
            return 0;
        }
        significant += entry < whiteSpace ? 1 : 0;
    }
    if (significant % 4 != 0)
        setError(error, XmlError::Base64BadLength);
    if (significant == 0)
        return 0;
    // Only padding right at the end counts: white space after it hides it.
    int64_t trailingPadding = 0;
    for (size_t i = text.size(); i > 0 && text[i - 1] == '='; --i)
        ++trailingPadding;
    return static_cast<int32_t>((3 * (significant - trailingPadding - 1) + 3) / 4);
}

Base64Status Base64Decoder::decodeInto(std::string_view text, unsigned char* destination, int32_t length,
                                       XmlError* error, int32_t* writtenOut) noexcept {
    // Counted in place, so that every way out below reports what was written.
    int32_t ignored = 0;
    int32_t& written = writtenOut != nullptr ? *writtenOut : ignored;
    written = 0;
    if (text.data() == nullptr)
        return Base64Failed;
    setError(error, XmlError::None);
    const char* p = text.data();
    const char* end = p + text.size();
    Base64Status status = Base64Failed;
    for (;;) {
        const uint8_t first = nextSignificant(p, end);
        if (first == invalid)
            break;
        if (first == endOfText)
            return Base64Complete;
        if (first == padding) {
            if (written == length)
                return Base64Complete;
            setError(error, XmlError::Base64Truncated);
            return Base64Partial;
        }

        const uint8_t second = nextSignificant(p, end);
        if (second == invalid)
            break;
        if (second == endOfText || second == padding) {
            setError(error, XmlError::Base64Truncated);
            return Base64Partial;
        }
        if (written == length) {
            setError(error, XmlError::Base64TooLong);
            return Base64Failed;
        }
        destination[written++] = static_cast<unsigned char>((first << 2) | (second >> 4));

        const uint8_t third = nextSignificant(p, end);
        if (third == invalid)
            break;
        if (lateUnitEnds(third, written, length, error, status))
            return status;
        destination[written++] = static_cast<unsigned char>(((second & 15) << 4) | (third >> 2));

        const uint8_t fourth = nextSignificant(p, end);
        if (fourth == invalid)
            break;
        if (lateUnitEnds(fourth, written, length, error, status))
            return status;
        destination[written++] = static_cast<unsigned char>(((third & 3) << 6) | fourth);
    }
    setError(error, XmlError::Base64BadCharacter);
    return Base64Failed;
}

const unsigned char* Base64Decoder::decode(std::string_view text, int32_t* length, XmlError* error) {
    static const unsigned char emptyBytes[1] = {0};
    setError(error, XmlError::None);
    written_ = 0;
    if (text.data() == nullptr) {
        if (length != nullptr)
            *length = 0;
        return emptyBytes;
    }
    const int32_t needed = decodedLength(text, error);
    if (length != nullptr)
        *length = needed;
    if (needed == 0)
        return nullptr;
    // The buffer only grows, so a decoder that meets many texts allocates for the longest once.
    if (capacity_ < needed + 1) {
        void* grown = std::realloc(buffer_, static_cast<size_t>(needed) + 1);
        if (grown == nullptr)
            throw std::bad_alloc();
        buffer_ = static_cast<unsigned char*>(grown);
        capacity_ = needed + 1;
    }
    return decodeInto(text, buffer_, needed, error, &written_) == Base64Failed ? nullptr : buffer_;
}

void Base64Decoder::freeBuffer() noexcept {
    std::free(buffer_);
    buffer_ = nullptr;
    capacity_ = 0;
}
