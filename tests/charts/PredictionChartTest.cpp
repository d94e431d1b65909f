#include "ChartTestSupport.h"

#include <gtest/gtest.h>

namespace {

using ChartTest::curve;
using ChartTest::parse;
using ChartTest::renderPrediction;

XmlNode curves(const QString& ranges, const QString& children = QString()) {
    return parse(QStringLiteral("<prunedTest MAE=\"3.5\" RSquared=\"0.68\" nLine=\"152\" nVar=\"3\">"
                                "%1%2</prunedTest>")
                     .arg(ranges, children),
                 u"prunedTest");
}

QString ranges(const QString& attributes) { return QStringLiteral("<ranges %1/>").arg(attributes); }

const QString fullRanges = ranges(QStringLiteral("xmin=\"0\" xmax=\"200\" ymin=\"-1.5e3\" ymax=\"250\""));

TEST(PredictionChartTest, DeliveredIsAScatterWithTwoGuideLines) {
    const std::vector<double> xs{1, 2};
    const QString script = renderPrediction(
        curves(fullRanges, curve(QStringLiteral("dots"), xs, {0.1, 0.2}) +
                               curve(QStringLiteral("Perfect"), xs, xs) +
                               curve(QStringLiteral("ConstantMean"), xs, {22.5328, 22.5328})),
        QStringLiteral("delivered"));
    EXPECT_TRUE(script.contains(u"\n\t      name: 'Final Model Full',"
                                u"\n\t      color: '#000000',"
                                u"\n\t      type: 'scatter',"
                                u"\n\t      marker:{radius: 1.5,symbol: 'circle'},"
                                u"\n\t      data: [[1,0.1],[2,0.2]]"
                                u"\n\t    }, {"
                                u"\n\t      name: 'Perfect',"
                                u"\n\t      color: '#0000FF',"
                                u"\n\t      type: 'line',"
                                u"\n\t      lineWidth: 2,"
                                u"\n\t      marker:{radius: 1,symbol: 'diamond'},"
                                u"\n\t      enableMouseTracking:false,"
                                u"\n\t      data: [[1,1],[2,2]]"
                                u"\n\t    }, {"
                                u"\n\t      name: 'Constant Mean',"));
    EXPECT_TRUE(script.contains(u"data: [[1,22.5328],[2,22.5328]]\n\t    }]\n\t  });"));
    EXPECT_TRUE(script.contains(u"'<font face=\"verdana\" > MAE=3.5 RSquared=0.68 nLine=152 nVar=3</font>'"));
    EXPECT_TRUE(script.contains(u"\n\t      title: {text: 'predicted target',style: {color: '#405060',margin: 20}},"));
    EXPECT_TRUE(script.contains(u"\n\t      formatter: function() {"
                                u"\n\t          return '<b>'+ this.series.name +'</b><br/>'"));
    EXPECT_EQ(script.count(u"name: '"), 3);
}

TEST(PredictionChartTest, AxesRunFivePercentInsideTheRanges) {
    const QString script = renderPrediction(curves(fullRanges), QStringLiteral("delivered"));
    EXPECT_TRUE(script.contains(u"enabled:true},\n\t      min: 10,max: 190,\n\t      showFirstLabel: true,"));
    EXPECT_TRUE(script.contains(u"margin: 20}},\n\t      min: -1.5e3,max: 250,\n\t      showFirstLabel: false,"));
}

TEST(PredictionChartTest, SelectedPrunedStartsWithTheZeroLine) {
    const QString script = renderPrediction(
        curves(fullRanges, curve(QStringLiteral("AbsoluteInterceptErrorL"), {5}, {2.08})),
        QStringLiteral("selectedPruned"));
    EXPECT_TRUE(script.contains(u"\n\t    series: [{"
                                u"\n\t      name: '',"
                                u"\n\t      color: '#000000',"
                                u"\n\t      type: 'line',"
                                u"\n\t      lineWidth: 3,"
                                u"\n\t      marker:{radius: 1,symbol: 'diamond'},"
                                u"\n\t      enableMouseTracking:false,"
                                u"\n\t      data: [[0,0],[200,0]]"
                                u"\n\t    }, {"
                                u"\n\t      name: 'Constant',"));
    EXPECT_TRUE(script.contains(u"name: 'Absolute Prediction Error Low',\n\t      color: '#AAAAFF',"
                                u"\n\t      type: 'line',\n\t      lineWidth: 2,"
                                u"\n\t      marker:{radius: 1,symbol: 'diamond'},"
                                u"\n\t      data: [[5,2.08],[5,2.08]]\n\t    }]"));
    EXPECT_EQ(script.count(u"name: '"), 6);
    EXPECT_EQ(script.count(u"data: []"), 4);
    EXPECT_TRUE(script.contains(u"'<font face=\"verdana\" > Red: error, Blue: abs error<br/> MAE=3.5"));
    EXPECT_TRUE(script.contains(u"{text: 'prediction error',style: {color: '#405060',margin: 20}},"));
    EXPECT_TRUE(script.contains(u"\n\t        if (this.series.index>2 && this.series.index<6)"));
}

struct RangeCase {
    const char* about;
    QString ranges;
    const char16_t* xRange;
    const char16_t* zeroLine;
};

TEST(PredictionChartTest, RangeDefaultsAndNumberFormats) {
    const RangeCase cases[] = {
        {"no ranges", QString(), u"min: 5,max: 95,", u"[[0,0],[100,0]]"},
        {"not numbers", ranges(QStringLiteral("xmin=\"a\" xmax=\"\"")), u"min: 5,max: 95,",
         u"[[0,0],[100,0]]"},
        {"negative minimum", ranges(QStringLiteral("xmin=\"-20\" xmax=\"180\"")),
         u"min: -10,max: 170,", u"[[-20,0],[180,0]]"},
        {"sixteen and six digits", ranges(QStringLiteral("xmin=\"0.1234567\" xmax=\"1\"")),
         u"min: 0.167283865,max: 0.9561728350000001,", u"[[0.123457,0],[1,0]]"},
    };
    for (const RangeCase& c : cases) {
        const QString script = renderPrediction(curves(c.ranges), QStringLiteral("selectedPruned"));
        EXPECT_TRUE(script.contains(QStringLiteral("\n\t      ") + QString::fromUtf16(c.xRange)))
            << c.about;
        EXPECT_TRUE(script.contains(QStringLiteral("data: ") + QString::fromUtf16(c.zeroLine)))
            << c.about;
    }
}

struct YRangeCase {
    const char* attributes;
    const char16_t* expected;  // null: no y range line
};

TEST(PredictionChartTest, YBoundsAreCopiedOnlyWhenTheyAreNumbers) {
    const YRangeCase cases[] = {
        {"ymin=\"-1.5e3\" ymax=\"250\"", u"min: -1.5e3,max: 250,"},
        {"ymin=\".5\" ymax=\"+7.\"", u"min: .5,max: +7.,"},
        {"ymin=\"0\" ymax=\" 1E+2 \"", u"min: 0,max:  1E+2 ,"},
        {"ymax=\"250\"", nullptr},
        {"ymin=\"\" ymax=\"250\"", nullptr},
        {"ymin=\"1\" ymax=\"abc\"", nullptr},
        {"ymin=\"1\" ymax=\"1,2\"", nullptr},
        {"ymin=\"012\" ymax=\"250\"", nullptr},
        {"ymin=\".\" ymax=\"250\"", nullptr},
        {"ymin=\"1e\" ymax=\"250\"", nullptr},
        {"ymin=\"Infinity\" ymax=\"250\"", nullptr},
        {"ymin=\"0\" ymax=\"1&lt;/script&gt;\"", nullptr},
    };
    for (const YRangeCase& c : cases) {
        const QString script = renderPrediction(
            curves(ranges(QString::fromLatin1(c.attributes))), QStringLiteral("delivered"));
        const QString yAxis = script.mid(script.indexOf(u"yAxis: [{"));
        if (c.expected)
            EXPECT_TRUE(yAxis.contains(QStringLiteral("margin: 20}},\n\t      ") +
                                       QString::fromUtf16(c.expected) +
                                       QStringLiteral("\n\t      showFirstLabel")))
                << c.attributes;
        else
            EXPECT_TRUE(yAxis.contains(u"margin: 20}},\n\t      showFirstLabel: false,")) << c.attributes;
    }
}

TEST(PredictionChartTest, EmptyCurveElementStillGivesAWholeChart) {
    const QString script = renderPrediction(XmlNode(), QStringLiteral("delivered"));
    EXPECT_EQ(script.count(u"data: []"), 3);
    EXPECT_TRUE(script.contains(u"min: 5,max: 95,"));
    EXPECT_TRUE(script.contains(u"'<font face=\"verdana\" > MAE= RSquared= nLine= nVar=</font>'"));
    EXPECT_TRUE(script.endsWith(u"\n\t    }]\n\t  });\n\t});\n\t</script>"));
}

}  // namespace
