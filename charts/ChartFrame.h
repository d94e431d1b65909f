#pragma once
// The script lines that the lift and prediction charts share around their own options, and
// the conversions that make document texts safe inside those scripts.

#include "xml/XmlNode.h"

#include <string>
#include <string_view>
#include <vector>

struct ChartFrame {
    std::string kind;        // container id, also the tail of the script variable's name
    std::string title;
    std::string subtitle;    // UTF-8, already safe between single quotes
    const char* marginLine = "";
    const char* titleStyleLine = "";
    std::string axes;        // xAxis and yAxis options, ending with "}],"
    std::string extraTooltip;
    const char* legend = "";
    const char* plotOptions = "";
    std::vector<std::string> series;  // bodies of the series objects, in chart order

    // The whole script element, from "<script" to "</script>".
    std::string scriptText() const;
};

// An attribute's text made safe between the single quotes of a script string; empty when the
// attribute is absent, also on the empty node.
std::string quotedAttribute(const XmlNode& node, const char* name);
