// Feeds arbitrary bytes to the parser as UTF-8 text, with the analysis report's root tag required
// on odd lengths, and as a file, through encoding detection and conversion.
#include "xml/XmlNode.h"

#include <cstdio>
#include <string>
#include <unistd.h>

namespace {

// Every query meets the tree the parse built.
void walk(const XmlNode& root) {
    for (int32_t i = 0; i < root.childCount(); ++i) {
        const XmlNode child = root.childAt(i);
        (void)child.attribute("name"), (void)child.textAt(0), (void)child.parent().name();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    XmlParseResult result;
    walk(XmlNode::parseString({reinterpret_cast<const char*>(data), size}, size % 2 ? "ORB_AnalystReport" : "", &result));
    // In memory where the system has a place for it: a file on disk costs more to replace than
    // a small document costs to parse.
    static const std::string path = (access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") +
                                    std::string("/anarep-fuzz-parse-") + std::to_string(getpid()) + ".xml";
    if (FILE* file = std::fopen(path.c_str(), "wb")) {
        std::fwrite(data, 1, size, file);
        std::fclose(file);
        walk(XmlNode::parseFile(path.c_str(), "ORB_Charts", &result));
    }
    return 0;
}
