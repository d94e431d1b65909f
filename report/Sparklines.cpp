#include "html/NumberFormat.h"
#include "report/Sections.h"

#include <limits>

void writeLineSparkline(PageSink& page, const VariableFigures& figures, bool binaryTarget) {
    // nLine is read as a real here, so an absent count gives a non-finite mean, not a trap.
    const double overallMean = figures.sumTargetTotal / figures.nLineValue;
    double lowestMean = std::numeric_limits<double>::max();
    std::string points;
    for (const ModalityFigures& modality : figures.modalities) {
        if (modality.nOcc == 0)
            continue;
        const double mean = modality.sumTarget / modality.nOcc;
        if (mean < lowestMean)
            lowestMean = mean;
        points += ',';
        NumberFormat::appendG(points, mean, 16);
    }
    // The plugin reads the first two values as the shaded normal range, the rest as points.
    std::string span = "\n<span class=\"orbLine\">";
    NumberFormat::appendG(span, binaryTarget ? 0.0 : lowestMean, 16);
    span += ',';
    NumberFormat::appendG(span, overallMean, 16);
    span += points;
    span += "</span>";
    page << span;
}

void writeBoxSparkline(PageSink& page, const VariableFigures& figures) {
    std::string span = "\n <span class=\"orbBox\">";
    const char* separator = "";
    for (const ModalityFigures& modality : figures.modalities) {
        if (modality.nOcc == 0)
            continue;
        span += separator;
        separator = ",";
        NumberFormat::appendG(span, modality.nOcc, 6);
    }
    span += "</span>";
    page << span;
}
