#pragma once
// One series of a lift or prediction chart and the script text of its options.

#include <algorithm>
#include <span>
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

// Position of the row whose series is named name in a table of rows with a ChartSeries member
// named series; -1 when there is none, which the compile-time callers turn into an error.
template <typename Row>
constexpr int seriesIndex(std::span<const Row> rows, std::string_view name) {
    for (size_t i = 0; i < rows.size(); ++i)
        if (std::string_view(rows[i].series.name) == name)
            return static_cast<int>(i);
    return -1;
}

// Chart positions of three curves drawn as a band, and of the two series the hovered point's
// x is looked up in. The three must be adjacent, in any order.
struct BandSeries {
    int low;
    int middle;
    int high;
    int lengths;    // whose point count the look-up runs over
    int abscissae;  // whose x values it compares
    const char* comment;
    const char* yLabel;  // the script text that introduces the y values
};

// The tooltip branch of a band: hovering any of its curves shows low < middle < high at that x.
std::string bandTooltip(const BandSeries& band);
