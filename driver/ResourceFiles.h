#pragma once
// The three files the page loads from its side directory travel inside the program as
// resource data under ":/rscFiles/".

#include <QString>

// Writes the embedded resource fileName to path, replacing any earlier content. False when
// path cannot be opened or the bytes do not all reach it (a full disk, a file-size limit).
bool copyResourceFile(const QString& fileName, const QString& path);
