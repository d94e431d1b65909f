// Holds the typed readers against the C library, parseDoubleOr against strtod and parseIntOr
// against strtoll, on number-like text (digits, point, exponent, signs and blanks in any order and
// length): the short-decimal path, the long path and the range edges must all agree with the
// correctly rounded conversion.
#include "xml/XmlNumbers.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const char alphabet[] = "0123456789012345.eE+- \t";
    std::string text;
    for (size_t i = 0; i < size; ++i)
        text += alphabet[data[i] % (sizeof alphabet - 1)];

    constexpr double fallback = -12345.5;
    const double value = parseDoubleOr(text, fallback);
    char* end = nullptr;
    errno = 0;
    const double expected = std::strtod(text.c_str(), &end);
    const bool parsed = end != text.c_str();
    // Results beyond the range of normal doubles are left to each side's own rounding.
    const bool ranged = errno != ERANGE && (expected == 0 || std::isnormal(expected));
    if ((!text.empty() && !parsed && std::memcmp(&value, &fallback, sizeof value) != 0) ||
        (parsed && ranged && std::memcmp(&value, &expected, sizeof value) != 0))
        __builtin_trap();

    const long long wider = std::clamp<long long>(std::strtoll(text.c_str(), nullptr, 10), INT32_MIN, INT32_MAX);
    if (parseIntOr(text, 7) != (text.empty() ? 7 : wider))
        __builtin_trap();
    return 0;
}
