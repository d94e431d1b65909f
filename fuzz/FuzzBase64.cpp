// Decodes arbitrary text twice with one decoder, so that buffer reuse is exercised too, and holds
// the index that the charts read regular text through against the decoder: every read of text
// the index calls regular must give the decoder's bytes.
#include "xml/Base64Decoder.h"
#include "xml/Base64Index.h"

#include <algorithm>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    Base64Decoder decoder;
    int32_t length = 0;
    XmlError error = XmlError::None;
    const unsigned char* bytes = decoder.decode(text, &length, &error);
    const Base64Index index(text);
    if (index.shape() == Base64Index::Shape::Unusable && bytes != nullptr)
        __builtin_trap();
    if (index.shape() == Base64Index::Shape::Regular) {
        if (bytes == nullptr || error != XmlError::None || length != index.length())
            __builtin_trap();
        // Reads at offsets and of sizes taken from the input, then the whole.
        std::vector<unsigned char> read(static_cast<size_t>(length));
        for (size_t k = 0; k + 1 < size && k < 32; k += 2) {
            const auto offset = static_cast<int32_t>((data[k] * 131u + data[k + 1]) % static_cast<unsigned>(length));
            const int32_t count = std::min<int32_t>(1 + data[k + 1] % 64, length - offset);
            index.read(offset, count, read.data());
            if (std::memcmp(read.data(), bytes + offset, static_cast<size_t>(count)) != 0)
                __builtin_trap();
        }
        index.read(0, length, read.data());
        if (std::memcmp(read.data(), bytes, static_cast<size_t>(length)) != 0)
            __builtin_trap();
    }
    (void)decoder.decode(text.substr(size / 2), &length, &error);
    return 0;
}
