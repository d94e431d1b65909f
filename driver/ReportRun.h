#pragma once
// Second half of a run, once both documents have been accepted: the page, then the side
// directory with the resource files.

#include "xml/XmlNode.h"

#include <QString>

// Writes the page and the side directory basePath + "_files" with its three resource files,
// the side directory first, each file whole or not at all, then prints "All Ok.". A
// self-contained page carries the resources itself and gets no side directory. Returns the
// process exit code: 0 on success, 1 when the page or the side directory cannot be written
// (an earlier page and side directory are then left as they were) or the generator fails;
// each failure prints its own line.
int runReport(XmlNode reportRoot, XmlNode chartRoot, const QString& pageName,
              const QString& basePath, bool selfContained);

// Prints the run's one line of outcome and answers the exit code.
int printOutcome(const char* line, int exitCode);
