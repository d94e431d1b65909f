#include "charts/ChartSeries.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

ChartSeries series(const std::function<void(ChartSeries&)>& adjust) {
    ChartSeries s;
    s.name = "Lift";
    s.color = "#0000AA";
    s.data = "[1,2],[3,4]";
    adjust(s);
    return s;
}

struct ScriptCase {
    const char* about;
    std::function<void(ChartSeries&)> adjust;
    const char* expected;
};

const ScriptCase scriptCases[] = {
    {"line defaults", [](ChartSeries&) {},
     "\n\t      name: 'Lift',"
     "\n\t      color: '#0000AA',"
     "\n\t      type: 'line',"
     "\n\t      lineWidth: 2,"
     "\n\t      marker:{radius: 1,symbol: 'diamond'},"
     "\n\t      data: [[1,2],[3,4]]"},
    {"line without marker keeps its width", [](ChartSeries& s) { s.marker = false; },
     "\n\t      name: 'Lift',"
     "\n\t      color: '#0000AA',"
     "\n\t      type: 'line',"
     "\n\t      lineWidth: 2,"
     "\n\t      marker:false,"
     "\n\t      data: [[1,2],[3,4]]"},
    {"scatter: circles whatever marker says, no width",
     [](ChartSeries& s) { s.type = "scatter"; s.marker = false; s.lineWidth = 7; },
     "\n\t      name: 'Lift',"
     "\n\t      color: '#0000AA',"
     "\n\t      type: 'scatter',"
     "\n\t      marker:{radius: 1.5,symbol: 'circle'},"
     "\n\t      data: [[1,2],[3,4]]"},
    {"other type: neither width nor marker", [](ChartSeries& s) { s.type = "spline"; },
     "\n\t      name: 'Lift',"
     "\n\t      color: '#0000AA',"
     "\n\t      type: 'spline',"
     "\n\t      data: [[1,2],[3,4]]"},
    {"type compared exactly", [](ChartSeries& s) { s.type = "Line"; },
     "\n\t      name: 'Lift',"
     "\n\t      color: '#0000AA',"
     "\n\t      type: 'Line',"
     "\n\t      data: [[1,2],[3,4]]"},
    {"every flag and option, in order",
     [](ChartSeries& s) {
         s.lineWidth = 3;
         s.showInLegend = false;
         s.enableMouseTracking = false;
         s.yAxis = 1;
         s.stacking = "'normal'";
     },
     "\n\t      name: 'Lift',"
     "\n\t      color: '#0000AA',"
     "\n\t      type: 'line',"
     "\n\t      lineWidth: 3,"
     "\n\t      marker:{radius: 1,symbol: 'diamond'},"
     "\n\t      showInLegend:false,"
     "\n\t      enableMouseTracking:false,"
     "\n\t      yAxis: 1,"
     "\n\t      stacking: 'normal',"
     "\n\t      data: [[1,2],[3,4]]"},
    {"mouse tracking alone", [](ChartSeries& s) { s.enableMouseTracking = false; },
     "\n\t      name: 'Lift',"
     "\n\t      color: '#0000AA',"
     "\n\t      type: 'line',"
     "\n\t      lineWidth: 2,"
     "\n\t      marker:{radius: 1,symbol: 'diamond'},"
     "\n\t      enableMouseTracking:false,"
     "\n\t      data: [[1,2],[3,4]]"},
    {"negative y axis is written", [](ChartSeries& s) { s.yAxis = -1; s.type = "x"; },
     "\n\t      name: 'Lift',"
     "\n\t      color: '#0000AA',"
     "\n\t      type: 'x',"
     "\n\t      yAxis: -1,"
     "\n\t      data: [[1,2],[3,4]]"},
    {"empty data", [](ChartSeries& s) { s.data.clear(); s.type = "x"; },
     "\n\t      name: 'Lift',"
     "\n\t      color: '#0000AA',"
     "\n\t      type: 'x',"
     "\n\t      data: []"},
};

TEST(ChartSeriesTest, ScriptTextFollowsTypeAndFlags) {
    for (const ScriptCase& c : scriptCases)
        EXPECT_EQ(series(c.adjust).scriptText(), c.expected) << c.about;
}

TEST(ChartSeriesTest, DefaultsAreALineSeriesOnTheFirstAxis) {
    const ChartSeries s;
    EXPECT_EQ(s.type, "line");
    EXPECT_EQ(s.lineWidth, 2);
    EXPECT_EQ(s.yAxis, 0);
    EXPECT_TRUE(s.showInLegend && s.marker && s.enableMouseTracking);
    EXPECT_TRUE(s.stacking.empty() && s.data.empty());
}

}  // namespace
