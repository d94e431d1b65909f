#pragma once
// Second half of a run, once both documents have been accepted: the page, then the side
// directory with the resource files.

#include "xml/XmlNode.h"

#include <string>

// Every way a run ends; the entry point prints the line of each (outcomeLine) and exits with
// its code (outcomeExitCode).
enum class RunOutcome {
    Written,               // page and side folder in place: exit 0
    InvalidReport,         // the analysis report document did not load
    InvalidCharts,         // the chart document did not load, or has no name
    UnknownPredictionJob,  // an empty page replaced the earlier one
    PageNotWritten,        // nothing changed
    SideFolderNotWritten,  // nothing changed
    OutOfMemory,           // nothing changed
};

// The outcome's line, line feed included, and its exit code.
const char* outcomeLine(RunOutcome outcome);
int outcomeExitCode(RunOutcome outcome);

// Writes the page basePath + ".html" and the side directory basePath + "_files" with its three
// resource files, the side directory first, each file whole or not at all. basePath is bytes,
// used as they are. A self-contained page carries the resources itself and gets no side
// directory. On every outcome but Written and UnknownPredictionJob, an earlier page and side
// directory are left as they were; running out of memory throws std::bad_alloc after removing
// what the run made.
RunOutcome runReport(XmlNode reportRoot, XmlNode chartRoot, const std::string& basePath, bool selfContained);
