#pragma once
// Turns the analysis report document and the chart document into the analyst's page.

#include "html/PageFrame.h"
#include "xml/XmlNode.h"

class ReportGenerator {
public:
    // The page goes to page, framed by frame; both must outlive the generator.
    ReportGenerator(XmlNode reportRoot, XmlNode chartRoot, PageSink& page, const PageFrame& frame);

    // Writes the whole page and flushes it. False on success; true (page left empty) when the
    // prediction job is unknown, after printing the message.
    bool generate();

private:
    void writeHead(bool binaryTarget);

    // Declared in this order so that destruction releases the chart root first.
    XmlNode reportRoot;
    XmlNode chartRoot;
    PageSink& page;
    const PageFrame& frame;
};
