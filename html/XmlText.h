#pragma once
// Bridges the XML library's UTF-8 views to QString.

#include <QString>

#include <string_view>

// An absent (null) view becomes the null QString, an empty one the empty QString.
inline QString xmlText(std::string_view text) {
    return text.data() != nullptr ? QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())) : QString();
}
