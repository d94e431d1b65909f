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

constexpr LiftSeriesSetting quilloSeries = {{"quillo", "#44FF44", "line", 1, 2, false, false, false}, "prunedFull",
                                            "Quillo", false};

constexpr LiftSeriesSetting deliveredSeries[] = {
    quilloSeries,
    {{"Lift Test", "#8888AA", "line", 1}, "prunedTest", "ROC"},
    {{"Lift Full", "#0000AA", "line", 1}, "prunedFull", "ROC"},
    {{"proba", "#CC8888"}, "prunedFull", "Score"},
};

constexpr LiftSeriesSetting selectedPrunedSeries[] = {
    quilloSeries,
    {{"Lift Test 99%t", "#8888AA", "line", 1, 1, true, false, false}, "prunedTest", "ROC99"},
    {{"Lift Test 1%", "#AAAAFF", "line", 1, 1, true, false, false}, "prunedTest", "ROC1"},
    {{"Lift Test", "#AAAAFF", "line", 1}, "prunedTest", "ROC"},
    {{"Lift Creation", "#FF0000", "line", 1}, "prunedCreation", "ROC"},
    {{"score", "#8B4513"}, "prunedTest", "Score"},
};

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

// Hovering one of the three test lifts shows all three at that x.
constexpr const char* testLiftTooltip =
    "\n\t        if (this.series.index>1 && this.series.index<5)"
    "\n\t        {"
    "\n\t          // Test lift with percentage"
    "\n\t          // find x index"
    "\n\t          var index=0;"
    "\n\t          for (var i=0;i<this.point.series.chart.series[3].data.length;i++)"
    "\n\t          {"
    "\n\t            if (Number(this.point.x)==Number(this.point.series.chart.series[2].data[i].x))"
    "\n\t            {index=i;}"
    "\n\t          }"
    "\n\t          return '<b>'+ this.series.name +'</b><br/>'"
    "\n\t            + 'x = '+ this.x + ', y= '"
    "\n\t            + this.point.series.chart.series[3].data[index].y + ' < '"
    "\n\t            + this.point.series.chart.series[4].data[index].y + ' < '"
    "\n\t            + this.point.series.chart.series[2].data[index].y"
    "\n\t           ;"
    "\n\t         }";

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
    frame.tooltip = std::string(delivered ? "" : testLiftTooltip) + pointTooltip;
    frame.legend = liftLegend;
    frame.plotOptions = "\n\t      line:{animation  : false}";
    frame.series = delivered ? liftSeries(root, deliveredSeries, lists)
                             : liftSeries(root, selectedPrunedSeries, lists);
    frame.write(page);
}
