#include "XmlTestSupport.h"

#include "xml/Base64Decoder.h"
#include "xml/Base64Index.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using XmlTest::utf8;

namespace {

using Shape = Base64Index::Shape;

// Every read of regular text, at every offset and for every count, gives the bytes of the
// whole decode.
void expectReadsMatchDecoder(const std::string& text) {
    const Base64Index index(text.c_str());
    ASSERT_EQ(index.shape(), Shape::Regular) << utf8(text.c_str());
    Base64Decoder decoder;
    int32_t length = 0;
    XmlError error = XmlError::NullInput;
    const unsigned char* bytes = decoder.decode(text.c_str(), &length, &error);
    ASSERT_NE(bytes, nullptr);
    ASSERT_EQ(error, XmlError::None);
    ASSERT_EQ(index.length(), length);
    const std::vector<unsigned char> expected(bytes, bytes + length);
    for (int32_t count : {1, 2, 3, 8}) {
        for (int32_t offset = 0; offset + count <= length; ++offset) {
            std::vector<unsigned char> read(static_cast<size_t>(count));
            index.read(offset, count, read.data());
            ASSERT_EQ(read, std::vector<unsigned char>(expected.begin() + offset, expected.begin() + offset + count))
                << "offset " << offset << " count " << count;
        }
    }
}

struct ShapeCase {
    const char* text;
    Shape shape;
};

TEST(Base64IndexTest, TellsTheShapeOfTheText) {
    const ShapeCase cases[] = {
        {"QUJD", Shape::Regular},
        {"QUI=", Shape::Regular},
        {"QQ==", Shape::Regular},
        {"\tQU\nJD\r\n", Shape::Regular},
        {"QUJD=", Shape::Irregular},       // a length that is no multiple of 4
        {"QQ==\n", Shape::Irregular},      // white space hides the padding
        {"QQ==QUJD", Shape::Irregular},    // padding before the end
        {"Q===", Shape::Irregular},        // more padding than a quantum holds
        {"====", Shape::Irregular},
        {"QUJDQQ", Shape::Irregular},
        {"QU*D", Shape::Unusable},
        {"QUJ\u0141", Shape::Unusable},
        {"", Shape::Unusable},
        {" \r\n", Shape::Unusable},
    };
    for (const ShapeCase& c : cases) {
        const Base64Index index(c.text);
        EXPECT_EQ(index.shape(), c.shape) << utf8(c.text);
        if (c.shape != Shape::Regular) {
            EXPECT_EQ(index.length(), 0) << utf8(c.text);
        }
    }
    EXPECT_EQ(Base64Index(std::string_view()).shape(), Shape::Unusable);
    // A document's text is a view: what follows it in the document is no part of it.
    EXPECT_EQ(Base64Index(std::string_view("QUJD</x>", 4)).shape(), Shape::Regular);
}

TEST(Base64IndexTest, ReadsShortTextsLikeTheDecoder) {
    for (const char* text : {"QUJD", "QUI=", "QQ==", " Q U J D ", "AAECAwQF/+7d", "AAECAwQF/+7d\nQUI="})
        expectReadsMatchDecoder(text);
}

// Long text across many blocks of the index: lines of various lengths, indented, with runs of
// white space longer than a block and quanta split across lines.
TEST(Base64IndexTest, ReadsLongIndentedTextLikeTheDecoder) {
    static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::mt19937 random(7);
    for (int padding = 0; padding <= 2; ++padding) {
        std::string text;
        const int significant = 4 * 700;
        for (int i = 0; i < significant - padding; ++i) {
            text += static_cast<char>(alphabet[random() % 64]);
            if (random() % 53 == 0)
                text += "\n        ";
            if (random() % 401 == 0)
                text += std::string(300 + random() % 300, ' ');
        }
        text += std::string(static_cast<size_t>(padding), '=');
        expectReadsMatchDecoder(text);
    }
}

}  // namespace
