#include "html/NumberFormat.h"
#include "report/ChildWalk.h"
#include "report/Sections.h"
#include "xml/XmlNumbers.h"

#include <limits>

void writeLineSparkline(PageSink& page, const XmlNode& variable, bool binaryTarget) {
    // nLine is read as a real here, so an absent count gives a non-finite mean, not a trap.
    const double overallMean = parseDoubleOr(variable.attribute("sumTargetTotal"), 0.0) /
                               parseDoubleOr(variable.attribute("nLine"), 0.0);
    double lowestMean = std::numeric_limits<double>::max();
    std::string points;
    forEachChildNamed(variable, "Modality", [&](const XmlNode& modality) {
        const int32_t nOcc = parseIntOr(modality.attribute("nOcc"), 0);
        if (nOcc == 0)
            return;
        const double mean = parseDoubleOr(modality.attribute("sumTarget"), 0.0) / nOcc;
        if (mean < lowestMean)
            lowestMean = mean;
        points += ',';
        NumberFormat::appendG(points, mean, 16);
    });
    // The plugin reads the first two values as the shaded normal range, the rest as points.
    std::string span = "\n<span class=\"orbLine\">";
    NumberFormat::appendG(span, binaryTarget ? 0.0 : lowestMean, 16);
    span += ',';
    NumberFormat::appendG(span, overallMean, 16);
    span += points;
    span += "</span>";
    page << span;
}

void writeBoxSparkline(PageSink& page, const XmlNode& variable) {
    std::string span = "\n <span class=\"orbBox\">";
    const char* separator = "";
    forEachChildNamed(variable, "Modality", [&](const XmlNode& modality) {
        const int32_t nOcc = parseIntOr(modality.attribute("nOcc"), 0);
        if (nOcc == 0)
            return;
        span += separator;
        separator = ",";
        NumberFormat::appendG(span, nOcc, 6);
    });
    span += "</span>";
    page << span;
}
