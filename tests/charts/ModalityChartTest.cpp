#include "ChartTestSupport.h"

#include <gtest/gtest.h>

namespace {

using ChartTest::between;
using ChartTest::renderModality;

XmlNode variable(const QString& attributes, const QString& modalities) {
    return ChartTest::parse(QStringLiteral("<Var %1>%2</Var>").arg(attributes, modalities), "Var");
}

QString modality(const QString& name, int nOcc, double sumTarget) {
    return QStringLiteral("<Modality name=\"%1\" nOcc=\"%2\" sumTarget=\"%3\"/>")
        .arg(name).arg(nOcc).arg(sumTarget);
}

QString modalities(int count, const std::function<int(int)>& nOcc) {
    QString text;
    for (int i = 1; i <= count; ++i)
        text += modality(QStringLiteral("m%1").arg(i), nOcc(i), 1);
    return text;
}

// The data arrays and the category list of a rendered script.
QString categories(const QString& s) { return between(s, "categories: [", "\n\t    ]"); }
QString counts(const QString& s) { return between(s, "'#008800',\n\t    yAxis: 1,", "]").section('[', 1); }
QString targets(const QString& s) { return between(s, "'#AA0000',\n\t    yAxis: 1,", "]").section('[', 1); }
QString rates(const QString& s) { return between(s, "'#FF0000',\n\t    data: [", "]"); }
QString averages(const QString& s) { return between(s, "enableMouseTracking:false,\n\t    data: [", "]"); }

TEST(ModalityChartTest, BinaryTarget) {
    const QString s = renderModality(
        variable(R"(name="LOAN" label="Personal loan" idx="5")",
                 modality("no", 10, 3) + modality("yes", 30, 3)), true);
    EXPECT_TRUE(s.startsWith("\n\t<script type=\"text/javascript\">\n\t$(document).ready(function() {"
                             "\n\tvar chart5 = new Highcharts.Chart({\n\t  chart: {"
                             "\n\t    renderTo: 'container5',\n\t    margin: [80, 70, 100, 70],"));
    EXPECT_TRUE(s.contains("\n\t    text: 'Personal loan',"));
    EXPECT_TRUE(s.contains("\n\t    text: 'nLines= 40, nModalities= 2, targetMean= 15%',"));
    EXPECT_EQ(categories(s), "'no','yes'");
    EXPECT_EQ(counts(s), "10,30");
    EXPECT_EQ(targets(s), "3,3");
    EXPECT_EQ(rates(s), "30.00,10.00");
    EXPECT_EQ(averages(s), "15,15");
    EXPECT_TRUE(s.contains("\n\t    },\n\t    min: 0,\n\t    opposite: true"));
    EXPECT_TRUE(s.contains(
        "\n\t          + 'Count= '+ (Number(nOcc))+' (='+Number((Number(nOcc))*100/40).toFixed(2)+'%)'+'<br/>'"
        "\n\t          + 'Target= '+ (Number(nTarget))+'<br/>'"
        "\n\t          + 'Proba.Target= '+ (Number(target))+ '%<br/>' "
        "\n\t          + 'Mean Target= '+ 15.000+ '%'"
        "\n\t          ;"));
    EXPECT_TRUE(s.endsWith("\n\t  }]\n\t  });\n\t});\n\t</script>"));
}

TEST(ModalityChartTest, ContinuousTargetHasMeansAndNoTargetColumn) {
    const QString s = renderModality(
        variable(R"(name="RM" idx="6")", modality("a", 101, 1717) + modality("b", 101, 2060.4) +
                                             modality("c", 102, 2325.6) + modality("d", 202, 5298.2)),
        false);
    EXPECT_TRUE(s.contains("\n\t    text: 'RM',"));
    EXPECT_TRUE(s.contains("'nLines= 506, nModalities= 4, targetMean= 22.5320158102767'"));
    EXPECT_EQ(rates(s), "17,20.4,22.8,26.2287");
    EXPECT_EQ(averages(s), "22.5320158102767,22.5320158102767,22.5320158102767,22.5320158102767");
    EXPECT_FALSE(s.contains("min: 0,") || s.contains("#AA0000") || s.contains("Mean Target"));
    EXPECT_TRUE(s.contains(
        "\n\t      var target= this.point.series.chart.series[1].data[this.point.x].y;\n"
        "\n\t      return '<b>'+ this.x +'</b><br/>'"
        "\n\t          + 'Count= '+ (Number(nOcc))+' (='+Number((Number(nOcc))*100/506).toFixed(2)+'%)'+'<br/>'"
        "\n\t          + 'Target= '+ (Number(target))\n\t          ;\n\t    }"));
}

TEST(ModalityChartTest, SeparatorsFollowEveryFifthModality) {
    const QString s = renderModality(variable("", modalities(12, [](int i) { return i; })), true);
    EXPECT_EQ(categories(s), "'m1','m2','m3','m4','m5',\n\t\t\t'm6','m7','m8','m9','m10',\n\t\t\t'm11','m12'");
    EXPECT_EQ(counts(s), "1,2,3,4,5,\n\t\t\t6,7,8,9,10,\n\t\t\t11,12");
    EXPECT_EQ(targets(s), "1,1,1,1,1,\n\t\t\t1,1,1,1,1,\n\t\t\t1,1");
    EXPECT_TRUE(rates(s).startsWith("100.00,50.00,33.33,25.00,20.00,\n\t\t\t16.67,"));
}

TEST(ModalityChartTest, OtherChildElementsDoNotTakeSeparatorsAway) {
    const QString s = renderModality(
        variable("", "<Note/>" + modality("a", 1, 0) + "<Note/>" + modality("b", 2, 0)), true);
    EXPECT_EQ(categories(s), "'a','b'");
}

TEST(ModalityChartTest, CrowdedVariablesLeaveOutSingleLineModalities) {
    // Every fifth of 250 has two lines, the rest one or none: 50 shown, the last one hidden.
    const QString s = renderModality(
        variable("", modalities(250, [](int i) { return i % 5 == 1 ? 2 : i % 5 == 2 ? 0 : 1; })),
        true);
    EXPECT_EQ(categories(s).count('\''), 100);
    EXPECT_TRUE(categories(s).startsWith("'m1','m6','m11',"));
    EXPECT_TRUE(categories(s).endsWith("'m246',"));
    EXPECT_TRUE(counts(s).endsWith("2,"));
    EXPECT_EQ(averages(s).count(',') + 1, 50);
    EXPECT_TRUE(s.contains("nLines= 250, nModalities= 250,"));
}

TEST(ModalityChartTest, BelowTwoHundredEveryModalityIsShown) {
    const QString s = renderModality(variable("", modalities(199, [](int) { return 1; })), true);
    EXPECT_EQ(categories(s).count('\''), 2 * 199);
}

TEST(ModalityChartTest, LongLabelsAreCutAfterOneHundredCharacters) {
    const QString base(100, 'x');
    const QString s = renderModality(
        variable("", modality(base + "abc", 1, 0) + modality(base + "abcd", 1, 0)), true);
    EXPECT_EQ(categories(s), QStringLiteral("'%1abc','%1...'").arg(base));
}

TEST(ModalityChartTest, LabelsAreEscapedTrimmedAndQuoted) {
    const QString s = renderModality(
        variable("", modality("  a&amp;b &lt;c&gt; &apos;d&apos;\t", 1, 0) +
                         modality("C:\\dir&#10;next", 1, 0)), true);
    EXPECT_EQ(categories(s), "'a&amp;b &lt;c&gt; &apos;d&apos;','C:\\\\dir\\nnext'");
}

TEST(ModalityChartTest, TitleFallsBackToTheName) {
    const QString m = modality("a", 1, 0);
    EXPECT_TRUE(renderModality(variable(R"(name="N" label="")", m), true).contains("text: 'N',"));
    EXPECT_TRUE(renderModality(variable(R"(name="N")", m), true).contains("text: 'N',"));
    EXPECT_TRUE(renderModality(variable(R"(name="N" label="L")", m), true).contains("text: 'L',"));
}

TEST(ModalityChartTest, NoModalitiesGiveEmptyArrays) {
    const QString binary = renderModality(variable("", ""), true);
    EXPECT_TRUE(binary.contains("\n\tvar chart = new Highcharts.Chart({"));
    EXPECT_TRUE(binary.contains("renderTo: 'container',"));
    EXPECT_TRUE(binary.contains("'nLines= 0, nModalities= 0, targetMean= 0%'"));
    EXPECT_TRUE(binary.contains("+ 'Mean Target= '+ 0.000+ '%'"));
    EXPECT_EQ(categories(binary), "");
    EXPECT_EQ(binary.count("data: []"), 4);
    const QString continuous = renderModality(variable("", ""), false);
    EXPECT_TRUE(continuous.contains("'nLines= 0, nModalities= 0, targetMean= 0'"));
    EXPECT_EQ(continuous.count("data: []"), 3);
}

TEST(ModalityChartTest, AllEmptyModalitiesGiveAnOverallOfZero) {
    const QString s = renderModality(variable("", modality("a", 0, 5) + modality("b", 0, 0)), true);
    EXPECT_TRUE(s.contains("'nLines= 0, nModalities= 2, targetMean= 0%'"));
    EXPECT_TRUE(s.contains("+ 'Mean Target= '+ 0.000+ '%'"));
    EXPECT_EQ(averages(s), "0,0");
    EXPECT_EQ(rates(s), "0.00,0.00");
}

TEST(ModalityChartTest, TargetEntriesTruncateOrFallBackToTheLowestInteger) {
    const QString s = renderModality(
        variable("", R"(<Modality nOcc="1" sumTarget="-3.9"/><Modality nOcc="1" sumTarget="1e300"/>)"
                     R"(<Modality nOcc="1" sumTarget="2147483647.9"/><Modality nOcc="1" sumTarget="2147483648"/>)"
                     R"(<Modality nOcc="1"/>)"),
        true);
    EXPECT_EQ(targets(s), "-3,-2147483648,2147483647,-2147483648,0");
}

TEST(ModalityChartTest, NonFiniteRatesAndMeansAreNull) {
    const QString binary = renderModality(variable("", modality("a", 2, 1e308) + modality("b", 1, 1)), true);
    EXPECT_EQ(rates(binary), "null,100.00");
    EXPECT_EQ(averages(binary), "null,null");
    EXPECT_TRUE(binary.contains("+ 'Mean Target= '+ null+ '%'"));
    const QString continuous = renderModality(variable("", modality("a", 1, 1e308) + modality("b", 1, 1e308)), false);
    EXPECT_EQ(rates(continuous), "1e+308,1e+308");
    EXPECT_EQ(averages(continuous), "null,null");
}

}  // namespace
