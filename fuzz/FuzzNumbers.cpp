// Holds the typed readers against the C library: parseDoubleOr against strtod and parseIntOr
// against strtoll, on number-like text (digits, point, exponent, signs and blanks in any order
// and length), so that the short-decimal path, the long path and the range edges all agree
// with the correctly rounded conversion.
#include "xml/XmlNumbers.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const char alphabet[] = "0123456789012345.eE+- \t";
    std::string narrow;
    for (size_t i = 0; i < size; ++i)
        narrow += alphabet[data[i] % (sizeof alphabet - 1)];

    constexpr double fallback = -12345.5;
    const double value = parseDoubleOr(narrow, fallback);
    char* end = nullptr;
    errno = 0;
    const double expected = std::strtod(narrow.c_str(), &end);
    const bool parsed = end != narrow.c_str();
    // Results beyond the range of normal doubles are left to each side's own rounding.
    const bool ranged = errno != ERANGE && (expected == 0 || std::isnormal(expected));
    if (!narrow.empty() && !parsed && std::memcmp(&value, &fallback, sizeof value) != 0)
        __builtin_trap();
    if (parsed && ranged && std::memcmp(&value, &expected, sizeof value) != 0)
        __builtin_trap();

    const int32_t integer = parseIntOr(narrow, 7);
    const long long wider = std::strtoll(narrow.c_str(), nullptr, 10);
    const auto clamped = static_cast<int32_t>(std::clamp<long long>(
        wider, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
    if (narrow.empty() ? integer != 7 : integer != clamped)
        __builtin_trap();
    return 0;
}
