#include "html/NumberFormat.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cmath>

namespace NumberFormat {
namespace {

// Right-aligns [begin, end) in width columns, as printf pads.
void appendPadded(std::string& out, const char* begin, const char* end, int width) {
    const auto length = static_cast<int>(end - begin);
    if (width > length)
        out.append(static_cast<size_t>(width - length), ' ');
    out.append(begin, static_cast<size_t>(length));
}

// std::to_chars follows printf's %g / %f rules exactly and ignores the process locale.
void appendNumber(std::string& out, double value, std::chars_format format, int precision,
                  int width) {
    char buffer[400];  // %.Nf of 1.7e308 needs ~310 digits
    const char* end;
    if (std::isnan(value)) {
        end = std::char_traits<char>::copy(buffer, "nan", 3) + 3;
    } else if (std::isinf(value)) {
        end = value < 0 ? std::char_traits<char>::copy(buffer, "-inf", 4) + 4
                        : std::char_traits<char>::copy(buffer, "inf", 3) + 3;
    } else {
        auto result = std::to_chars(buffer, buffer + sizeof buffer, value, format, precision);
        end = result.ptr;
    }
    appendPadded(out, buffer, end, width);
}

int gPrecision(int precision) { return precision == 0 ? 1 : precision; }

// Writes digits as a decimal with fractionDigits of them after the point (leading zeros as
// needed), and a minus sign when negative, backwards from end; answers where the text starts.
[[gnu::always_inline]] inline char* writeDecimal(char* end, uint64_t digits, int fractionDigits, bool negative) {
    char* p = end;
    for (int i = 0; i < fractionDigits; ++i) {
        *--p = static_cast<char>('0' + digits % 10);
        digits /= 10;
    }
    if (fractionDigits > 0)
        *--p = '.';
    do {
        *--p = static_cast<char>('0' + digits % 10);
        digits /= 10;
    } while (digits != 0);
    if (negative)
        *--p = '-';
    return p;
}

// %.<decimals>f of a finite value below 2^53 with at most 3 decimals, the numbers of the
// modality tables and charts, in integer arithmetic: the value is m * 2^e exactly, so
// value * 10^decimals is the integer m * 10^decimals shifted, and the bits shifted out decide
// the rounding, half to even like printf. False (nothing written) outside that range.
bool appendSmallFixed(std::string& out, double value, int decimals, int width) {
    if (decimals < 0 || decimals > 3 || !(std::fabs(value) < 9007199254740992.0))
        return false;
    const auto bits = std::bit_cast<uint64_t>(value);
    const auto biased = static_cast<int>((bits >> 52) & 0x7FF);
    const uint64_t fraction = bits & ((uint64_t{1} << 52) - 1);
    const uint64_t mantissa = biased == 0 ? fraction : fraction | (uint64_t{1} << 52);
    const int exponent = (biased == 0 ? 1 : biased) - 1075;
    static constexpr uint64_t powers[] = {1, 10, 100, 1000};
    // Below 2^53 times 1000, so within 64 bits.
    uint64_t scaled = mantissa * powers[decimals];
    if (exponent >= 0) {
        scaled <<= exponent;
    } else if (exponent <= -64) {
        scaled = 0;  // far below half a unit of the last decimal
    } else {
        const int shift = -exponent;
        const uint64_t rest = scaled & ((uint64_t{1} << shift) - 1);
        const uint64_t half = uint64_t{1} << (shift - 1);
        scaled >>= shift;
        if (rest > half || (rest == half && (scaled & 1) != 0))
            ++scaled;
    }
    char text[32];
    char* end = text + sizeof text;
    appendPadded(out, writeDecimal(end, scaled, decimals, std::signbit(value)), end, width);
    return true;
}

// 128 bits: a 53-bit mantissa times a power of ten up to 10^22.
__extension__ typedef unsigned __int128 Wide;

// %.<precision>g of a finite, non-zero value from 1e-4 up (after rounding) and below 2^52, where
// the fixed form applies: the sparklines' means and the charts' rates. The value is m * 2^q
// exactly, so value * 10^s is the integer m * 10^s shifted right by -q, and the bits shifted out
// decide the rounding, half to even like printf. False (nothing written) outside that range.
bool appendSmallG(std::string& out, double value, int precision) {
    if (precision < 1 || precision > 17 || !(std::fabs(value) >= 1e-4) || !(std::fabs(value) < 4503599627370496.0))
        return false;
    const auto bits = std::bit_cast<uint64_t>(value);
    const auto biased = static_cast<int>((bits >> 52) & 0x7FF);
    const uint64_t mantissa = (bits & ((uint64_t{1} << 52) - 1)) | (uint64_t{1} << 52);
    const int shift = 1075 - biased;  // value = mantissa / 2^shift, shift >= 1 here
    // The decimal exponent of the leading digit, estimated from the binary one and corrected
    // below: 1233/4096 is log10(2) to within what the estimate needs.
    int exponent = ((52 - shift) * 1233) >> 12;
    static constexpr uint64_t powers[] = {1,
                                          10,
                                          100,
                                          1000,
                                          10000,
                                          100000,
                                          1000000,
                                          10000000,
                                          100000000,
                                          1000000000,
                                          10000000000,
                                          100000000000,
                                          1000000000000,
                                          10000000000000,
                                          100000000000000,
                                          1000000000000000,
                                          10000000000000000,
                                          100000000000000000,
                                          1000000000000000000,
                                          10000000000000000000u};
    uint64_t digits = 0;
    for (int attempt = 0; attempt < 3; ++attempt) {
        // value * 10^scale rounded to an integer of precision digits.
        const int scale = precision - 1 - exponent;
        if (scale < 0 || scale > 22 || shift >= 128)
            return false;
        const Wide scaled = Wide{mantissa} * (scale > 19 ? Wide{powers[19]} * powers[scale - 19] : Wide{powers[scale]});
        Wide whole = scaled >> shift;
        const Wide rest = scaled & ((Wide{1} << shift) - 1);
        const Wide half = Wide{1} << (shift - 1);
        if (whole >= powers[precision]) {
            ++exponent;  // the estimate was one low
            continue;
        }
        if (whole < powers[precision - 1]) {
            --exponent;  // one high
            continue;
        }
        if (rest > half || (rest == half && (whole & 1) != 0))
            ++whole;
        digits = static_cast<uint64_t>(whole);
        if (digits == powers[precision]) {  // 9.99... rounded up to the next power of ten
            digits = powers[precision - 1];
            ++exponent;
        }
        break;
    }
    if (digits == 0 || exponent < -4 || exponent >= precision)
        return false;  // the exponential form, or an estimate that did not settle
    // The fraction's digits, less the trailing zeros that %g drops. Below 1 the fraction runs
    // past the significant digits into its leading zeros.
    int fractionDigits = precision - 1 - exponent;
    while (fractionDigits > 0 && digits % 10 == 0) {
        digits /= 10;
        --fractionDigits;
    }
    char text[48];
    char* end = text + sizeof text;
    const char* start = writeDecimal(end, digits, fractionDigits, std::signbit(value));
    out.append(start, static_cast<size_t>(end - start));
    return true;
}

// The string forms of the appending conversions.
template <typename... Args>
std::string toString(void (*append)(std::string&, Args...), Args... args) {
    std::string out;
    append(out, args...);
    return out;
}

}  // namespace

void appendG(std::string& out, double value, int precision) {
    // A whole number with fewer digits than the precision is written as its digits alone (%g
    // drops the point and the trailing zeros): the counts of the sparklines, for one.
    const int digits = gPrecision(precision);
    static constexpr double limits[] = {1.0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    if (digits >= 1 && std::fabs(value) < limits[std::min(digits, 15)] && value == std::trunc(value)) {
        if (std::signbit(value))
            out += '-';
        char buffer[24];
        const auto end = std::to_chars(buffer, buffer + sizeof buffer, static_cast<int64_t>(std::fabs(value))).ptr;
        out.append(buffer, static_cast<size_t>(end - buffer));
        return;
    }
    if (appendSmallG(out, value, digits))
        return;
    appendNumber(out, value, std::chars_format::general, digits, 0);
}

void appendFixed(std::string& out, double value, int decimals, int width) {
    if (appendSmallFixed(out, value, decimals, width))
        return;
    appendNumber(out, value, std::chars_format::fixed, decimals, width);
}

void appendJsG(std::string& out, double value, int precision) {
    if (std::isfinite(value))
        appendG(out, value, precision);
    else
        out += "null";
}

void appendJsFixed(std::string& out, double value, int decimals, int width) {
    if (std::isfinite(value))
        appendFixed(out, value, decimals, width);
    else
        out += "null";
}

void appendInteger(std::string& out, long long value, int width) {
    char buffer[24];
    appendPadded(out, buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr, width);
}

std::string g(double value, int precision) { return toString(appendG, value, precision); }
std::string fixed(double value, int decimals, int width) { return toString(appendFixed, value, decimals, width); }
std::string integer(long long value, int width) { return toString(appendInteger, value, width); }
std::string jsG(double value, int precision) { return toString(appendJsG, value, precision); }
std::string jsFixed(double value, int decimals, int width) { return toString(appendJsFixed, value, decimals, width); }

}  // namespace NumberFormat
