// Documents that try every way of breaking out of a chart script: each inline script of the
// resulting pages must still parse as JavaScript, and no script element may end early.

#include "ChartTestSupport.h"
#include "report/ReportGenerator.h"
#include "report/Sections.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using ChartTest::base64Doubles;
using ChartTest::parse;

// Quotes, a backslash, an end tag, a comment opener followed by a script tag, and each kind
// of line break, written as XML attribute text.
const QString hostile = QStringLiteral(
    "it&apos;s &quot;q&quot; \\ back&lt;/script&gt;&lt;!--&lt;script&gt;&#10;line&#13;&#x2028;end\\");

QString nonFiniteCurve(const QString& name) {
    const double inf = std::numeric_limits<double>::infinity();
    return QStringLiteral("<%1><x>%2</x><y>%3</y></%1>")
        .arg(name, base64Doubles({std::nan(""), 1, inf, -inf}),
             base64Doubles({inf, std::nan(""), -0.0, 1e308}));
}

QString hostileCharts() {
    QString curves;
    for (const char* name : {"Quillo", "ROC", "ROC1", "ROC99", "Score", "dots", "Perfect",
                             "ConstantMean", "Constant", "InterceptError", "AbsoluteInterceptError",
                             "AbsoluteInterceptErrorH", "AbsoluteInterceptErrorL"})
        curves += nonFiniteCurve(QString::fromLatin1(name));
    const QString figures =
        QStringLiteral("AUC=\"%1\" AUCtop=\"%1\" nLine=\"%1\" nTarget=\"%1\" MAE=\"%1\" "
                       "RSquared=\"%1\" nVar=\"%1\"")
            .arg(hostile);
    const QString ranges =
        QStringLiteral("<ranges xmin=\"-1e308\" xmax=\"1e308\" ymin=\"%1\" ymax=\"1);alert(1\"/>").arg(hostile);
    return QStringLiteral("<ORB_Charts><prunedFull %1>%2</prunedFull>"
                          "<prunedTest %1>%3%2</prunedTest>"
                          "<prunedCreation><ROC><x>QUJD*</x><y>QQ==</y></ROC></prunedCreation>"
                          "<prunedCloudFull %1>%3%2</prunedCloudFull></ORB_Charts>")
        .arg(figures, curves, ranges);
}

QString hostileReport(const char* job) {
    QString crowded;
    for (int i = 0; i < 210; ++i)
        crowded += QStringLiteral("<Modality name=\"%1 %2\" nOcc=\"%3\" sumTarget=\"1\"/>")
                       .arg(hostile)
                       .arg(i)
                       .arg(i % 2 == 0 ? 5 : 1);
    const QString odd = QStringLiteral("<Modality name=\"%1\" nOcc=\"-5\" sumTarget=\"nan\"/>"
                                       "<Modality name=\"  \" nOcc=\"5\" sumTarget=\"1e308\"/>"
                                       "<Modality name=\"x\" nOcc=\"0\" sumTarget=\"-1e308\"/>")
                            .arg(hostile);
    return QStringLiteral(
               "<ORB_AnalystReport version=\"%2\">"
               "<GeneralStats predictionJob=\"%1\"/>"
               "<ModelVariableShort><Var name=\"%2\" idx=\"%2\"/></ModelVariableShort>"
               "<ModelVariableLong>"
               "<Var name=\"%2\" label=\"%2\" idx=\"%2\">%3</Var>"
               "<Var name=\"%2\" idx=\"1-2 3\"><Note/>%4<Note/>%4</Var>"
               "<Var label=\"%2\"/>"
               "<Var name=\"n\" idx=\"%2\"><Modality nOcc=\"0\"/><Modality nOcc=\"0\"/></Var>"
               "</ModelVariableLong></ORB_AnalystReport>")
        .arg(QString::fromLatin1(job), hostile, crowded, odd);
}

