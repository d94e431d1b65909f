// parseDoubleOr on plain decimals, the form of nearly every attribute, against the C library's
// conversion: short ones take a shortcut that must round exactly as the full conversion does.

#include "XmlTestSupport.h"
#include "xml/XmlNumbers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>

namespace {

TEST(DoubleReaderTest, PlainDecimalsMatchTheCLibrary) {
    std::setlocale(LC_NUMERIC, "C");
    std::mt19937_64 random(5);
    for (int i = 0; i < 200000; ++i) {
        std::string text = random() % 4 == 0 ? "-" : "";
        const int integerDigits = static_cast<int>(random() % 12);
        const int fractionDigits = static_cast<int>(random() % 10);
        for (int k = 0; k < integerDigits; ++k)
            text += static_cast<char>('0' + random() % 10);
        if (fractionDigits > 0 || integerDigits == 0) {
            text += '.';
            for (int k = 0; k < std::max(1, fractionDigits); ++k)
                text += static_cast<char>('0' + random() % 10);
        }
        const double expected = std::strtod(text.c_str(), nullptr);
        const double actual = parseDoubleOr(text, 99.0);
        ASSERT_EQ(std::signbit(actual), std::signbit(expected)) << text;
        ASSERT_EQ(actual, expected) << text;
    }
}

}  // namespace
