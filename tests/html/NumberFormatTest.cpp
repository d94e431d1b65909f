// NumberFormat against the C library's own printf under the C locale, plus the edge values
// where the page relies on a particular spelling.

#include "html/NumberFormat.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

std::string printfString(const char* format, double value) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, value);
    return buffer;
}

// Fixed values where rounding, exponents and padding change, then finite doubles spread over
// every exponent by their raw bits.
std::vector<double> sampleValues() {
    std::vector<double> values = {
        0.0, -0.0, 1.0, -1.0, 0.5, 0.125, 0.375, 2.5, -2.5, 0.05, 0.15, 0.25, 1.005, 99.95,
        99.995, 1.0 / 3.0, 2.0 / 3.0, 1e-7, 1e-5, 1e-4, 0.0001234, 123.456, 123456.5, 999999.5,
        1e15, 1e16, 1e17, 1e21, 4294967296.0, 9007199254740993.0, 1.7976931348623157e308,
        2.2250738585072014e-308, 5e-324, -1.5e3, 12.345678901234567, 0.1, 0.7, 100.0};
    std::mt19937_64 random(20240501);
    while (values.size() < 2000) {
        const uint64_t bits = random();
        double value;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isfinite(value))
            values.push_back(value);
        // Ordinary magnitudes matter most: also draw from the range the page shows.
        values.push_back(std::ldexp(static_cast<double>(random() % 2000000) - 1000000.0,
                                    static_cast<int>(random() % 40) - 30));
    }
    return values;
}

class NumberFormatTest : public testing::Test {
protected:
    static void SetUpTestSuite() { std::setlocale(LC_NUMERIC, "C"); }
    const std::vector<double> values = sampleValues();
};

TEST_F(NumberFormatTest, GMatchesPrintfForEveryPrecision) {
    for (int precision = 0; precision <= 17; ++precision) {
        const std::string format = "%." + std::to_string(precision) + "g";
        for (double value : values)
            ASSERT_EQ(NumberFormat::g(value, precision),
                      printfString(format.c_str(), value))
                << format << " of " << printfString("%.17g", value);
    }
}

TEST_F(NumberFormatTest, FixedMatchesPrintfForDecimalsAndWidths) {
    for (int decimals : {0, 1, 2, 3, 6}) {
        for (int width : {0, 5, 10, 12}) {
            const std::string format = "%" + std::to_string(width) + "." + std::to_string(decimals) + "f";
            for (double value : values) {
                if (std::fabs(value) > 1e30)
                    continue;  // hundreds of digits add nothing here
                ASSERT_EQ(NumberFormat::fixed(value, decimals, width),
                          printfString(format.c_str(), value))
                    << format << " of " << printfString("%.17g", value);
            }
        }
    }
}

// Few decimals are formatted in integer arithmetic: exact binary ties at every scale, decimal
// fractions that sit just off a tie, and the edge of that arithmetic's range.
TEST_F(NumberFormatTest, FewDecimalsMatchPrintfAtTiesAndRangeEdges) {
    std::vector<double> tricky = {9007199254740991.0, 9007199254740992.0, -9007199254740991.5,
                                  4503599627370495.5, 0.0005, 0.0015, 0.0025, 1.0005, 2.675, 1.45, 0.045};
    std::mt19937_64 random(11);
    for (int shift = 0; shift <= 80; ++shift) {
        for (int i = 0; i < 40; ++i) {
            const auto k = static_cast<double>(random() % (uint64_t{1} << (1 + random() % 53)));
            tricky.push_back(std::ldexp(k, -shift));
            tricky.push_back(-std::ldexp(k + 0.5, -shift));
        }
    }
    for (int thousandths = 0; thousandths < 20000; ++thousandths)
        tricky.push_back(thousandths / 1000.0 + 0.0005);
    for (int decimals = 0; decimals <= 3; ++decimals) {
        const std::string format = "%9." + std::to_string(decimals) + "f";
        for (double value : tricky)
            ASSERT_EQ(NumberFormat::fixed(value, decimals, 9), printfString(format.c_str(), value))
                << format << " of " << printfString("%.17g", value);
    }
}