void expectValidScripts(const QString& page, int minimumScripts) {
    // Document texts may hold "<script>" inside a string, never an end tag.
    const QStringList scripts = ChartTest::inlineScripts(page);
    EXPECT_EQ(page.count(QStringLiteral("</script"), Qt::CaseInsensitive), scripts.size());
    EXPECT_EQ(page.count(QStringLiteral("<script type="), Qt::CaseInsensitive), scripts.size());
    EXPECT_GE(scripts.size(), minimumScripts);
    for (const QString& script : scripts)
        EXPECT_FALSE(script.contains(u"<!--")) << "the page's parser would overlook </script>";
    bool skipped = false;
    const QString errors = ChartTest::scriptErrors(scripts, &skipped);
    if (skipped)
        GTEST_SKIP() << "node cannot be run";
    EXPECT_TRUE(errors.isEmpty()) << qPrintable(errors);
}

QString chartScripts(bool binaryTarget) {
    const XmlNode report = parse(hostileReport(binaryTarget ? "t" : "c"), "ORB_AnalystReport");
    const XmlNode charts = parse(hostileCharts());
    return ChartTest::render([&](PageSink& page) {
        writeModelCharts(page, charts, binaryTarget);
        const XmlNode variables = report.childNamed("ModelVariableLong");
        for (int i = 0; i < variables.childCount(); ++i)
            writeModalityChart(page, variables.childAt(i), binaryTarget);
    });
}

// The head of the page that generate() writes: every script of the page is there. (The body
// shows document texts as markup, which is the sections' own concern.)
QString pageHead(const char* job) {
    const XmlNode report = parse(hostileReport(job), "ORB_AnalystReport");
    const XmlNode charts = parse(hostileCharts());
    std::string out;
    {
        PageSink sink([&](std::string_view bytes) { return out.append(bytes), true; });
        const PageFrame frame("base");
        EXPECT_FALSE(ReportGenerator(report, charts, sink, frame).generate());
    }
    const QString page = QString::fromStdString(out);
    return page.left(page.indexOf(u"\n</head>"));
}

TEST(HostileDocumentTest, BinaryChartScriptsAreValid) { expectValidScripts(chartScripts(true), 6); }

TEST(HostileDocumentTest, ContinuousChartScriptsAreValid) { expectValidScripts(chartScripts(false), 6); }

TEST(HostileDocumentTest, BinaryPageHeadScriptsAreValid) { expectValidScripts(pageHead("t"), 8); }

TEST(HostileDocumentTest, ContinuousPageHeadScriptsAreValid) { expectValidScripts(pageHead("c"), 8); }

TEST(HostileDocumentTest, OddIdsStillNameTheirContainers) {
    const QString scripts = chartScripts(true);
    EXPECT_TRUE(scripts.contains(u"\n\tvar chart1_2_3 = new Highcharts.Chart({"
                                 u"\n\t  chart: {"
                                 u"\n\t    renderTo: 'container1-2 3',"));
    EXPECT_TRUE(scripts.contains(u"renderTo: 'containerit\\'s \"q\" \\\\ back<\\/script><\\!--<script>"
                                 u"\\nline\\r\\u2028end\\\\',"));
}

TEST(HostileDocumentTest, TheNodeCheckCatchesABrokenScript) {
    bool skipped = false;
    const QString errors = ChartTest::scriptErrors(
        {QStringLiteral("$(document).ready(function() { new Highcharts.Chart({data: [1,2,]}); });"),
         QStringLiteral("var b = 'x\ny';"),
         QStringLiteral("$(document).ready(function() { new Highcharts.Chart({data: [nan]}); });")},
        &skipped);
    if (skipped)
        GTEST_SKIP() << "node cannot be run";
    EXPECT_FALSE(errors.contains(u"script0.js")) << qPrintable(errors);
    EXPECT_TRUE(errors.contains(u"script1.js"));
    EXPECT_TRUE(errors.contains(u"script2.js: nan is not defined")) << qPrintable(errors);
}

}  // namespace
