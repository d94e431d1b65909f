#include "charts/ChartFrame.h"

#include "html/Escape.h"

std::string quotedAttribute(const XmlNode& node, const char* name) {
    return Escape::scriptString(node.attribute(name));
}

ChartFrame ChartFrame::modelChart(const char* kind, const char* title) {
    ChartFrame frame;
    frame.indent = "  ";
    frame.variable = std::string("_") + kind;
    frame.container = kind;
    frame.title = title;
    frame.subtitleStyle = "\n\t      style: {align: 'left'}";
    return frame;
}

void ChartFrame::write(PageSink& page) const {
    // Every frame line starts with a line feed, a tab and the indent.
    const auto line = [&](std::string_view text) -> PageSink& { return page << "\n\t" << indent << text; };
    page << "\n\t<script type=\"text/javascript\">";
    line("$(document).ready(function() {");
    line("var chart") << Escape::scriptIdentifier(variable) << " = new Highcharts.Chart({";
    line("  chart: {");
    line("    renderTo: '") << Escape::scriptString(container) << "',";
    line("    margin: ") << margin << ",";
    line("    zoomType: 'xy'");
    line("  },");
    line("  title: {");
    line("    text: '") << Escape::scriptString(title) << "'," << titleStyle;
    line("  },");
    line("  subtitle: {");
    line("    text: '") << subtitle << "'," << subtitleStyle;
    line("  },");
    page << axes;
    line("  tooltip: {");
    line("    formatter: function() {") << tooltip;
    line("    }");
    line("  },");
    page << legend;
    line("  plotOptions: {") << plotOptions;
    line("  },");
    line("  series: [{");
    for (size_t i = 0; i < series.size(); ++i) {
        if (i > 0)
            line("  }, {");
        page << series[i];
    }
    line("  }]");
    page << "\n\t  });"
            "\n\t});"
            "\n\t</script>";
}
