#include "html/NumberFormat.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace NumberFormat {
namespace {

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
    const auto length = static_cast<int>(end - buffer);
    if (width > length)
        out.append(static_cast<size_t>(width - length), ' ');
    out.append(buffer, static_cast<size_t>(length));
}

int gPrecision(int precision) { return precision == 0 ? 1 : precision; }

}  // namespace

void appendG(std::string& out, double value, int precision) {
    appendNumber(out, value, std::chars_format::general, gPrecision(precision), 0);
}

void appendFixed(std::string& out, double value, int decimals, int width) {
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

QString g(double value, int precision) {
    std::string out;
    appendG(out, value, precision);
    return QString::fromLatin1(out.data(), static_cast<qsizetype>(out.size()));
}

QString fixed(double value, int decimals, int width) {
    std::string out;
    appendFixed(out, value, decimals, width);
    return QString::fromLatin1(out.data(), static_cast<qsizetype>(out.size()));
}

QString integer(long long value, int width) {
    char buffer[32];
    const int length = std::snprintf(buffer, sizeof buffer, "%*lld", width, value);
    return QString::fromLatin1(buffer, length);
}

QString jsG(double value, int precision) {
    std::string out;
    appendJsG(out, value, precision);
    return QString::fromLatin1(out.data(), static_cast<qsizetype>(out.size()));
}

QString jsFixed(double value, int decimals, int width) {
    std::string out;
    appendJsFixed(out, value, decimals, width);
    return QString::fromLatin1(out.data(), static_cast<qsizetype>(out.size()));
}

}  // namespace NumberFormat
