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

std::string bandTooltip(const BandSeries& band) {
    const int first = std::min({band.low, band.middle, band.high});
    const int last = std::max({band.low, band.middle, band.high});
    const auto series = [](int index) { return "this.point.series.chart.series[" + std::to_string(index) + "]"; };
    return "\n\t        if (this.series.index>" + std::to_string(first - 1) +
           " && this.series.index<" + std::to_string(last + 1) + ")"
           "\n\t        {"
           "\n\t          // " + band.comment +
           "\n\t          // find x index"
           "\n\t          var index=0;"
           "\n\t          for (var i=0;i<" + series(band.lengths) + ".data.length;i++)"
           "\n\t          {"
           "\n\t            if (Number(this.point.x)==Number(" + series(band.abscissae) + ".data[i].x))"
           "\n\t            {index=i;}"
           "\n\t          }"
           "\n\t          return '<b>'+ this.series.name +'</b><br/>'"
           "\n\t            + 'x = '+ this.x + " + band.yLabel +
           "\n\t            + " + series(band.low) + ".data[index].y + ' < '"
           "\n\t            + " + series(band.middle) + ".data[index].y + ' < '"
           "\n\t            + " + series(band.high) + ".data[index].y"
           "\n\t           ;"
           "\n\t         }";
}
