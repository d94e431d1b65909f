#include "SectionRender.h"

#include <gtest/gtest.h>

#include <cstdio>

XmlNode parseReport(const std::string& content) {
    const std::string text = "<ORB_AnalystReport>" + content + "</ORB_AnalystReport>";
    XmlParseResult result;
    XmlNode root = XmlNode::parseString(text, "ORB_AnalystReport", &result);
    EXPECT_EQ(result.error, XmlError::None) << "line " << result.line << " column " << result.column;
    return root;
}

std::string renderSection(const XmlNode& root, const Section& section, bool binaryTarget) {
    std::string out;
    {
        PageSink page([&](std::string_view bytes) { return out.append(bytes), true; });
        section(page, root, binaryTarget);
    }
    return out;
}

std::string renderSection(const std::string& content, const Section& section, bool binaryTarget) {
    return renderSection(parseReport(content), section, binaryTarget);
}

std::string between(const std::string& text, const std::string& start, const std::string& end) {
    const size_t from = text.find(start);
    if (from == std::string::npos)
        return "<" + start + " not found>";
    const size_t to = text.find(end, from + start.size());
    return text.substr(from, to == std::string::npos ? std::string::npos : to - from);
}

std::vector<std::string> cellsAfter(const std::string& page, const std::string& opening) {
    std::vector<std::string> cells;
    for (size_t at = page.find(opening); at != std::string::npos; at = page.find(opening, at + 1)) {
        const size_t from = at + opening.size();
        cells.push_back(page.substr(from, page.find("</td>", from) - from));
    }
    return cells;
}

std::string cFormat(const char* format, double value) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, value);
    return buffer;
}

std::string repeated(const std::string& text, int count) {
    std::string out;
    for (int i = 0; i < count; ++i)
        out += text;
    return out;
}

std::string xmlEscaped(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else if (c == '"')
            out += "&quot;";
        else
            out += c;
    }
    return out;
}
