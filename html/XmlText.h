#pragma once
// Bridges the XML library's UTF-8 views to QString.

#include <QString>

#include <string_view>

// An absent (null) view becomes the null QString, an empty one the empty QString. Every UTF-16
// unit of the document comes back as it was, a lone surrogate included.
QString xmlText(std::string_view text);
