#pragma once
// Helpers of the XML library tests: readable strings and parsing literals. Free of Qt, like the
// library itself.

#include "xml/XmlNode.h"

#include <ostream>
#include <string>
#include <string_view>

// Error codes print as their numbers in test failures.
inline void PrintTo(XmlError error, std::ostream* out) {
    *out << "XmlError(" << static_cast<int32_t>(error) << ")";
}

namespace XmlTest {

// A library string as printable text; "(null)" for null.
inline std::string utf8(std::string_view text) {
    return text.data() == nullptr ? std::string("(null)") : std::string(text);
}

// Parses text without a required tag; the result lands in *result when given.
inline XmlNode parse(std::string_view text, XmlParseResult* result = nullptr) {
    XmlParseResult ignored;
    return XmlNode::parseString(text, {}, result != nullptr ? result : &ignored);
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
