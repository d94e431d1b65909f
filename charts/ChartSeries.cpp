#include "charts/ChartSeries.h"

std::string ChartSeries::scriptText(std::string_view data) const {
    const std::string_view kind = type;
    std::string out;
    out.reserve(data.size() + 256);
    out += "\n\t      name: '";
    out += name;
    out += "',"
           "\n\t      color: '";
    out += color;
    out += "',"
           "\n\t      type: '";
    out += kind;
    out += "',";
    if (kind == "line") {
        out += "\n\t      lineWidth: " + std::to_string(lineWidth) + ",";
        out += marker ? "\n\t      marker:{radius: 1,symbol: 'diamond'},"
                      : "\n\t      marker:false,";
    } else if (kind == "scatter") {
        out += "\n\t      marker:{radius: 1.5,symbol: 'circle'},";
    }
    if (!showInLegend)
        out += "\n\t      showInLegend:false,";
    if (!enableMouseTracking)
        out += "\n\t      enableMouseTracking:false,";
    if (yAxis != 0)
        out += "\n\t      yAxis: " + std::to_string(yAxis) + ",";
    out += "\n\t      data: [";
    out += data;
    out += "]";
    return out;
}
