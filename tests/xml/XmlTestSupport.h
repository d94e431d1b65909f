#pragma once
// Helpers of the XML library tests: readable strings and parsing literals. Free of Qt, like the
// library itself.

#include "xml/XmlNode.h"

#include <ostream>
#include <string>

// Error codes print as their numbers in test failures.
inline void PrintTo(XmlError error, std::ostream* out) {
    *out << "XmlError(" << static_cast<int32_t>(error) << ")";
}

namespace XmlTest {

// UTF-8 of a library string, so that failures print readable text; "(null)" for null.
inline std::string utf8(const char16_t* text) {
    if (text == nullptr)
        return "(null)";
    std::string out;
    for (const char16_t* p = text; *p != 0; ++p) {
        uint32_t c = *p;
        if (c >= 0xD800 && c < 0xDC00 && p[1] >= 0xDC00 && p[1] < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (p[1] - 0xDC00);
            ++p;
        }
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

inline std::string utf8(const std::u16string& text) {
    return utf8(text.c_str());
}

// Parses text without a required tag; the result lands in *result when given.
inline XmlNode parse(const char16_t* text, XmlParseResult* result = nullptr) {
    XmlParseResult ignored;
    return XmlNode::parseString(text, nullptr, result != nullptr ? result : &ignored);
}

// The whole tree as one line: names, attributes, then the order list with texts, clears and
// children, so that two trees compare with one EXPECT_EQ.
inline std::string dump(const XmlNode& node) {
    if (node.isEmpty())
        return "(empty)";
    std::string out = "<" + utf8(node.name()) + (node.isDeclaration() ? "?" : "");
    for (int32_t i = 0; i < node.attributeCount(); ++i)
        out += " " + utf8(node.attributeNameAt(i)) + "=" + utf8(node.attributeValueAt(i));
    out += ">";
    for (int32_t i = 0; i < node.orderCount(); ++i) {
        const int32_t entry = node.orderAt(i);
        const int32_t index = entry >> 2;
        if ((entry & 3) == XmlChildItem)
            out += dump(node.childAt(index));
        else if ((entry & 3) == XmlTextItem)
            out += "[" + utf8(node.textAt(index)) + "]";
        else
            out += "{" + utf8(node.clearAt(index)->value) + "}";
    }
    return out + "</>";
}

}  // namespace XmlTest
