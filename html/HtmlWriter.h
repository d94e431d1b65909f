#pragma once
// The page's output object: the page file, its UTF-8 text stream, the base path through which
// the page refers to its side directory, and the markup operations shared by every section.

#include "xml/XmlNode.h"

#include <QString>

#include <string>

class QFile;
class QTextStream;

class HtmlWriter {
public:
    // Opens (creates or truncates) the page file; without success there is no stream.
    HtmlWriter(const QString& pageName, const QString& basePath);
    // Writes into a string instead of a file, so that tests can read back the exact text.
    HtmlWriter(QString* target, const QString& basePath);
    ~HtmlWriter();
    HtmlWriter(const HtmlWriter&) = delete;
    HtmlWriter& operator=(const HtmlWriter&) = delete;

    // True when the page file (or the target string) is open for writing.
    bool isOpen() const { return stream != nullptr; }
    // Flushes the stream and closes the page file; later writes go nowhere.
    void close();

    // Markup operations; text is written unchanged unless the name says otherwise.
    void writeH2(const QString& text, const QString& style = QString());
    void writeH3(const QString& text, const QString& id, const QString& annotation,
                 const QString& style = QString());
    void writeLink(const QString& text, const QString& id);
    void writeAnchor(const QString& text, const QString& id);
    void writeImage(const QString& src, const QString& alt, int width, int height);
    void writeChartDiv(const QString& id);
    void writeContainerDiv(const QString& id, int count);
    void writeAnnotationAttributes(const QString& annotation, const QString& text);
    // Replaces & < > " ' by their entities, ampersand first.
    static QString escapeHtml(const QString& text);

    // The page frame.
    void writeDocumentStart();
    void writeScriptIncludes();
    void writeStyleSheet();
    void writeBanner(const QString& caption);

    // Inline bars and the value cells of the ranking tables.
    void writeBar(double value, double maximum, int width);
    void writeValueCells(XmlNode node, const char16_t* attributeName, double maximum,
                         int precision, double threshold);

    // Appends text to the page; a no-op when the page could not be opened. Public because a
    // chain (*this << a << b) in a derived class goes on through the base reference returned.
    HtmlWriter& operator<<(const QString& text);
    HtmlWriter& operator<<(QStringView text);
    HtmlWriter& operator<<(const char* utf8);
    HtmlWriter& operator<<(const std::string& utf8);
    HtmlWriter& operator<<(int value);

protected:
    const QString styleFixed;
    const QString styleFixedSmall;
    const QString styleTableOddLine;
    const QString styleTableEvenLine;
    const QString basePath;
    QFile* file = nullptr;
    QTextStream* stream = nullptr;
};
