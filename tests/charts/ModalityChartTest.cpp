#include "ChartTestSupport.h"

#include <gtest/gtest.h>

namespace {

using ChartTest::parse;
using ChartTest::renderModality;

XmlNode variable(const QString& attributes, const QString& modalities) {
    return parse(QStringLiteral("<Var %1>%2</Var>").arg(attributes, modalities), u"Var");
}

QString modality(const QString& name, int nOcc, double sumTarget) {
    return QStringLiteral("<Modality name=\"%1\" nOcc=\"%2\" sumTarget=\"%3\"/>")
        .arg(name)
        .arg(nOcc)
        .arg(sumTarget);
}

// The text between "marker" and the next line break, tab or closing bracket run.
QString between(const QString& text, const QString& from, const QString& to) {
    const qsizetype start = text.indexOf(from);
    if (start < 0)
        return QStringLiteral("<missing %1>").arg(from);
    const qsizetype begin = start + from.size();
    return text.mid(begin, text.indexOf(to, begin) - begin);
}

TEST(ModalityChartTest, BinaryScriptWhole) {
    const QString script = renderModality(
        variable(QStringLiteral("name=\"LOAN\" label=\"Personal loan\" idx=\"5\""),
                 modality(QStringLiteral("no"), 10, 3) + modality(QStringLiteral("yes"), 30, 3)),
        true);
    EXPECT_EQ(script,
              "\n\t<script type=\"text/javascript\">"
              "\n\t$(document).ready(function() {"
              "\n\tvar chart5 = new Highcharts.Chart({"
              "\n\t  chart: {"
              "\n\t    renderTo: 'container5',"
              "\n\t    margin: [80, 70, 100, 70],"
              "\n\t    zoomType: 'xy'"
              "\n\t  },"
              "\n\t  title: {"
              "\n\t    text: 'Personal loan',"
              "\n\t    style: {"
              "\n\t      margin: '10px 0 0 0' // center it"
              "\n\t    }"
              "\n\t  },"
              "\n\t  subtitle: {"
              "\n\t    text: 'nLines= 40, nModalities= 2, targetMean= 15%',"
              "\n\t    style: {"
              "\n\t      margin: '0 0 0 0' // center it"
              "\n\t    }"
              "\n\t  },"
              "\n\t  xAxis: [{"
              "\n\t    categories: ['no','yes'"
              "\n\t    ],"
              "\n\t    labels: {"
              "\n\t      align: 'right',"
              "\n\t      rotation: -45,"
              "\n\t      style: {color: '#000000'}"
              "\n\t    }"
              "\n\t  }],"
              "\n\t  yAxis: [{ // on right side"
              "\n\t    labels: {"
              "\n\t      style: {color: '#FF0000'}"
              "\n\t    },"
              "\n\t    title: {"
              "\n\t      text: 'Proba.Target',"
              "\n\t      style: {color: '#FF0000'},"
              "\n\t      margin: 50"
              "\n\t    },"
              "\n\t    min: 0,"
              "\n\t    opposite: true"
              "\n\t  }, { // Secondary yAxis"
              "\n\t    title: {"
              "\n\t      text: 'nOccurence',"
              "\n\t      margin: 50,"
              "\n\t      style: {color: '#22AA22'}"
              "\n\t    },"
              "\n\t    labels: {"
              "\n\t      style: {color: '#22AA22'}"
              "\n\t    },"
              "\n\t    min: 0"
              "\n\t  }],"
              "\n\t  tooltip: {"
              "\n\t    formatter: function() {"
              "\n"
              "\n\t      var nOcc   = this.point.series.chart.series[0].data[this.point.x].y;"
              "\n\t      var nTarget= this.point.series.chart.series[1].data[this.point.x].y;"
              "\n\t      var target = this.point.series.chart.series[2].data[this.point.x].y;"
              "\n"
              "\n\t      return '<b>'+ this.x +'</b><br/>'"
              "\n\t          + 'Count= '+ (Number(nOcc))+' (='+Number((Number(nOcc))*100/40).toFixed(2)+'%)'+'<br/>'"
              "\n\t          + 'Target= '+ (Number(nTarget))+'<br/>'"
              "\n\t          + 'Proba.Target= '+ (Number(target))+ '%<br/>' "
              "\n\t          + 'Mean Target= '+ 15.000+ '%'"
              "\n\t          ;"
              "\n\t    }"
              "\n\t  },"
              "\n\t  legend: {enabled: false},"
              "\n\t  plotOptions: {"
              "\n\t    line:{animation  : false}"
              "\n\t  },"
              "\n\t  series: [{"
              "\n\t    type: 'column',"
              "\n\t    name: 'Count',"
              "\n\t    color: '#008800',"
              "\n\t    yAxis: 1,"
              "\n\t    states:{hover:{brightness:0.3}},"
              "\n\t    stacking: 'normal',"
              "\n\t    data: [10,30]"
              "\n\t  }, {"
              "\n\t    type: 'column',"
              "\n\t    name: 'Target',"
              "\n\t    color: '#AA0000',"
              "\n\t    yAxis: 1,"
              "\n\t    states:{hover:{brightness:0.3}},"
              "\n\t    stacking: 'normal',"
              "\n\t    data: [3,3]"
              "\n\t  }, {"
              "\n\t    type: 'spline',"
              "\n\t    name: 'Proba.Target',"
              "\n\t    color: '#FF0000',"
              "\n\t    data: [30.00,10.00]"
              "\n\t  }, {"
              "\n\t    type: 'line',"
              "\n\t    name: 'average',"
              "\n\t    color: '#0000AA',"
              "\n\t    marker: false,"
              "\n\t    enableMouseTracking:false,"
              "\n\t    data: [15,15]"
              "\n\t  }]"
              "\n\t  });"
              "\n\t});"
              "\n\t</script>");
}

TEST(ModalityChartTest, ContinuousTargetHasMeansAndNoTargetColumn) {
    const QString script = renderModality(
        variable(QStringLiteral("name=\"RM\" idx=\"6\""),
                 modality(QStringLiteral("[3.56;5.88]"), 101, 1717) +
                     modality(QStringLiteral("]5.88;6.21]"), 101, 2060.4) +
                     modality(QStringLiteral("]6.21;6.62]"), 102, 2325.6) +
                     modality(QStringLiteral("]6.62;8.78]"), 202, 5298.2)),
        false);
    EXPECT_EQ(between(script, QStringLiteral("text: '"), QStringLiteral("'")), u"RM");
    EXPECT_EQ(between(script, QStringLiteral("subtitle: {\n\t    text: '"), QStringLiteral("'")),
              u"nLines= 506, nModalities= 4, targetMean= 22.5320158102767");
    EXPECT_EQ(between(script, QStringLiteral("name: 'Target',\n\t    color: '#FF0000',\n\t    data: ["),
                      QStringLiteral("]")),
              u"17,20.4,22.8,26.2287");
    EXPECT_EQ(between(script, QStringLiteral("enableMouseTracking:false,\n\t    data: ["),
                      QStringLiteral("]")),
              u"22.5320158102767,22.5320158102767,22.5320158102767,22.5320158102767");
    EXPECT_FALSE(script.contains(u"min: 0,"));
    EXPECT_FALSE(script.contains(u"#AA0000"));
    EXPECT_FALSE(script.contains(u"Mean Target"));
    EXPECT_TRUE(script.contains(
        u"\n\t      var nOcc  = this.point.series.chart.series[0].data[this.point.x].y;"
        u"\n\t      var target= this.point.series.chart.series[1].data[this.point.x].y;"
        u"\n"
        u"\n\t      return '<b>'+ this.x +'</b><br/>'"
        u"\n\t          + 'Count= '+ (Number(nOcc))+' (='+Number((Number(nOcc))*100/506).toFixed(2)+'%)'+'<br/>'"
        u"\n\t          + 'Target= '+ (Number(target))"
        u"\n\t          ;"
        u"\n\t    }"));
}

TEST(ModalityChartTest, SeparatorsFollowEveryFifthModality) {
    QString modalities;
    for (int i = 1; i <= 12; ++i)
        modalities += modality(QStringLiteral("c%1").arg(i), i, 0);
    const QString script = renderModality(variable(QStringLiteral("idx=\"12\""), modalities), true);
    EXPECT_EQ(between(script, QStringLiteral("categories: ["), QStringLiteral("\n\t    ]")),
              u"'c1','c2','c3','c4','c5',\n\t\t\t'c6','c7','c8','c9','c10',\n\t\t\t'c11','c12'");
    EXPECT_EQ(between(script, QStringLiteral("'normal',\n\t    data: ["), QStringLiteral("]")),
              u"1,2,3,4,5,\n\t\t\t6,7,8,9,10,\n\t\t\t11,12");
    EXPECT_EQ(between(script, QStringLiteral("'#FF0000',\n\t    data: ["), QStringLiteral("]")),
              u"0.00,0.00,0.00,0.00,0.00,\n\t\t\t0.00,0.00,0.00,0.00,0.00,\n\t\t\t0.00,0.00");
}

TEST(ModalityChartTest, OtherChildElementsDoNotTakeSeparatorsAway) {
    const QString script = renderModality(
        variable(QStringLiteral("idx=\"1\""),
                 QStringLiteral("<Note/>") + modality(QStringLiteral("a"), 1, 0) +
                     QStringLiteral("<Note/>") + modality(QStringLiteral("b"), 2, 0)),
        true);
    EXPECT_EQ(between(script, QStringLiteral("categories: ["), QStringLiteral("\n\t    ]")),
              u"'a','b'");
}

TEST(ModalityChartTest, CrowdedVariablesLeaveOutSingleLineModalities) {
    // 250 modalities; every fifth has nOcc 2, 3 of each 5 have 1, one has 0: 50 shown.
    QString modalities;
    for (int i = 1; i <= 250; ++i)
        modalities += modality(QStringLiteral("m%1").arg(i), i % 5 == 1 ? 2 : i % 5 == 2 ? 0 : 1, 1);
    const QString script = renderModality(variable(QStringLiteral("idx=\"9\""), modalities), true);
    const QString categories =
        between(script, QStringLiteral("categories: ["), QStringLiteral("\n\t    ]"));
    EXPECT_EQ(categories.count(u'\''), 100);
    EXPECT_TRUE(categories.startsWith(u"'m1','m6','m11',"));
    // The last modality is hidden, so the separator after the last shown one stays.
    EXPECT_TRUE(categories.endsWith(u"'m246',")) << qPrintable(categories.right(30));
    const QString averages =
        between(script, QStringLiteral("enableMouseTracking:false,\n\t    data: ["), QStringLiteral("]"));
    EXPECT_EQ(averages.count(u',') + 1, 50);
    EXPECT_TRUE(script.contains(u"nLines= 250, nModalities= 250,")) << "hidden ones still count";
}

TEST(ModalityChartTest, NearlyCrowdedVariablesShowEverything) {
    QString modalities;
    for (int i = 1; i <= 199; ++i)
        modalities += modality(QStringLiteral("m%1").arg(i), 1, 0);
    const QString script = renderModality(variable(QStringLiteral("idx=\"9\""), modalities), true);
    EXPECT_EQ(between(script, QStringLiteral("categories: ["), QStringLiteral("\n\t    ]")).count(u'\''),
              2 * 199);
}

TEST(ModalityChartTest, LongLabelsAreCutAfterOneHundredCharacters) {
    const QString base = QString(100, u'x');
    const QString script = renderModality(
        variable(QStringLiteral("idx=\"1\""), modality(base + QStringLiteral("abc"), 1, 0) +
                                                  modality(base + QStringLiteral("abcd"), 1, 0)),
        true);
    EXPECT_EQ(between(script, QStringLiteral("categories: ["), QStringLiteral("\n\t    ]")),
              QStringLiteral("'%1abc','%1...'").arg(base));
}

TEST(ModalityChartTest, LabelsAreEscapedTrimmedAndQuoted) {
    const QString script = renderModality(
        variable(QStringLiteral("idx=\"1\""),
                 modality(QStringLiteral("  a&amp;b &lt;c&gt; &apos;d&apos;\t"), 1, 0) +
                     modality(QStringLiteral("C:\\dir&#10;next"), 1, 0)),
        true);
    EXPECT_EQ(between(script, QStringLiteral("categories: ["), QStringLiteral("\n\t    ]")),
              u"'a&amp;b &lt;c&gt; &apos;d&apos;','C:\\\\dir\\nnext'");
}

TEST(ModalityChartTest, TitleFallsBackToTheName) {
    const QString modalities = modality(QStringLiteral("a"), 1, 0);
    EXPECT_TRUE(renderModality(variable(QStringLiteral("name=\"N\" label=\"\""), modalities), true)
                    .contains(u"\n\t    text: 'N',"));
    EXPECT_TRUE(renderModality(variable(QStringLiteral("name=\"N\""), modalities), true)
                    .contains(u"\n\t    text: 'N',"));
    EXPECT_TRUE(renderModality(variable(QStringLiteral("name=\"N\" label=\"L\""), modalities), true)
                    .contains(u"\n\t    text: 'L',"));
}

TEST(ModalityChartTest, NoModalitiesGiveEmptyArrays) {
    const QString binary = renderModality(variable(QStringLiteral("label=\"v\""), QString()), true);
    EXPECT_TRUE(binary.contains(u"\n\tvar chart = new Highcharts.Chart({"));
    EXPECT_TRUE(binary.contains(u"renderTo: 'container',"));
    EXPECT_TRUE(binary.contains(u"'nLines= 0, nModalities= 0, targetMean= 0%'"));
    EXPECT_TRUE(binary.contains(u"categories: [\n\t    ],"));
    EXPECT_TRUE(binary.contains(u"+ 'Mean Target= '+ 0.000+ '%'"));
    EXPECT_EQ(binary.count(u"data: []"), 4);
    const QString continuous = renderModality(variable(QString(), QString()), false);
    EXPECT_TRUE(continuous.contains(u"'nLines= 0, nModalities= 0, targetMean= 0'"));
    EXPECT_EQ(continuous.count(u"data: []"), 3);
}

TEST(ModalityChartTest, AllEmptyModalitiesGiveAnOverallOfZero) {
    const QString script = renderModality(
        variable(QStringLiteral("idx=\"1\""),
                 modality(QStringLiteral("a"), 0, 5) + modality(QStringLiteral("b"), 0, 0)),
        true);
    EXPECT_TRUE(script.contains(u"'nLines= 0, nModalities= 2, targetMean= 0%'"));
    EXPECT_TRUE(script.contains(u"+ 'Mean Target= '+ 0.000+ '%'"));
    EXPECT_TRUE(script.contains(u"enableMouseTracking:false,\n\t    data: [0,0]"));
    EXPECT_TRUE(script.contains(u"'#FF0000',\n\t    data: [0.00,0.00]"));
}

TEST(ModalityChartTest, TargetEntriesTruncateOrFallBackToTheLowestInteger) {
    const QString modalities =
        QStringLiteral("<Modality nOcc=\"10\" sumTarget=\"-3.9\"/>"
                       "<Modality nOcc=\"10\" sumTarget=\"1e300\"/>"
                       "<Modality nOcc=\"10\" sumTarget=\"2147483647.9\"/>"
                       "<Modality nOcc=\"10\" sumTarget=\"2147483648\"/>"
                       "<Modality nOcc=\"10\"/>");
    const QString script = renderModality(variable(QString(), modalities), true);
    EXPECT_EQ(between(script, QStringLiteral("'#AA0000',\n\t    yAxis: 1,\n\t    states:{hover:{brightness:0.3}},"
                                             "\n\t    stacking: 'normal',\n\t    data: ["),
                      QStringLiteral("]")),
              u"-3,-2147483648,2147483647,-2147483648,0");
}

TEST(ModalityChartTest, NonFiniteRatesAndMeansAreNull) {
    const QString modalities = QStringLiteral("<Modality name=\"a\" nOcc=\"2\" sumTarget=\"1e308\"/>"
                                              "<Modality name=\"b\" nOcc=\"1\" sumTarget=\"1\"/>");
    const QString binary = renderModality(variable(QString(), modalities), true);
    EXPECT_TRUE(binary.contains(u"'#FF0000',\n\t    data: [null,100.00]"));
    EXPECT_TRUE(binary.contains(u"+ 'Mean Target= '+ null+ '%'"));
    EXPECT_TRUE(binary.contains(u"enableMouseTracking:false,\n\t    data: [null,null]"));
    const QString continuous = renderModality(
        variable(QString(), QStringLiteral("<Modality nOcc=\"1\" sumTarget=\"1e308\"/>"
                                           "<Modality nOcc=\"1\" sumTarget=\"1e308\"/>")),
        false);
    EXPECT_TRUE(continuous.contains(u"'#FF0000',\n\t    data: [1e+308,1e+308]"));
    EXPECT_TRUE(continuous.contains(u"enableMouseTracking:false,\n\t    data: [null,null]"));
}

}  // namespace
