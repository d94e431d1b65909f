#pragma once
// Numbers as the C library's printf writes them under the C locale. Qt's own number
// formatting rounds exact halves away from zero and drops the sign of negative zero, so
// every number of the page goes through these instead.

#include <string>

namespace NumberFormat {

// %.<precision>g; non-finite values as inf, -inf, nan (never -nan).
std::string g(double value, int precision = 6);
// %<width>.<decimals>f; non-finite values as inf, -inf, nan, padded like numbers.
std::string fixed(double value, int decimals, int width = 0);
// %<width>d, width not negative.
std::string integer(long long value, int width = 0);

// The same conversions appended to a byte buffer, for hot loops that must not allocate.
void appendG(std::string& out, double value, int precision);
void appendFixed(std::string& out, double value, int decimals, int width = 0);
void appendInteger(std::string& out, long long value, int width = 0);

// Script variants: a non-finite value is written null, which JavaScript accepts.
std::string jsG(double value, int precision);
std::string jsFixed(double value, int decimals, int width = 0);
void appendJsG(std::string& out, double value, int precision);
void appendJsFixed(std::string& out, double value, int decimals, int width = 0);

}  // namespace NumberFormat
