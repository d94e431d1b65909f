#include "XmlTestSupport.h"

#include "xml/Base64Decoder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using XmlTest::utf8;

namespace {

struct DecodeCase {
    const char* text;
    std::vector<unsigned char> bytes;  // the decoded bytes that are valid
    int32_t length;                    // what decodedLength announces
    XmlError error;
    bool returnsBuffer;
};

TEST(Base64DecoderTest, DecodesTextAndReportsItsStatus) {
    const DecodeCase cases[] = {
        {"QUJD", {0x41, 0x42, 0x43}, 3, XmlError::None, true},
        {"QUI=", {0x41, 0x42}, 2, XmlError::None, true},
        {"QQ==", {0x41}, 1, XmlError::None, true},
        {"QU JD", {0x41, 0x42, 0x43}, 3, XmlError::None, true},
        {"\tQU\nJD\r\n", {0x41, 0x42, 0x43}, 3, XmlError::None, true},
        {"AAECAwQF/+7d", {0, 1, 2, 3, 4, 5, 0xFF, 0xEE, 0xDD}, 9, XmlError::None, true},
        // Trailing white space hides the padding, so the length is overestimated.
        {"QQ==\n", {0x41}, 3, XmlError::Base64Truncated, true},
        {"QUJDQQ", {0x41, 0x42, 0x43, 0x41}, 4, XmlError::Base64Truncated, true},
        {"QUJD=", {0x41, 0x42, 0x43}, 3, XmlError::None, true},
        {"QU*D", {}, 0, XmlError::Base64BadCharacter, false},
        {"QUJ\u0141", {}, 0, XmlError::Base64BadCharacter, false},
        {"QUJ-", {}, 0, XmlError::Base64BadCharacter, false},
        {"Q", {}, 0, XmlError::Base64BadLength, false},
        {"", {}, 0, XmlError::None, false},
        {" \r\n", {}, 0, XmlError::None, false},
        {"====", {}, 0, XmlError::None, false},
    };
    for (const DecodeCase& c : cases) {
        Base64Decoder decoder;
        int32_t length = -1;
        XmlError error = XmlError::NullInput;
        const unsigned char* bytes = decoder.decode(c.text, &length, &error);
        EXPECT_EQ(length, c.length) << utf8(c.text);
        EXPECT_EQ(error, c.error) << utf8(c.text);
        ASSERT_EQ(bytes != nullptr, c.returnsBuffer) << utf8(c.text);
        if (bytes != nullptr) {
            EXPECT_EQ(std::vector<unsigned char>(bytes, bytes + c.bytes.size()), c.bytes) << utf8(c.text);
        }
    }
}

TEST(Base64DecoderTest, NullTextGivesStaticEmptyBytes) {
    Base64Decoder decoder;
    int32_t length = -1;
    XmlError error = XmlError::BadEntity;
    EXPECT_NE(decoder.decode(std::string_view(), &length, &error), nullptr);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(error, XmlError::None);
    EXPECT_EQ(decoder.capacity(), 0);
}

struct IntoCase {
    const char* text;
    int32_t length;
    Base64Status status;
    XmlError error;
};

TEST(Base64DecoderTest, DecodeIntoComparesTheDataWithTheExpectedLength) {
    const IntoCase cases[] = {
        {"QUJD", 3, Base64Complete, XmlError::None},
        {"QUJD", 5, Base64Complete, XmlError::None},  // ends at a quantum boundary
        {"QUJD", 2, Base64Failed, XmlError::Base64TooLong},
        {"QUJD", 0, Base64Failed, XmlError::Base64TooLong},
        {"QUJDQQ==", 3, Base64Failed, XmlError::Base64TooLong},
        {"QUI=", 2, Base64Complete, XmlError::None},
        {"QUI=", 3, Base64Partial, XmlError::Base64Truncated},
        {"QUI=QUI=", 2, Base64Complete, XmlError::None},  // padding at the expected length ends it
        {"QQ==", 1, Base64Complete, XmlError::None},
        {"QQ==", 2, Base64Partial, XmlError::Base64Truncated},
        {"=", 0, Base64Complete, XmlError::None},
        {"=", 1, Base64Partial, XmlError::Base64Truncated},
        {"QU", 1, Base64Partial, XmlError::Base64Truncated},
        {"Q", 1, Base64Partial, XmlError::Base64Truncated},
        {"Q=", 1, Base64Partial, XmlError::Base64Truncated},
        {"QUJ", 3, Base64Partial, XmlError::Base64Truncated},
        {"QU?D", 3, Base64Failed, XmlError::Base64BadCharacter},
        {"", 0, Base64Complete, XmlError::None},
    };
    for (const IntoCase& c : cases) {
        unsigned char destination[8] = {};
        XmlError error = XmlError::NullInput;
        EXPECT_EQ(Base64Decoder::decodeInto(c.text, destination, c.length, &error), c.status)
            << utf8(c.text) << " " << c.length;
        EXPECT_EQ(error, c.error) << utf8(c.text) << " " << c.length;
    }
}

TEST(Base64DecoderTest, NullTextLeavesTheErrorUntouched) {
    XmlError error = XmlError::BadEntity;
    EXPECT_EQ(Base64Decoder::decodedLength(std::string_view(), &error), 0);
    EXPECT_EQ(Base64Decoder::decodeInto(std::string_view(), nullptr, 0, &error), Base64Failed);
    EXPECT_EQ(error, XmlError::BadEntity);
    EXPECT_EQ(Base64Decoder::decodedLength("QUJD", nullptr), 3);
}

TEST(Base64DecoderTest, BufferIsReusedAndOnlyGrows) {
    Base64Decoder decoder;
    const std::string longText(400, 'A');
    const unsigned char* first = decoder.decode(longText.c_str(), nullptr, nullptr);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(decoder.capacity(), 301);
    const unsigned char* second = decoder.decode("QUJD", nullptr, nullptr);
    EXPECT_EQ(second, first);
    EXPECT_EQ(decoder.capacity(), 301);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(second), 3), "ABC");
    const std::string longer(800, 'A');
    ASSERT_NE(decoder.decode(longer.c_str(), nullptr, nullptr), nullptr);
    EXPECT_EQ(decoder.capacity(), 601);
    decoder.freeBuffer();
    EXPECT_EQ(decoder.capacity(), 0);
    EXPECT_EQ(decoder.decode("QQ==", nullptr, nullptr)[0], 0x41);
    EXPECT_EQ(decoder.capacity(), 2);
}

}  // namespace
