#pragma once
// Typed readers over document text that may be null.

#include <cstdint>
#include <string_view>

// fallback for null or empty text; otherwise C-style integer conversion (white space, sign,
// digits), clamped to the 32-bit range; 0 when no digit is there.
int32_t parseIntOr(std::string_view text, int32_t fallback) noexcept;
// fallback for null or empty text, or when no number starts the text (after white space).
double parseDoubleOr(std::string_view text, double fallback) noexcept;
