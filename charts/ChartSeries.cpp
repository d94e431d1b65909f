#include "charts/ChartSeries.h"

std::string ChartSeries::scriptText() const {
    std::string out;
    out.reserve(data.size() + 256);
    out += "\n\t      name: '" + name + "',"
           "\n\t      color: '" + color + "',"
           "\n\t      type: '" + type + "',";
    if (type == "line") {
        out += "\n\t      lineWidth: " + std::to_string(lineWidth) + ",";
        out += marker ? "\n\t      marker:{radius: 1,symbol: 'diamond'},"
                      : "\n\t      marker:false,";
    } else if (type == "scatter") {
        out += "\n\t      marker:{radius: 1.5,symbol: 'circle'},";
    }
    if (!showInLegend)
        out += "\n\t      showInLegend:false,";
    if (!enableMouseTracking)
        out += "\n\t      enableMouseTracking:false,";
    if (yAxis != 0)
        out += "\n\t      yAxis: " + std::to_string(yAxis) + ",";
    if (!stacking.empty())
        out += "\n\t      stacking: " + stacking + ",";
    out += "\n\t      data: [";
    out += data;
    out += "]";
    return out;
}
