// The two model charts: their scripts in the page head, their containers in the body.

#include "charts/Charts.h"
#include "html/Markup.h"
#include "report/Sections.h"

void writeModelCharts(PageSink& page, const XmlNode& chartRoot, bool binaryTarget) {
    const char* delivered = "delivered";
    const char* selectedPruned = "selectedPruned";
    const char* finalModel = "Final Model";
    const char* prunedModel = "Pruned Model on Test Set";
    if (binaryTarget) {
        PointListCache lists;
        writeLiftChart(page, chartRoot, delivered, finalModel, lists);
        writeLiftChart(page, chartRoot, selectedPruned, prunedModel, lists);
    } else {
        writePredictionChart(page, chartRoot.childNamed("prunedCloudFull"), delivered, finalModel);
        writePredictionChart(page, chartRoot.childNamed("prunedTest"), selectedPruned, prunedModel);
    }
}

void writeLiftsSection(PageSink& page, bool binaryTarget) {
    Markup::h2(page, binaryTarget ? "Lifts" : "Graphics");
    page << "\n  <table>"
            "\n    <tr>"
            "\n      <td><div id=\"delivered\" style=\"width: 560px; height: 512px; margin: 0 auto\"></div></td>"
            "\n      <td><div id=\"selectedPruned\" style=\"width: 560px; height: 512px; margin: 0 auto\"></div></td>"
            "\n    </tr>"
            "\n  </table>";
}
