#include "charts/ChartFrame.h"

#include "html/ScriptText.h"

std::string quotedAttribute(const XmlNode& node, const char* name) {
    return ScriptText::quoted(node.attribute(name));
}

std::string ChartFrame::scriptText() const {
    std::string out;
    size_t size = 4096 + axes.size() + extraTooltip.size();
    for (const std::string& body : series)
        size += body.size() + 16;
    out.reserve(size);
    out += "\n\t<script type=\"text/javascript\">"
           "\n\t  $(document).ready(function() {"
           "\n\t  var chart_" + ScriptText::identifierPart(kind) + " = new Highcharts.Chart({"
           "\n\t    chart: {"
           "\n\t      renderTo: '" + ScriptText::quoted(kind) + "',";
    out += marginLine;
    out += "\n\t      zoomType: 'xy'"
           "\n\t    },"
           "\n\t    title: {"
           "\n\t      text: '" + ScriptText::quoted(title) + "',";
    out += titleStyleLine;
    out += "\n\t    },"
           "\n\t    subtitle: {"
           "\n\t      text: '" + subtitle + "',"
           "\n\t      style: {align: 'left'}"
           "\n\t    },";
    out += axes;
    out += "\n\t    tooltip: {"
           "\n\t      formatter: function() {";
    out += extraTooltip;
    out += "\n\t        return '<b>'+ this.series.name +'</b><br/>'+"
           "\n\t                '( '+ this.x +', '+ this.y + ' )';"
           "\n\t      }"
           "\n\t    },";
    out += legend;
    out += "\n\t    plotOptions: {";
    out += plotOptions;
    out += "\n\t    },"
           "\n\t    series: [{";
    for (size_t i = 0; i < series.size(); ++i) {
        if (i > 0)
            out += "\n\t    }, {";
        out += series[i];
    }
    out += "\n\t    }]"
           "\n\t  });"
           "\n\t});"
           "\n\t</script>";
    return out;
}
