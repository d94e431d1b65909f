#pragma once
// Builders of chart documents and renderers of chart scripts for the chart tests.

#include "charts/Charts.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

// Lets test failures show QString values as text.
inline void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

namespace ChartTest {

// Base64 of the values as little-endian doubles, followed by extraBytes zero bytes.
QString base64Doubles(const std::vector<double>& values, int extraBytes = 0);
// A curve element <name><x>...</x><y>...</y></name>.
QString curve(const QString& name, const std::vector<double>& x, const std::vector<double>& y);
// 0, 1, ..., count - 1.
std::vector<double> indices(int count);
// The x values of a point list written in fine mode.
std::vector<double> pointXs(const std::string& pointList);

// Parses a document whose root element is rootTag; fails the test on a parse error.
XmlNode parse(const QString& text, std::string_view rootTag = "ORB_Charts");

// What the writer calls produce.
QString render(const std::function<void(PageSink&)>& write);
QString renderLift(const XmlNode& chartRoot, const char* kind);
QString renderPrediction(const XmlNode& curves, const char* kind);
QString renderModality(const XmlNode& variable, bool binaryTarget);
// The text after the first `from` up to the next `to`.
QString between(const QString& text, const QString& from, const QString& to);

// The text between "<script ...>" and the next "</script", for every script element.
QStringList inlineScripts(const QString& page);
// One line per script that does not compile, or fails when run against stand-ins of the
// page's libraries; empty when all pass. Sets skipped when Node cannot be run.
QString scriptErrors(const QStringList& scripts, bool* skipped);

}  // namespace ChartTest
