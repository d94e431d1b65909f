#include "ChartTestSupport.h"

#include <gtest/gtest.h>

namespace {

using ChartTest::curve;
using ChartTest::parse;
using ChartTest::renderLift;

QString liftCurve(const QString& name, double y) { return curve(name, {0, 100}, {y, y}); }

// Every curve of both lift charts, each a flat line at its own height.
XmlNode liftDocument(const QString& quilloName = QStringLiteral("Quillo"),
                     const QString& testAttributes = QStringLiteral(
                         "AUC=\"70.5\" AUCtop=\"60.02\" nLine=\" 2940x\" nTarget=\"353\"")) {
    return parse(QStringLiteral("<ORB_Charts>"
                                "<prunedFull AUC=\"81.23\" AUCtop=\"64.10\" nLine=\"9800\" nTarget=\"1176\">"
                                "%1%2%3</prunedFull>"
                                "<prunedTest %4>%5%6%7%8</prunedTest>"
                                "<prunedCreation>%9</prunedCreation>"
                                "</ORB_Charts>")
                     .arg(liftCurve(quilloName, 1), liftCurve(QStringLiteral("ROC"), 2),
                          liftCurve(QStringLiteral("Score"), 3), testAttributes,
                          liftCurve(QStringLiteral("ROC"), 4), liftCurve(QStringLiteral("ROC1"), 5),
                          liftCurve(QStringLiteral("ROC99"), 6), liftCurve(QStringLiteral("Score"), 7),
                          liftCurve(QStringLiteral("ROC"), 8)));
}

QStringList seriesNames(const QString& script) {
    QStringList names;
    for (qsizetype at = script.indexOf(u"name: '"); at >= 0; at = script.indexOf(u"name: '", at + 1))
        names << script.mid(at + 7, script.indexOf(u'\'', at + 7) - at - 7);
    return names;
}

QString seriesData(const QString& script, const QString& name) {
    const qsizetype at = script.indexOf(QStringLiteral("name: '%1',").arg(name));
    const qsizetype data = script.indexOf(u"data: [", at) + 7;
    return at < 0 ? QStringLiteral("<no series>") : script.mid(data, script.indexOf(u"]\n", data) - data);
}

TEST(LiftChartTest, DeliveredHasTheDiagonalAndFourSeries) {
    const QString script = renderLift(liftDocument(), QStringLiteral("delivered"));
    EXPECT_EQ(seriesNames(script), (QStringList{"random", "quillo", "Lift Test", "Lift Full", "proba"}));
    EXPECT_EQ(seriesData(script, QStringLiteral("random")), u"[0,0], [100,100]");
    EXPECT_EQ(seriesData(script, QStringLiteral("quillo")), u"[0,1],[100,1]");
    EXPECT_EQ(seriesData(script, QStringLiteral("Lift Test")), u"[ 0.00, 4.00],[100.00, 4.00]");
    EXPECT_EQ(seriesData(script, QStringLiteral("Lift Full")), u"[ 0.00, 2.00],[100.00, 2.00]");
    EXPECT_EQ(seriesData(script, QStringLiteral("proba")), u"[ 0.00, 3.00],[100.00, 3.00]");
    EXPECT_TRUE(script.contains(u"\n\t      max: 0.8, min:0,\n\t      opposite: true\n\n\t    }, {"));
    EXPECT_TRUE(script.contains(u"\n\t         text: 'proba',"));
    EXPECT_TRUE(script.contains(u"\n\t  var chart_delivered = new Highcharts.Chart({"));
    EXPECT_TRUE(script.contains(u"\n\t      formatter: function() {\n\t        return '<b>'"));
}

TEST(LiftChartTest, SelectedPrunedHasTheDiagonalAndSixSeries) {
    const QString script = renderLift(liftDocument(), QStringLiteral("selectedPruned"));
    EXPECT_EQ(seriesNames(script), (QStringList{"random", "quillo", "Lift Test 99%t", "Lift Test 1%",
                                                "Lift Test", "Lift Creation", "score"}));
    EXPECT_EQ(seriesData(script, QStringLiteral("Lift Test 99%t")), u"[ 0.00, 6.00],[100.00, 6.00]");
    EXPECT_EQ(seriesData(script, QStringLiteral("Lift Test 1%")), u"[ 0.00, 5.00],[100.00, 5.00]");
    EXPECT_EQ(seriesData(script, QStringLiteral("Lift Creation")), u"[ 0.00, 8.00],[100.00, 8.00]");
    EXPECT_EQ(seriesData(script, QStringLiteral("score")), u"[ 0.00, 7.00],[100.00, 7.00]");
    EXPECT_FALSE(script.contains(u"max: 0.8"));
    EXPECT_TRUE(script.contains(u"\n\t         text: 'score',"));
    EXPECT_TRUE(script.contains(u"\n\t      formatter: function() {"
                                u"\n\t        if (this.series.index>1 && this.series.index<5)"));
    EXPECT_TRUE(script.contains(u"\n\t      name: 'Lift Test 99%t',"
                                u"\n\t      color: '#8888AA',"
                                u"\n\t      type: 'line',"
                                u"\n\t      lineWidth: 1,"
                                u"\n\t      marker:false,"
                                u"\n\t      enableMouseTracking:false,"
                                u"\n\t      yAxis: 1,"));
}

TEST(LiftChartTest, QuilloIsFoundInAnyCaseAndHiddenFromLegend) {
    for (const char* name : {"Quillo", "quillo", "QUILLO"}) {
        const QString script = renderLift(liftDocument(QString::fromLatin1(name)), QStringLiteral("delivered"));
        EXPECT_TRUE(script.contains(u"\n\t      name: 'quillo',"
                                    u"\n\t      color: '#44FF44',"
                                    u"\n\t      type: 'line',"
                                    u"\n\t      lineWidth: 2,"
                                    u"\n\t      marker:false,"
                                    u"\n\t      showInLegend:false,"
                                    u"\n\t      enableMouseTracking:false,"
                                    u"\n\t      yAxis: 1,"
                                    u"\n\t      data: [[0,1],[100,1]]"))
            << name;
    }
}

TEST(LiftChartTest, SubtitleCopiesFiguresAndReadsLineCounts) {
    const QString script = renderLift(liftDocument(), QStringLiteral("delivered"));
    EXPECT_TRUE(script.contains(
        u"\n\t      text: '<font face=\"verdana\" ><b>test:</b> AUC=70.5 AUCtop=60.02 nLine=2940"
        u" nTarget=353<br/><b>Full:</b> AUC= 81.23 AUCtop=64.10 nLine=9800 nTarget=1176</font>',"));
}

TEST(LiftChartTest, SubtitleWithoutTestFigures) {
    const QString script = renderLift(liftDocument(QStringLiteral("Quillo"), QString()),
                                      QStringLiteral("selectedPruned"));
    EXPECT_TRUE(script.contains(u"<b>test:</b> AUC= AUCtop= nLine=0 nTarget=<br/><b>Full:</b> AUC= 81.23"));
}

TEST(LiftChartTest, MissingCurvesGiveEmptySeries) {
    const QString script = renderLift(parse(QStringLiteral("<ORB_Charts/>")), QStringLiteral("selectedPruned"));
    EXPECT_EQ(script.count(u"data: []"), 6);
    EXPECT_TRUE(script.contains(u"<b>Full:</b> AUC=  AUCtop= nLine=0 nTarget=</font>"));
}

}  // namespace
