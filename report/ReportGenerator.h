#pragma once
// Turns the analysis report document and the chart document into the analyst's page. Each
// page section is one member function; generate() only calls them in page order.

#include "html/HtmlWriter.h"
#include "xml/XmlNode.h"
#include "xml/XmlNumbers.h"

#include <QString>

#include <map>
#include <string>
#include <tuple>

class ReportGenerator : public HtmlWriter {
public:
    ReportGenerator(XmlNode reportRoot, XmlNode chartRoot, const QString& pageName,
                    const QString& basePath);
    // Renders into a string, for tests.
    ReportGenerator(XmlNode reportRoot, XmlNode chartRoot, QString* target,
                    const QString& basePath);

    // Writes the whole page and closes it. False on success; true (page left empty) when the
    // prediction job is unknown, after printing the message.
    bool generate();

    // Ranking and signaletic tables (RankingSection.cpp).
    void writeRankingTable();
    void writeSignaleticTable();
    // Mean target of a modality relative to its variable's, in percent; 0 when nOcc is 0.
    // A negative nLine or sumTargetTotal is read from the modality's parent element.
    static double modalityIndex(const XmlNode& modality, int nLine, double sumTargetTotal);

    // Sparkline spans of one variable's modalities (Sparklines.cpp).
    void writeLineSparkline(const XmlNode& variable, bool binaryTarget);
    void writeBoxSparkline(const XmlNode& variable);

    // Model charts: scripts in the head, containers in the body (LiftsSection.cpp).
    void writeModelCharts();
    void writeLiftsSection();

    // Counts, parameters and variable lists (CountsSection.cpp, ParametersSection.cpp).
    void writeGeneralCounts();
    void writeTechnicalParameters();
    void writePrunedVariables();
    void writeSuspiciousVariables();
    void writeIgnoredVariables();

    // Per-variable details and the closing quality list (VariableStatistics.cpp).
    void writeVariableStatistics();
    void writeVariableSection(const XmlNode& variable, bool binaryTarget);
    void writeModalityTable(const XmlNode& variable, bool binaryTarget, int nLine,
                            double sumTargetTotal);
    void writeHighestUnivariateQuality();

    // Chart scripts (charts/ModalityChart.cpp, charts/LiftChart.cpp, charts/PredictionChart.cpp).
    void writeModalityChart(XmlNode variable, bool binaryTarget);
    void writeLiftChart(XmlNode chartRoot, const char* kind, const char* title);
    void writePredictionChart(XmlNode curves, const char* kind, const char* title);
    // buildPointList, remembered for the generator's lifetime: the two lift charts show some
    // curves alike, and a curve may hold millions of points.
    const std::string& pointList(const XmlNode& parent, const char* curveName, bool coarse,
                                 int yPrecision);

    // Set by generate() from the prediction job; tests set it directly.
    bool isBinaryTarget = true;

private:
    void writeHead();
    void writeTargetLine();

    // Declared in this order so that destruction releases the chart root first.
    XmlNode reportRoot;
    XmlNode chartRoot;

    // Point lists by curve element and format. Each entry holds its curve, so that no other
    // element can take the curve's address while the entry is there.
    struct PointListEntry {
        XmlNode curve;
        std::string text;
    };
    std::map<std::tuple<const void*, bool, int>, PointListEntry> pointLists;
};
