#pragma once
// Second half of a run, once both documents have been accepted: the page, then the side
// directory with the resource files.

#include "xml/XmlNode.h"

#include <QString>

// Writes the page and, when that succeeds, the side directory basePath + "_files" with its
// three resource files, then prints "All Ok.". Returns the process exit code: 0 on success,
// 1 when the page file cannot be opened or the generator fails (each prints its own line).
int runReport(XmlNode reportRoot, XmlNode chartRoot, const QString& pageName,
              const QString& basePath);
