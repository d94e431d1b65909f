// Feeds arbitrary bytes to the file loader: encoding detection, conversion and parse.
#include "xml/XmlNode.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = "/tmp/anarep-fuzz-file-" + std::to_string(getpid()) + ".xml";
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        return 0;
    std::fwrite(data, 1, size, file);
    std::fclose(file);
    XmlParseResult result;
    XmlNode root = XmlNode::parseFile(path.c_str(), "ORB_Charts", &result);
    (void)root.childNamed("prunedFull").attribute("AUC");
    return 0;
}
