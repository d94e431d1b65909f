#pragma once
// The script element of one chart, written around its own options: the one frame of every
// chart on the page.

#include "html/PageSink.h"
#include "xml/XmlNode.h"

#include <vector>

struct ChartFrame {
    std::string_view indent;   // between each frame line's tab and its text
    std::string variable;      // tail of the script variable's name, escaped here
    std::string container;     // id of the element drawn into, escaped here
    const char* margin = "";   // the chart's margin array
    std::string title;         // escaped here
    const char* titleStyle = "";     // lines after the title's text
    std::string subtitle;      // UTF-8, already safe between single quotes
    const char* subtitleStyle = "";  // lines after the subtitle's text
    std::string axes;          // xAxis and yAxis options, ending with "}],"
    std::string tooltip;       // the body of the tooltip's formatter
    const char* legend = "";
    const char* plotOptions = "";
    std::vector<std::string> series;  // bodies of the series objects, in chart order

    // The frame of a model chart (lift or prediction) drawn into the element kind.
    static ChartFrame modelChart(const char* kind, const char* title);
    // Writes the whole script element, from "<script" to "</script>".
    void write(PageSink& page) const;
};

// The last lines of the lift and prediction charts' tooltips: the hovered point's series and values.
inline constexpr const char* pointTooltip =
    "\n\t        return '<b>'+ this.series.name +'</b><br/>'+"
    "\n\t                '( '+ this.x +', '+ this.y + ' )';";

// An attribute's text made safe between the single quotes of a script string; empty when the
// attribute is absent, also on the empty node.
std::string quotedAttribute(const XmlNode& node, const char* name);
