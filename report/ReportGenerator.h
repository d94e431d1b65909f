#pragma once
// Turns the analysis report document and the chart document into the analyst's page.

#include "html/PageFrame.h"
#include "report/VariableFigures.h"
#include "xml/XmlNode.h"

class ReportGenerator {
public:
    // What generate did; the driver tells it.
    enum class Outcome {
        Written,                // the whole page went to the sink
        UnknownPredictionJob,   // not t, T, c or C: nothing was written
    };

    // The page goes to page, framed by frame; both must outlive the generator.
    ReportGenerator(XmlNode reportRoot, XmlNode chartRoot, PageSink& page, const PageFrame& frame);

    // Writes the whole page and flushes it; prints nothing. UnknownPredictionJob, with the page
    // left empty, when the job is none of the four.
    Outcome generate();

private:
    void writeHead(bool binaryTarget);

    // Declared in this order so that destruction releases the chart root first.
    XmlNode reportRoot;
    XmlNode chartRoot;
    PageSink& page;
    const PageFrame& frame;
    // The head's charts, the ranking and the statistics all draw on these.
    VariableFiguresCache figures;
};
