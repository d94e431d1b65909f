#pragma once
// Runs report sections over small analysis reports written inline, so that tests can hold the
// exact text of a section against what the page must show.

#include "html/PageSink.h"
#include "report/Sections.h"
#include "xml/XmlNumbers.h"

#include <functional>
#include <string>
#include <vector>

// Writes one section from the report root and whether the target is binary.
using Section = std::function<void(PageSink&, const XmlNode& report, bool binaryTarget)>;

// Parses <ORB_AnalystReport>content</ORB_AnalystReport> (content in UTF-8); a parse error fails
// the calling test and gives the empty node.
XmlNode parseReport(const std::string& content);

// The text one section writes over root, in UTF-8.
std::string renderSection(const XmlNode& root, const Section& section, bool binaryTarget = true);
std::string renderSection(const std::string& content, const Section& section,
                          bool binaryTarget = true);

// The text from the first start marker up to the next end marker after it (or to the end).
std::string between(const std::string& text, const std::string& start, const std::string& end);

// The contents (up to "</td>") of every cell that starts with opening, in page order.
std::vector<std::string> cellsAfter(const std::string& page, const std::string& opening);

// C's snprintf under the C locale, to hold the page's numbers against.
std::string cFormat(const char* format, double value);

// text with & < " written as XML entities, for attribute values built by tests.
std::string xmlEscaped(const std::string& text);

// count copies of text.
std::string repeated(const std::string& text, int count);
