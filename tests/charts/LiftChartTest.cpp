#include "ChartTestSupport.h"

#include <gtest/gtest.h>

namespace {

using ChartTest::between;
using ChartTest::renderLift;

// Every curve of both lift charts, curve k a flat line at height k.
XmlNode liftDocument(const QString& quillo = "Quillo",
                     const QString& test = R"(AUC="70.5" AUCtop="60.02" nLine=" 2940x" nTarget="353")") {
    const auto flat = [](const char* name, double y) { return ChartTest::curve(name, {0, 100}, {y, y}); };
    return ChartTest::parse(
        QStringLiteral("<ORB_Charts><prunedFull AUC=\"81.23\" AUCtop=\"64.10\" nLine=\"9800\" "
                       "nTarget=\"1176\">%1%2%3</prunedFull><prunedTest %4>%5%6%7%8</prunedTest>"
                       "<prunedCreation>%9</prunedCreation></ORB_Charts>")
            .arg(ChartTest::curve(quillo, {0, 100}, {1, 1}), flat("ROC", 2), flat("Score", 3), test,
                 flat("ROC", 4), flat("ROC1", 5), flat("ROC99", 6), flat("Score", 7), flat("ROC", 8)));
}

// "name=data" for every series, in order.
QStringList seriesData(const QString& script) {
    QStringList series;
    for (qsizetype at = script.indexOf("name: '"); at >= 0; at = script.indexOf("name: '", at + 1))
        series << script.mid(at + 7, script.indexOf('\'', at + 7) - at - 7) + "=" +
                      between(script.mid(at), "data: [", "]\n");
    return series;
}

TEST(LiftChartTest, DeliveredHasTheDiagonalAndFourSeries) {
    const QString s = renderLift(liftDocument(), "delivered");
    EXPECT_EQ(seriesData(s), (QStringList{"random=[0,0], [100,100]", "quillo=[0,1],[100,1]",
                                          "Lift Test=[ 0.00, 4.00],[100.00, 4.00]",
                                          "Lift Full=[ 0.00, 2.00],[100.00, 2.00]",
                                          "proba=[ 0.00, 3.00],[100.00, 3.00]"}));
    EXPECT_TRUE(s.contains("\n\t         text: 'proba',"));
    EXPECT_TRUE(s.contains("\n\t      max: 0.8, min:0,\n\t      opposite: true\n\n\t    }, {"));
    EXPECT_TRUE(s.contains("\n\t  var chart_delivered = new Highcharts.Chart({"));
    EXPECT_TRUE(s.contains("\n\t      formatter: function() {\n\t        return '<b>'"));
}

TEST(LiftChartTest, SelectedPrunedHasTheDiagonalAndSixSeries) {
    const QString s = renderLift(liftDocument(), "selectedPruned");
    EXPECT_EQ(seriesData(s), (QStringList{"random=[0,0], [100,100]", "quillo=[0,1],[100,1]",
                                          "Lift Test 99%t=[ 0.00, 6.00],[100.00, 6.00]",
                                          "Lift Test 1%=[ 0.00, 5.00],[100.00, 5.00]",
                                          "Lift Test=[ 0.00, 4.00],[100.00, 4.00]",
                                          "Lift Creation=[ 0.00, 8.00],[100.00, 8.00]",
                                          "score=[ 0.00, 7.00],[100.00, 7.00]"}));
    EXPECT_FALSE(s.contains("max: 0.8"));
    EXPECT_TRUE(s.contains("\n\t         text: 'score',"));
    EXPECT_TRUE(s.contains("function() {\n\t        if (this.series.index>1 && this.series.index<5)"));
    EXPECT_TRUE(s.contains("\n\t      name: 'Lift Test 99%t',\n\t      color: '#8888AA',\n\t      type: 'line',"
                           "\n\t      lineWidth: 1,\n\t      marker:false,\n\t      enableMouseTracking:false,"));
}

TEST(LiftChartTest, QuilloIsFoundInAnyCaseAndHiddenFromTheLegend) {
    for (const char* name : {"Quillo", "quillo", "QUILLO"})
        EXPECT_TRUE(renderLift(liftDocument(name), "delivered")
                        .contains("\n\t      name: 'quillo',\n\t      color: '#44FF44',\n\t      type: 'line',"
                                  "\n\t      lineWidth: 2,\n\t      marker:false,\n\t      showInLegend:false,"
                                  "\n\t      enableMouseTracking:false,\n\t      yAxis: 1,"
                                  "\n\t      data: [[0,1],[100,1]]"))
            << name;
}

TEST(LiftChartTest, SubtitleCopiesFiguresAndReadsLineCounts) {
    EXPECT_EQ(between(renderLift(liftDocument(), "delivered"), "subtitle: {\n\t      text: '", "',"),
              "<font face=\"verdana\" ><b>test:</b> AUC=70.5 AUCtop=60.02 nLine=2940 nTarget=353"
              "<br/><b>Full:</b> AUC= 81.23 AUCtop=64.10 nLine=9800 nTarget=1176</font>");
    EXPECT_TRUE(renderLift(liftDocument("Quillo", ""), "delivered")
                    .contains("<b>test:</b> AUC= AUCtop= nLine=0 nTarget=<br/><b>Full:</b> AUC= 81.23"));
}

TEST(LiftChartTest, MissingCurvesGiveEmptySeries) {
    const QString s = renderLift(ChartTest::parse("<ORB_Charts/>"), "selectedPruned");
    EXPECT_EQ(s.count("data: []"), 6);
    EXPECT_TRUE(s.contains("<b>Full:</b> AUC=  AUCtop= nLine=0 nTarget=</font>"));
}

}  // namespace