TEST(NumberFormatEdgeTest, IntegerMatchesPrintf) {
    for (long long value : {0LL, 1LL, -1LL, 42LL, 2147483647LL, -2147483648LL, 9007199254740993LL,
                            std::numeric_limits<long long>::max(), std::numeric_limits<long long>::min()})
        for (int width : {0, 3, 10}) {
            char buffer[64];
            std::snprintf(buffer, sizeof buffer, "%*lld", width, value);
            EXPECT_EQ(NumberFormat::integer(value, width), buffer);
        }
}

struct Literal {
    std::string actual;
    const char* expected;
};

class NumberFormatLiteralTest : public testing::TestWithParam<Literal> {};

TEST_P(NumberFormatLiteralTest, Spelling) { EXPECT_EQ(GetParam().actual, GetParam().expected); }

constexpr double inf = std::numeric_limits<double>::infinity();
const double nan = std::numeric_limits<double>::quiet_NaN();
const double negativeNan = std::copysign(std::numeric_limits<double>::quiet_NaN(), -1.0);

INSTANTIATE_TEST_SUITE_P(NumberFormat, NumberFormatLiteralTest, testing::Values(
    Literal{NumberFormat::fixed(0.125, 2), "0.12"},
    Literal{NumberFormat::fixed(0.375, 2), "0.38"},
    Literal{NumberFormat::fixed(2.5, 0), "2"},
    Literal{NumberFormat::fixed(-0.0, 2), "-0.00"},
    Literal{NumberFormat::fixed(-0.001, 2), "-0.00"},
    Literal{NumberFormat::g(-0.0), "-0"},
    Literal{NumberFormat::g(0.0), "0"},
    Literal{NumberFormat::g(1e-5), "1e-05"},
    Literal{NumberFormat::g(1e-7), "1e-07"},
    Literal{NumberFormat::g(1e16, 16), "1e+16"},
    Literal{NumberFormat::g(123456789.0), "1.23457e+08"},
    Literal{NumberFormat::g(100.0, 2), "1e+02"},
    Literal{NumberFormat::fixed(1e16, 1), "10000000000000000.0"},
    Literal{NumberFormat::integer(4294967296LL, 10), "4294967296"},
    Literal{NumberFormat::integer(7, 10), "         7"},
    Literal{NumberFormat::g(inf), "inf"},
    Literal{NumberFormat::g(-inf), "-inf"},
    Literal{NumberFormat::g(nan), "nan"},
    Literal{NumberFormat::g(negativeNan), "nan"},
    Literal{NumberFormat::fixed(inf, 1, 10), "       inf"},
    Literal{NumberFormat::fixed(-inf, 1, 10), "      -inf"},
    Literal{NumberFormat::fixed(negativeNan, 1, 10), "       nan"},
    Literal{NumberFormat::jsG(inf, 16), "null"},
    Literal{NumberFormat::jsG(nan, 6), "null"},
    Literal{NumberFormat::jsFixed(-inf, 2), "null"},
    Literal{NumberFormat::jsFixed(negativeNan, 2, 6), "null"},
    Literal{NumberFormat::jsG(0.5, 6), "0.5"},
    Literal{NumberFormat::jsFixed(-0.125, 2, 6), " -0.12"}));

TEST(NumberFormatEdgeTest, JsAppendersWriteNullForNonFinite) {
    std::string out;
    NumberFormat::appendJsG(out, inf, 6);
    out += ',';
    NumberFormat::appendJsFixed(out, nan, 2, 8);
    out += ',';
    NumberFormat::appendJsFixed(out, 1.5, 2, 6);
    EXPECT_EQ(out, "null,null,  1.50");
}

TEST(NumberFormatEdgeTest, IgnoresTheProcessNumericLocale) {
    // A comma-decimal locale, when the system has one, must not leak into the page.
    if (!std::setlocale(LC_NUMERIC, "de_DE.UTF-8") && !std::setlocale(LC_NUMERIC, "fr_FR.UTF-8"))
        GTEST_SKIP() << "no comma-decimal locale installed";
    const std::string g = NumberFormat::g(0.5);
    const std::string fixed = NumberFormat::fixed(1234.5, 1);
    std::setlocale(LC_NUMERIC, "C");
    EXPECT_EQ(g, "0.5");
    EXPECT_EQ(fixed, "1234.5");
}

}  // namespace
