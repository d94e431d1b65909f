#pragma once
// The three files the page loads from its side directory travel inside the program as
// resource data under ":/rscFiles/".

#include <QString>

// Writes the embedded resource fileName to directory + "/" + fileName, replacing any earlier
// file. A target that cannot be opened is skipped silently; write errors go unnoticed.
void copyResourceFile(const QString& directory, const QString& fileName);
