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
    char digits[32];
    char* end = digits + sizeof digits;
    char* p = end;
    for (int i = 0; i < decimals; ++i) {
        *--p = static_cast<char>('0' + scaled % 10);
        scaled /= 10;
    }
    if (decimals > 0)
        *--p = '.';
    do {
        *--p = static_cast<char>('0' + scaled % 10);
        scaled /= 10;
    } while (scaled != 0);
    if (std::signbit(value))
        *--p = '-';
    appendPadded(out, p, end, width);
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
    appendNumber(out, value, std::chars_format::general, gPrecision(precision), 0);
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
