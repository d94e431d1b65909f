// Lift and ROC chart of a binary target: the random diagonal, the lift curves against a
// 0..100 axis, and the score or probability curve against a right-hand axis.

#include "charts/ChartFrame.h"
#include "charts/ChartSeries.h"
#include "charts/Charts.h"
#include "xml/XmlNumbers.h"

#include <span>

namespace {

struct LiftSeriesSetting {
    ChartSeries series;
    const char* element;  // child of the chart root holding the curve
    const char* curve;
    bool coarse = true;
};

constexpr LiftSeriesSetting quilloSeries = {
    .series = {.name = "quillo", .color = "#44FF44", .yAxis = 1, .showInLegend = false, .marker = false,
               .enableMouseTracking = false},
    .element = "prunedFull", .curve = "Quillo", .coarse = false};

constexpr LiftSeriesSetting deliveredSeries[] = {
    quilloSeries,
    {.series = {.name = "Lift Test", .color = "#8888AA", .yAxis = 1}, .element = "prunedTest", .curve = "ROC"},
    {.series = {.name = "Lift Full", .color = "#0000AA", .yAxis = 1}, .element = "prunedFull", .curve = "ROC"},
    {.series = {.name = "proba", .color = "#CC8888"}, .element = "prunedFull", .curve = "Score"},
};

constexpr LiftSeriesSetting selectedPrunedSeries[] = {
    quilloSeries,
    {.series = {.name = "Lift Test 99%t", .color = "#8888AA", .yAxis = 1, .lineWidth = 1, .marker = false,
                .enableMouseTracking = false},
     .element = "prunedTest", .curve = "ROC99"},
    {.series = {.name = "Lift Test 1%", .color = "#AAAAFF", .yAxis = 1, .lineWidth = 1, .marker = false,
                .enableMouseTracking = false},
     .element = "prunedTest", .curve = "ROC1"},
    {.series = {.name = "Lift Test", .color = "#AAAAFF", .yAxis = 1}, .element = "prunedTest", .curve = "ROC"},
    {.series = {.name = "Lift Creation", .color = "#FF0000", .yAxis = 1}, .element = "prunedCreation", .curve = "ROC"},
    {.series = {.name = "score", .color = "#8B4513"}, .element = "prunedTest", .curve = "Score"},
};

// The chart position of a selectedPruned row: the random diagonal comes first.
constexpr int selectedPrunedPosition(std::string_view name) {
    return seriesIndex(std::span<const LiftSeriesSetting>(selectedPrunedSeries), name) + 1;
}

// Hovering one of the three test lifts shows all three at that x.
constexpr BandSeries testLiftBand = {
    .low = selectedPrunedPosition("Lift Test 1%"),
    .middle = selectedPrunedPosition("Lift Test"),
    .high = selectedPrunedPosition("Lift Test 99%t"),
    .lengths = selectedPrunedPosition("Lift Test 1%"),
    .abscissae = selectedPrunedPosition("Lift Test 99%t"),
    .comment = "Test lift with percentage",
    .yLabel = "', y= '",
};
static_assert(testLiftBand.low > 0 && testLiftBand.middle > 0 && testLiftBand.high > 0);

// Written ahead of the table's series, so the tooltip code's series indices count it.
constexpr const char* randomDiagonal =
    "\n\t      name: 'random',"
    "\n\t      color: '#FFBB00',"
    "\n\t      type: 'line',"
    "\n\t      showInLegend:false,"
    "\n\t      marker:false,"
    "\n\t      enableMouseTracking:false,"
    "\n\t      yAxis: 1,"
    "\n\t      data: [[0,0], [100,100]]";

std::vector<std::string> liftSeries(const XmlNode& chartRoot, std::span<const LiftSeriesSetting> settings,
                                    PointListCache& lists) {
    std::vector<std::string> texts{randomDiagonal};
    for (const LiftSeriesSetting& setting : settings)
        texts.push_back(setting.series.scriptText(
            lists.get(chartRoot.childNamed(setting.element), setting.curve, setting.coarse, 2)));
    return texts;
}

std::string liftFigures(const XmlNode& element, const char* aucLabel) {
    return aucLabel + quotedAttribute(element, "AUC") +
           " AUCtop=" + quotedAttribute(element, "AUCtop") +
           " nLine=" + std::to_string(parseIntOr(element.attribute("nLine"), 0)) +
           " nTarget=" + quotedAttribute(element, "nTarget");
}

std::string liftSubtitle(const XmlNode& chartRoot) {
    return "<font face=\"verdana\" >"
           "<b>test:</b>" + liftFigures(chartRoot.childNamed("prunedTest"), " AUC=") +
           "<br/>"
           "<b>Full:</b>" + liftFigures(chartRoot.childNamed("prunedFull"), " AUC= ") +
           "</font>";
}

std::string liftAxes(bool delivered) {
    std::string out = "\n\t    xAxis: [{"
                      "\n\t      max: 100, min:0,"
                      "\n\t      minorTickInterval: 5,"
                      "\n\t      tickInterval:10,"
                      "\n\t      showFirstLabel: true,"
                      "\n\t      showLastLabel:true"
                      "\n\t    }],"
                      "\n\t    yAxis: [{ // on right side"
                      "\n\t      labels: {style: {color: '#FF0000'}},"
                      "\n\t      title: {"
                      "\n\t         text: '";
    out += delivered ? "proba" : "score";
    out += "',"
           "\n\t         style: {color: '#89A54E'},"
           "\n\t         margin: 40"
           "\n\t      },";
    if (delivered)
        out += "\n\t      max: 0.8, min:0,";
    out += "\n\t      opposite: true"
           "\n"
           "\n\t    }, { // Secondary yAxis"
           "\n\t      max: 100, min:0,"
           "\n\t      minorTickInterval: 5,"
           "\n\t      tickInterval:10,"
           "\n\t      showFirstLabel: false,"
           "\n\t      showLastLabel:true,"
           "\n\t      title: {enabled: false},"
           "\n\t      labels: {"
           "\n\t        formatter: function() {return this.value;},"
           "\n\t        style: {color: '#22AA22'}"
           "\n\t      }"
           "\n\t    }],";
    return out;
}

constexpr const char* liftLegend =
    "\n\t    legend: {"
    "\n\t      layout: 'vertical',"
    "\n\t      style: {"
    "\n\t        left: '350px',"
    "\n\t        bottom: 'auto',"
    "\n\t        right: 'auto',"
    "\n\t        top: '270px'"
    "\n\t      },"
    "\n\t      backgroundColor: '#FFFFFF'"
    "\n\t    },";

}  // namespace

void writeLiftChart(PageSink& page, const XmlNode& root, const char* kind, const char* title,
                    PointListCache& lists) {
    const bool delivered = std::string_view(kind) == "delivered";
    ChartFrame frame = ChartFrame::modelChart(kind, title);
    frame.margin = "[60, 60, 60, 30]";
    frame.titleStyle = "\n\t      style: {margin: '10px 0 0 0'} // center it";
    frame.subtitle = liftSubtitle(root);
    frame.axes = liftAxes(delivered);
    frame.tooltip = (delivered ? std::string() : bandTooltip(testLiftBand)) + pointTooltip;
    frame.legend = liftLegend;
    frame.plotOptions = "\n\t      line:{animation  : false}";
    frame.series = delivered ? liftSeries(root, deliveredSeries, lists)
                             : liftSeries(root, selectedPrunedSeries, lists);
    frame.write(page);
}
