// Generates a whole page from two fuzzed documents. The input is split at the first
// "\n----\n": the analysis report before it, the chart document after it.
#include "report/ReportGenerator.h"
#include "xml/XmlNode.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

std::string writeTemp(const char* suffix, std::string_view bytes) {
    const std::string path =
        "/tmp/anarep-fuzz-report-" + std::to_string(getpid()) + suffix;
    if (FILE* file = std::fopen(path.c_str(), "wb")) {
        std::fwrite(bytes.data(), 1, bytes.size(), file);
        std::fclose(file);
    }
    return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const size_t split = input.find("\n----\n");
    const std::string_view report = input.substr(0, split);
    const std::string_view charts =
        split == std::string_view::npos ? std::string_view() : input.substr(split + 6);

    XmlParseResult result;
    XmlNode reportRoot =
        XmlNode::parseFile(writeTemp("-a.xml", report).c_str(), u"ORB_AnalystReport", &result);
    if (result.error != XmlError::None)
        return 0;
    XmlNode chartRoot =
        XmlNode::parseFile(writeTemp("-g.xml", charts).c_str(), u"ORB_Charts", &result);
    if (result.error != XmlError::None)
        return 0;
    QString page;
    ReportGenerator generator(reportRoot, chartRoot, &page, QStringLiteral("fuzz"));
    generator.generate();
    return 0;
}
