#pragma once
// Bridges the XML library's zero-terminated UTF-16 strings to QString.

#include <QString>

// An absent (null) string becomes the null QString, an empty one the empty QString.
inline QString xmlText(const char16_t* text) {
    return text ? QString::fromUtf16(text) : QString();
}
