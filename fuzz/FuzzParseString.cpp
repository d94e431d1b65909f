// Feeds arbitrary UTF-16 text to the parser, with and without a required root tag.
#include "xml/XmlNode.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<char16_t> text(size / 2 + 1, u'\0');
    if (size >= 2)
        std::memcpy(text.data(), data, size / 2 * 2);
    XmlParseResult result;
    const char16_t* requiredTag = (size % 2) ? u"ORB_AnalystReport" : nullptr;
    XmlNode root = XmlNode::parseString(text.data(), requiredTag, &result);
    // Walk what came back so that every query meets the tree the parse built.
    for (int32_t i = 0; i < root.childCount(); ++i) {
        XmlNode child = root.childAt(i);
        (void)child.attribute(u"name");
        (void)child.textAt(0);
        (void)child.parent().name();
    }
    return 0;
}
