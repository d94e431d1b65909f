#include "ChartTestSupport.h"

#include <gtest/gtest.h>

namespace {

using ChartTest::between;
using ChartTest::curve;
using ChartTest::renderPrediction;

XmlNode curves(const QString& ranges, const QString& children = "") {
    return ChartTest::parse(R"(<prunedTest MAE="3.5" RSquared="0.68" nLine="152" nVar="3">)" +
                                ranges + children + "</prunedTest>", "prunedTest");
}

QString ranges(const QString& attributes) { return "<ranges " + attributes + "/>"; }

const QString wide = ranges(R"(xmin="0" xmax="200" ymin="-1.5e3" ymax="250")");

TEST(PredictionChartTest, DeliveredIsAScatterWithTwoGuideLines) {
    const QString s = renderPrediction(
        curves(wide, curve("dots", {1, 2}, {0.1, 0.2}) + curve("Perfect", {1, 2}, {1, 2}) +
                         curve("ConstantMean", {1, 2}, {22.5328, 22.5328})),
        "delivered");
    EXPECT_TRUE(s.contains("\n\t    series: [{\n\t      name: 'Final Model Full',\n\t      color: '#000000',"
                           "\n\t      type: 'scatter',\n\t      marker:{radius: 1.5,symbol: 'circle'},"
                           "\n\t      data: [[1,0.1],[2,0.2]]\n\t    }, {\n\t      name: 'Perfect',"
                           "\n\t      color: '#0000FF',\n\t      type: 'line',\n\t      lineWidth: 2,"
                           "\n\t      marker:{radius: 1,symbol: 'diamond'},\n\t      enableMouseTracking:false,"
                           "\n\t      data: [[1,1],[2,2]]\n\t    }, {\n\t      name: 'Constant Mean',"));
    EXPECT_TRUE(s.contains("data: [[1,22.5328],[2,22.5328]]\n\t    }]\n\t  });"));
    EXPECT_EQ(between(s, "subtitle: {\n\t      text: '", "',"),
              "<font face=\"verdana\" > MAE=3.5 RSquared=0.68 nLine=152 nVar=3</font>");
    EXPECT_TRUE(s.contains("{text: 'predicted target',style: {color: '#405060',margin: 20}},"
                           "\n\t      min: -1.5e3,max: 250,\n\t      showFirstLabel: false,"));
    EXPECT_TRUE(s.contains("enabled:true},\n\t      min: 10,max: 190,\n\t      showFirstLabel: true,"));
    EXPECT_TRUE(s.contains("function() {\n\t          return '<b>'+ this.series.name +'</b><br/>'"));
}

TEST(PredictionChartTest, SelectedPrunedStartsWithTheZeroLine) {
    const QString s = renderPrediction(curves(wide, curve("AbsoluteInterceptErrorL", {5}, {2.08})),
                                       "selectedPruned");
    EXPECT_TRUE(s.contains("\n\t    series: [{\n\t      name: '',\n\t      color: '#000000',\n\t      type: 'line',"
                           "\n\t      lineWidth: 3,\n\t      marker:{radius: 1,symbol: 'diamond'},"
                           "\n\t      enableMouseTracking:false,\n\t      data: [[0,0],[200,0]]"
                           "\n\t    }, {\n\t      name: 'Constant',"));
    EXPECT_TRUE(s.contains("name: 'Absolute Prediction Error Low',\n\t      color: '#AAAAFF',"));
    EXPECT_TRUE(s.endsWith("\n\t      data: [[5,2.08],[5,2.08]]\n\t    }]\n\t  });\n\t});\n\t</script>"));
    EXPECT_EQ(s.count("name: '"), 6);
    EXPECT_EQ(s.count("data: []"), 4);
    EXPECT_TRUE(s.contains("'<font face=\"verdana\" > Red: error, Blue: abs error<br/> MAE=3.5"));
    EXPECT_TRUE(s.contains("{text: 'prediction error',style: {color: '#405060',margin: 20}},"));
    EXPECT_TRUE(s.contains("function() {\n\t        if (this.series.index>2 && this.series.index<6)"));
}

TEST(PredictionChartTest, XRangeDefaultsAndFormats) {
    const char* cases[][3] = {
        {"", "min: 5,max: 95,", "[[0,0],[100,0]]"},
        {R"(xmin="a" xmax="")", "min: 5,max: 95,", "[[0,0],[100,0]]"},
        {R"(xmin="-20" xmax="180")", "min: -10,max: 170,", "[[-20,0],[180,0]]"},
        {R"(xmin="0.1234567" xmax="1")", "min: 0.167283865,max: 0.9561728350000001,", "[[0.123457,0],[1,0]]"},
        {R"(xmin="-1e308" xmax="1e308")", "min: null,max: null,", "[[-1e+308,0],[1e+308,0]]"},
    };
    for (const auto& c : cases) {
        const QString s = renderPrediction(curves(ranges(c[0])), "selectedPruned");
        EXPECT_EQ(between(s, "enabled:true},\n\t      ", "\n"), c[1]) << c[0];
        EXPECT_EQ(between(s, "enableMouseTracking:false,\n\t      data: ", "\n"), c[2]) << c[0];
    }
}

TEST(PredictionChartTest, YBoundsAreCopiedOnlyWhenTheyAreNumbers) {
    const char* cases[][2] = {
        {R"(ymin="-1.5e3" ymax="250")", "min: -1.5e3,max: 250,"},
        {R"(ymin=".5" ymax="+7.")", "min: .5,max: +7.,"},
        {R"(ymin="0" ymax=" 1E+2 ")", "min: 0,max:  1E+2 ,"},
        {R"(ymax="250")", ""},
        {R"(ymin="" ymax="250")", ""},
        {R"(ymin="1" ymax="abc")", ""},
        {R"(ymin="1" ymax="1,2")", ""},
        {R"(ymin="012" ymax="250")", ""},
        {R"(ymin="." ymax="250")", ""},
        {R"(ymin="1e" ymax="250")", ""},
        {R"(ymin="Infinity" ymax="250")", ""},
        {R"(ymin="0" ymax="1&lt;/script&gt;")", ""},
    };
    for (const auto& c : cases) {
        const QString s = renderPrediction(curves(ranges(c[0])), "delivered");
        EXPECT_EQ(between(s, "margin: 20}},", "\n\t      showFirstLabel"), QString(c[1]).prepend(*c[1] ? "\n\t      " : ""))
            << c[0];
    }
}

TEST(PredictionChartTest, EmptyCurveElementStillGivesAWholeChart) {
    const QString s = renderPrediction(XmlNode(), "delivered");
    EXPECT_EQ(s.count("data: []"), 3);
    EXPECT_TRUE(s.contains("min: 5,max: 95,"));
    EXPECT_TRUE(s.contains("'<font face=\"verdana\" > MAE= RSquared= nLine= nVar=</font>'"));
}

}  // namespace
