#pragma once
// The page's chart scripts: each writes one script element into the page head.

#include "charts/PointList.h"
#include "html/PageSink.h"

struct VariableFigures;

// The lift chart of a binary target drawn into the element kind ("delivered" or
// "selectedPruned"), its curves read below chartRoot and kept in lists.
void writeLiftChart(PageSink& page, const XmlNode& chartRoot, const char* kind, const char* title,
                    PointListCache& lists);
// The prediction chart of a continuous target drawn into the element kind, from the curves
// below curves.
void writePredictionChart(PageSink& page, const XmlNode& curves, const char* kind, const char* title);
// The modality chart of one model variable, drawn into "container" + its idx from its figures.
void writeModalityChart(PageSink& page, const XmlNode& variable, const VariableFigures& figures, bool binaryTarget);
