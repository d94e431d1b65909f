#pragma once
// One series of a lift or prediction chart and the script text of its options.

#include <string>

struct ChartSeries {
    std::string stacking;     // written with its own quotes when not empty
    std::string color;        // "#RRGGBB"
    std::string name;         // legend and tooltip text
    std::string type = "line";
    std::string data;         // point list text, without the enclosing brackets
    int yAxis = 0;
    int lineWidth = 2;        // line series only
    bool showInLegend = true;
    bool marker = true;       // line series: diamond markers, or none
    bool enableMouseTracking = true;

    // The body of the series' object literal, without braces. Texts are written unchanged:
    // they come from the program's own tables, never from a document.
    std::string scriptText() const;
};
