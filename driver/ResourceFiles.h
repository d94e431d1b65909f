#pragma once
// The three files the page loads from its side directory travel inside the program as
// resource data under ":/rscFiles/".

#include "html/PageFrame.h"

#include <QByteArray>
#include <QString>

// The bytes of the embedded resource fileName; empty when there is no such resource.
QByteArray readResource(const QString& fileName);

// Writes the embedded resource fileName to path, replacing any earlier content. False when
// path cannot be opened or the bytes do not all reach it (a full disk, a file-size limit).
bool copyResourceFile(const QString& fileName, const QString& path);

// The whole resource set for a page that carries it inside: both scripts as they are, the
// logo as a base64 data: URI.
PageFrame::InlineResources inlineResourceSet();

// The base path as the page, lying beside its side directory, names it: its last component,
// with the characters that a URL or the markup around it would read otherwise (% # ? \ : " & < >
// ', control characters and a leading blank) percent-encoded. Other names stay as typed.
QString pageRelativeBase(const QString& basePath);
