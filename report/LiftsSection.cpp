// The two model charts: their scripts in the page head, their containers in the body.

#include "report/ReportGenerator.h"

void ReportGenerator::writeModelCharts() {
    const char* delivered = "delivered";
    const char* selectedPruned = "selectedPruned";
    const char* finalModel = "Final Model";
    const char* prunedModel = "Pruned Model on Test Set";
    if (isBinaryTarget) {
        writeLiftChart(chartRoot, delivered, finalModel);
        writeLiftChart(chartRoot, selectedPruned, prunedModel);
    } else {
        writePredictionChart(chartRoot.childNamed("prunedCloudFull"), delivered, finalModel);
        writePredictionChart(chartRoot.childNamed("prunedTest"), selectedPruned, prunedModel);
    }
}

void ReportGenerator::writeLiftsSection() {
    writeH2(isBinaryTarget ? QStringLiteral("Lifts") : QStringLiteral("Graphics"));
    *this << "\n  <table>"
             "\n    <tr>"
             "\n      <td>";
    writeChartDiv(QStringLiteral("delivered"));
    *this << "</td>"
             "\n      <td>";
    writeChartDiv(QStringLiteral("selectedPruned"));
    *this << "</td>"
             "\n    </tr>"
             "\n  </table>";
}
