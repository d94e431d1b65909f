#include "xml/XmlNumbers.h"

#include <charconv>
#include <limits>

namespace {

bool isCSpace(char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

// The C library's number prefix: white space, then an optional sign. Document text is not
// zero-terminated, so every read checks the end.
const char* skipSpaceAndSign(const char* p, const char* end, bool& negative) noexcept {
    while (p != end && isCSpace(*p))
        ++p;
    negative = p != end && *p == '-';
    if (p != end && (*p == '-' || *p == '+'))
        ++p;
    return p;
}

// Whether a number that the conversion cannot represent is too large rather than too small:
// the decimal exponent of its first significant digit tells, and it is far from 0 either way.
bool decimalIsLarge(const char* digits, const char* end) {
    int64_t integerDigits = 0;
    int64_t firstSignificant = -1;  // index among the mantissa digits, the point left out
    int64_t index = 0;
    bool seenPoint = false;
    const char* p = digits;
    for (; p != end && *p != 'e' && *p != 'E'; ++p) {
        if (*p == '.') {
            seenPoint = true;
            continue;
        }
        if (!seenPoint)
            ++integerDigits;
        if (firstSignificant < 0 && *p != '0')
            firstSignificant = index;
        ++index;
    }
    int64_t magnitude = integerDigits - 1 - firstSignificant;
    if (p != end) {
        ++p;
        const bool negative = *p == '-';
        if (*p == '-' || *p == '+')
            ++p;
        int64_t exponent = 0;
        for (; p != end; ++p)
            exponent = exponent < 1000000000 ? exponent * 10 + (*p - '0') : exponent;
        magnitude += negative ? -exponent : exponent;
    }
    return magnitude > 0;
}

}  // namespace

int32_t parseIntOr(std::string_view text, int32_t fallback) noexcept {
    if (text.empty())
        return fallback;
    const char* end = text.data() + text.size();
    bool negative = false;
    const char* p = skipSpaceAndSign(text.data(), end, negative);
    // Saturate one past the 32-bit range so that long digit runs never overflow.
    constexpr int64_t limit = int64_t{1} << 31;
    int64_t value = 0;
    for (; p != end && isDigit(*p); ++p) {
        value = value * 10 + (*p - '0');
        if (value > limit)
            value = limit;
    }
    if (negative)
        return static_cast<int32_t>(-value);
    return value >= limit ? std::numeric_limits<int32_t>::max() : static_cast<int32_t>(value);
}

double parseDoubleOr(std::string_view text, double fallback) noexcept {
    if (text.empty())
        return fallback;
    const char* end = text.data() + text.size();
    bool negative = false;
    const char* p = skipSpaceAndSign(text.data(), end, negative);
    const char* start = p;
    int64_t mantissaDigits = 0;
    int64_t fractionDigits = 0;
    uint64_t mantissa = 0;  // exact while mantissaDigits <= 19
    while (p != end && isDigit(*p)) {
        mantissa = mantissa * 10 + static_cast<uint64_t>(*p - '0');
        ++p, ++mantissaDigits;
    }
    if (p != end && *p == '.') {
        ++p;
        while (p != end && isDigit(*p)) {
            mantissa = mantissa * 10 + static_cast<uint64_t>(*p - '0');
            ++p, ++mantissaDigits, ++fractionDigits;
        }
    }
    if (mantissaDigits == 0)
        return fallback;
    // Up to 15 digits and no exponent, the usual attribute: both the digits and the power of ten
    // are exact doubles, so one division rounds exactly as the full conversion would.
    const bool exponentMark = p != end && (*p == 'e' || *p == 'E');
    if (mantissaDigits <= 15 && !exponentMark) {
        static constexpr double powers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7,
                                            1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
        const double value = static_cast<double>(mantissa) / powers[fractionDigits];
        return negative ? -value : value;
    }
    if (exponentMark) {
        const char* exponent = p + 1;
        if (exponent != end && (*exponent == '-' || *exponent == '+'))
            ++exponent;
        if (exponent != end && isDigit(*exponent)) {
            while (exponent != end && isDigit(*exponent))
                ++exponent;
            p = exponent;
        }
    }
    // from_chars rounds correctly and knows nothing of the locale.
    double value = 0.0;
    const auto error = std::from_chars(start, p, value, std::chars_format::general).ec;
    if (error == std::errc::result_out_of_range)
        value = decimalIsLarge(start, p) ? std::numeric_limits<double>::infinity() : 0.0;
    return negative ? -value : value;
}
