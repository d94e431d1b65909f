// Feeds arbitrary bytes to the parser as UTF-8 text, with and without a required root tag.
#include "xml/XmlNode.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    XmlParseResult result;
    const std::string_view requiredTag = (size % 2) ? "ORB_AnalystReport" : "";
    XmlNode root = XmlNode::parseString(text, requiredTag, &result);
    // Walk what came back so that every query meets the tree the parse built.
    for (int32_t i = 0; i < root.childCount(); ++i) {
        XmlNode child = root.childAt(i);
        (void)child.attribute("name");
        (void)child.textAt(0);
        (void)child.parent().name();
    }
    return 0;
}
