#include "charts/ChartSeries.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

struct ScriptCase {
    std::function<void(ChartSeries&)> adjust;
    const char* type;
    const char* options;  // the lines between the type line and the data line
};

TEST(ChartSeriesTest, ScriptTextFollowsTypeAndFlags) {
    const ScriptCase cases[] = {
        {[](ChartSeries&) {}, "line",
         "\n\t      lineWidth: 2,\n\t      marker:{radius: 1,symbol: 'diamond'},"},
        {[](ChartSeries& s) { s.marker = false; }, "line",
         "\n\t      lineWidth: 2,\n\t      marker:false,"},
        {[](ChartSeries& s) { s.type = "scatter"; s.marker = false; s.lineWidth = 7; }, "scatter",
         "\n\t      marker:{radius: 1.5,symbol: 'circle'},"},
        {[](ChartSeries& s) { s.type = "spline"; }, "spline", ""},
        {[](ChartSeries& s) { s.type = "Line"; }, "Line", ""},
        {[](ChartSeries& s) { s.type = "x"; s.enableMouseTracking = false; }, "x",
         "\n\t      enableMouseTracking:false,"},
        {[](ChartSeries& s) { s.type = "x"; s.yAxis = -1; }, "x", "\n\t      yAxis: -1,"},
        {[](ChartSeries& s) {
             s.lineWidth = 3;
             s.showInLegend = false;
             s.enableMouseTracking = false;
             s.yAxis = 1;
         },
         "line",
         "\n\t      lineWidth: 3,\n\t      marker:{radius: 1,symbol: 'diamond'},"
         "\n\t      showInLegend:false,\n\t      enableMouseTracking:false,"
         "\n\t      yAxis: 1,"},
    };
    for (const ScriptCase& c : cases) {
        ChartSeries s{"Lift", "#0000AA"};
        c.adjust(s);
        EXPECT_EQ(s.scriptText("[1,2],[3,4]"), std::string("\n\t      name: 'Lift',\n\t      color: '#0000AA',"
                                              "\n\t      type: '") +
                                      c.type + "'," + c.options + "\n\t      data: [[1,2],[3,4]]")
            << c.options;
    }
}

TEST(ChartSeriesTest, DefaultsAreALineSeriesWithoutData) {
    ChartSeries s{"", ""};
    s.type = "x";
    EXPECT_EQ(s.scriptText(""), "\n\t      name: '',\n\t      color: '',\n\t      type: 'x',\n\t      data: []");
    EXPECT_STREQ(ChartSeries{}.type, "line");
    EXPECT_EQ(ChartSeries{}.lineWidth, 2);
}

}  // namespace
