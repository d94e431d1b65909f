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
#include <utility>
#include <vector>

namespace {

std::string printfString(const std::string& format, double value) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format.c_str(), value);
    return buffer;
}

// Fixed values where rounding, exponents and padding change; finite doubles spread over every
// exponent by their raw bits; the magnitudes the page shows; and for few decimals, which are
// formatted in integer arithmetic, exact binary ties at every scale and fractions just off one.
std::vector<double> sampleValues() {
    std::vector<double> values = {
        0.0, -0.0, 1.0, -1.0, 0.5, 0.125, 0.375, 2.5, -2.5, 0.05, 0.15, 0.25, 1.005, 99.95, 99.995,
        1.0 / 3.0, 2.0 / 3.0, 1e-7, 1e-5, 1e-4, 0.0001234, 123.456, 123456.5, 999999.5, 1e15, 1e16,
        1e17, 1e21, 4294967296.0, 9007199254740993.0, 1.7976931348623157e308, 2.2250738585072014e-308,
        5e-324, -1.5e3, 12.345678901234567, 0.1, 0.7, 100.0, 9007199254740991.0, 9007199254740992.0,
        -9007199254740991.5, 4503599627370495.5, 0.0005, 0.0015, 0.0025, 1.0005, 2.675, 1.45, 0.045};
    std::mt19937_64 random(20240501);
    for (int i = 0; i < 1000; ++i) {
        const uint64_t bits = random();
        double value;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isfinite(value))
            values.push_back(value);
        values.push_back(std::ldexp(static_cast<double>(random() % 2000000) - 1000000.0,
                                    static_cast<int>(random() % 40) - 30));
    }
    for (int shift = 0; shift <= 80; ++shift)
        for (int i = 0; i < 20; ++i) {
            const auto k = static_cast<double>(random() % (uint64_t{1} << (1 + random() % 53)));
            values.push_back(std::ldexp(k, -shift));
            values.push_back(-std::ldexp(k + 0.5, -shift));
        }
    for (int thousandths = 0; thousandths < 20000; thousandths += 7)
        values.push_back(thousandths / 1000.0 + 0.0005);
    // For %g, formatted in integer arithmetic from 1e-4 to 2^52: means and rates as the page
    // computes them, and the neighbours of every power of ten there, where the exponent turns.
    for (int i = 0; i < 3000; ++i) {
        const double numerator = static_cast<double>(random() % 100000000);
        const double denominator = static_cast<double>(1 + random() % 1000000);
        values.push_back(numerator / denominator);
        values.push_back(-numerator / denominator / 1000.0);
    }
    for (double power = 1e-5; power < 1e17; power *= 10) {
        double below = power;
        double above = power;
        for (int i = 0; i < 20; ++i) {
            below = std::nextafter(below, 0.0);
            above = std::nextafter(above, 1e300);
            values.push_back(below);
            values.push_back(above);
        }
        values.push_back(power * 0.99999999999999995);
        values.push_back(power * 9.9999999999999995);
        values.push_back(power * 9.99999949999);
        values.push_back(power * 9.9999995);
    }
    return values;
}

class NumberFormatTest : public testing::Test {
protected:
    static void SetUpTestSuite() { std::setlocale(LC_NUMERIC, "C"); }
    const std::vector<double> values = sampleValues();
};

TEST_F(NumberFormatTest, GMatchesPrintfForEveryPrecision) {
    for (int precision = 0; precision <= 17; ++precision)
        for (double value : values)
            ASSERT_EQ(NumberFormat::g(value, precision), printfString("%." + std::to_string(precision) + "g", value))
                << precision << " of " << printfString("%.17g", value);
}

TEST_F(NumberFormatTest, FixedMatchesPrintfForDecimalsAndWidths) {
    for (int decimals : {0, 1, 2, 3, 6})
        for (int width : {0, 5, 9, 12})
            for (double value : values) {
                if (std::fabs(value) > 1e30)
                    continue;  // hundreds of digits add nothing here
                const std::string format = "%" + std::to_string(width) + "." + std::to_string(decimals) + "f";
                ASSERT_EQ(NumberFormat::fixed(value, decimals, width), printfString(format, value))
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

class NumberFormatLiteralTest : public testing::TestWithParam<std::pair<std::string, const char*>> {};

TEST_P(NumberFormatLiteralTest, Spelling) { EXPECT_EQ(GetParam().first, GetParam().second); }

constexpr double inf = std::numeric_limits<double>::infinity();
const double nan = std::numeric_limits<double>::quiet_NaN();
const double negativeNan = std::copysign(std::numeric_limits<double>::quiet_NaN(), -1.0);

INSTANTIATE_TEST_SUITE_P(NumberFormat, NumberFormatLiteralTest, testing::Values(
    std::pair{NumberFormat::fixed(0.125, 2), "0.12"},
    std::pair{NumberFormat::fixed(-0.001, 2), "-0.00"},
    std::pair{NumberFormat::g(-0.0), "-0"},
    std::pair{NumberFormat::g(1e-5), "1e-05"},
    std::pair{NumberFormat::g(100.0, 2), "1e+02"},
    std::pair{NumberFormat::g(inf), "inf"},
    std::pair{NumberFormat::g(-inf), "-inf"},
    std::pair{NumberFormat::g(negativeNan), "nan"},
    std::pair{NumberFormat::fixed(-inf, 1, 10), "      -inf"},
    std::pair{NumberFormat::fixed(negativeNan, 1, 10), "       nan"},
    std::pair{NumberFormat::jsG(inf, 16), "null"},
    std::pair{NumberFormat::jsG(nan, 6), "null"},
    std::pair{NumberFormat::jsFixed(-inf, 2), "null"},
    std::pair{NumberFormat::jsG(0.5, 6), "0.5"},
    std::pair{NumberFormat::jsFixed(-0.125, 2, 6), " -0.12"}));

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
