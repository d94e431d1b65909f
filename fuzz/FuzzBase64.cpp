// Decodes arbitrary text twice with one decoder, so that buffer reuse is exercised too.
#include "xml/Base64Decoder.h"

#include <cstddef>
#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<char16_t> text(size + 1, u'\0');
    for (size_t i = 0; i < size; ++i)
        text[i] = data[i] == 0xFF ? u'\u0100' : static_cast<char16_t>(data[i]);
    Base64Decoder decoder;
    int32_t length = 0;
    XmlError error = XmlError::None;
    const unsigned char* bytes = decoder.decode(text.data(), &length, &error);
    volatile unsigned sum = 0;
    if (bytes && error != XmlError::Base64Truncated)
        for (int32_t i = 0; i < length; ++i)
            sum = sum + bytes[i];
    (void)decoder.decode(text.data() + size / 2, &length, &error);
    decoder.freeBuffer();
    return 0;
}
