#pragma once
// One series of a lift or prediction chart and the script text of its options.

#include <string>
#include <string_view>

struct ChartSeries {
    const char* name;         // legend and tooltip text
    const char* color;        // "#RRGGBB"
    const char* type = "line";
    int yAxis = 0;
    int lineWidth = 2;        // line series only
    bool showInLegend = true;
    bool marker = true;       // line series: diamond markers, or none
    bool enableMouseTracking = true;

    // The body of the series' object literal, without braces, data being the point list text
    // without its brackets. Texts are written unchanged: they come from the program's own
    // tables, never from a document.
    std::string scriptText(std::string_view data) const;
};
