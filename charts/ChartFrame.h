#pragma once
// The script lines that the lift and prediction charts share around their own options, and
// the conversions that make document texts safe inside those scripts.

#include "xml/XmlNode.h"

#include <QString>

#include <string>
#include <vector>

struct ChartFrame {
    QString kind;            // container id, also the tail of the script variable's name
    QString title;
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

// UTF-8 of text made safe between the single quotes of a script string.
std::string quotedUtf8(const QString& text);
// The same for an attribute's text; empty when the attribute is absent, also on the empty node.
std::string quotedAttribute(const XmlNode& node, const char* name);
// UTF-8 of text made safe as the tail of a script variable name.
std::string identifierUtf8(const QString& text);
