#pragma once
// The sections of the page, each written from the analysis report's root element (report) and
// whether the target is binary; in page order after the head's charts.

#include "html/PageSink.h"
#include "report/VariableFigures.h"
#include "xml/XmlNode.h"

// The two model charts' scripts, for the page head (LiftsSection.cpp).
void writeModelCharts(PageSink& page, const XmlNode& chartRoot, bool binaryTarget);

void writeTargetLine(PageSink& page, const XmlNode& report);
// Ranking and signaletic tables (RankingSection.cpp).
void writeRankingTable(PageSink& page, const XmlNode& report, bool binaryTarget, VariableFiguresCache& figures);
// The model charts' containers (LiftsSection.cpp).
void writeLiftsSection(PageSink& page, bool binaryTarget);
void writeSignaleticTable(PageSink& page, const XmlNode& report, bool binaryTarget, VariableFiguresCache& figures);
// Counts, parameters and variable lists (CountsSection.cpp, ParametersSection.cpp).
void writeGeneralCounts(PageSink& page, const XmlNode& report, bool binaryTarget);
void writeTechnicalParameters(PageSink& page, const XmlNode& report);
void writePrunedVariables(PageSink& page, const XmlNode& report);
void writeSuspiciousVariables(PageSink& page, const XmlNode& report);
void writeIgnoredVariables(PageSink& page, const XmlNode& report);
// Per-variable details and the closing quality list (VariableStatistics.cpp).
void writeVariableStatistics(PageSink& page, const XmlNode& report, bool binaryTarget, VariableFiguresCache& figures);
void writeHighestUnivariateQuality(PageSink& page, const XmlNode& report, bool binaryTarget);

// Parts of the rows above.
// The number and bar cells of a ranking column: node's attribute as %.2f and a bar scaled by
// maximum (1 when 0); two blank cells when the value is not above threshold.
void writeValueCells(PageSink& page, const XmlNode& node, const char* attribute, double maximum, double threshold);
// Sparkline spans of one variable's modalities (Sparklines.cpp).
void writeLineSparkline(PageSink& page, const VariableFigures& figures, bool binaryTarget);
void writeBoxSparkline(PageSink& page, const VariableFigures& figures);
