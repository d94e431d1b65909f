// The index's sixteen-at-once pass against its byte-by-byte pass and the decoder, over generated
// texts: curve-like lines, stray bytes, padding in and out of place, every length around a block.

#include "xml/Base64Decoder.h"
#include "xml/Base64Index.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

namespace {

const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Significant units broken into lines as the chart documents break them, then spoiled in one of
// several ways, or not at all.
std::string generatedText(std::mt19937& random) {
    const int units = static_cast<int>(random() % 1200);
    const int lineLength = random() % 3 == 0 ? 1 + static_cast<int>(random() % 100) : 76;
    const std::string lineBreak = random() % 2 == 0 ? "\n        " : std::string(1, " \t\r\n"[random() % 4]);
    std::string text;
    for (int i = 0; i < units; ++i) {
        if (i > 0 && i % lineLength == 0)
            text += lineBreak;
        text += alphabet[random() % 64];
    }
    const int padding = static_cast<int>(random() % 4);
    if (random() % 2 == 0 && text.size() >= static_cast<size_t>(padding))
        text.replace(text.size() - static_cast<size_t>(padding), static_cast<size_t>(padding),
                     std::string(static_cast<size_t>(padding), '='));
    switch (random() % 8) {
    case 0:  // any byte at all somewhere
        if (!text.empty())
            text[random() % text.size()] = static_cast<char>(random() % 256);
        break;
    case 1:  // padding before the end
        if (!text.empty())
            text[random() % text.size()] = '=';
        break;
    case 2:  // white space after the padding
        text += " \n";
        break;
    case 3:  // a byte just outside one of the alphabet's ranges
        if (!text.empty())
            text[random() % text.size()] = "@[`{/:,-.*"[random() % 10];
        break;
    default:
        break;
    }
    return text;
}

// Answers the shape, so that a run can show it met every shape.
Base64Index::Shape expectSameIndex(const std::string& text) {
    const std::string_view view(text);
    const Base64Index fast(view);
    const Base64Index reference = Base64Index::byteByByte(view);
    EXPECT_EQ(static_cast<int>(fast.shape()), static_cast<int>(reference.shape())) << text;
    EXPECT_EQ(fast.length(), reference.length()) << text;
    // The length a decode of the text allocates, for every shape but the unusable.
    if (fast.shape() != Base64Index::Shape::Unusable)
        EXPECT_EQ(fast.decodedLength(), Base64Decoder::decodedLength(view, nullptr)) << text;
    else
        EXPECT_EQ(fast.decodedLength(), 0) << text;
    if (fast.shape() != Base64Index::Shape::Regular)
        return fast.shape();
    Base64Decoder decoder;
    int32_t length = 0;
    const unsigned char* bytes = decoder.decode(view, &length, nullptr);
    EXPECT_TRUE(bytes != nullptr && length == fast.length() && decoder.written() == length) << text;
    for (int32_t offset = 0; bytes != nullptr && offset < length; offset += 1 + offset % 7) {
        const int32_t count = std::min<int32_t>(8, length - offset);
        unsigned char read[8] = {};
        fast.read(offset, count, read);
        EXPECT_EQ(std::memcmp(read, bytes + offset, static_cast<size_t>(count)), 0) << text << " at " << offset;
    }
    return fast.shape();
}

TEST(Base64IndexTest, VectorPassAnswersAsTheByteByBytePass) {
    std::mt19937 random(77);
    int shapes[3] = {};
    for (int i = 0; i < 20000; ++i)
        ++shapes[static_cast<int>(expectSameIndex(generatedText(random)))];
    for (const int count : shapes)
        EXPECT_GT(count, 1000);
}

TEST(Base64IndexTest, EveryLengthAroundBlocksAndVectors) {
    std::mt19937 random(5);
    for (size_t length = 0; length <= 600; ++length) {
        std::string text;
        for (size_t i = 0; i < length; ++i)
            text += alphabet[random() % 64];
        expectSameIndex(text);
        // One stray byte at each place a vector or a block may start or end.
        for (const size_t at : {size_t{0}, size_t{15}, size_t{16}, size_t{255}, size_t{256}, length / 2, length - 1}) {
            if (at >= length)
                continue;
            for (const char stray : {'\0', '\x80', '\xff', '@', '-', '=', ' '}) {
                std::string spoiled = text;
                spoiled[at] = stray;
                expectSameIndex(spoiled);
            }
        }
    }
}

}  // namespace
