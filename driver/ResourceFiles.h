#pragma once
// The three files the page loads from its side directory travel inside the program as
// resource data under ":/rscFiles/".

#include "html/PageFrame.h"

#include <QByteArray>
#include <QString>

#include <string>
#include <string_view>

// The bytes of the embedded resource fileName; empty when there is no such resource.
QByteArray readResource(const QString& fileName);

// The whole resource set for a page that carries it inside: both scripts as they are, the
// logo as a base64 data: URI.
PageFrame::InlineResources inlineResourceSet();

// The base path (bytes) as the page, lying beside its side directory, names it: its last
// component, with the characters that a URL or the markup around it would read otherwise
// (% # ? \ : " & < > ', control characters and a leading blank) and every byte that is not part of
// well-formed UTF-8 percent-encoded, so that the browser opens the file of exactly these bytes and
// no name can end the attribute, the tag or a comment. Other names stay as typed.
std::string pageRelativeBase(std::string_view basePath);
