#pragma once
// The page's output object: the page file, its UTF-8 text stream, the base path through which
// the page refers to its side directory, and the markup operations shared by every section.

#include "xml/XmlNode.h"

#include <QString>
#include <QStringEncoder>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

class QFile;

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
    bool isOpen() const { return writable; }
    // True once a write, flush or close of the page file has failed: the file is incomplete.
    bool writeFailed() const { return failed; }
    // Flushes the stream and closes the page file; later writes go nowhere.
    void close();

    // Markup operations; text is written unchanged unless the name says otherwise, except that
    // link and anchor texts and the banner caption go through inertMarkup, and ids, image
    // sources and alternative texts through attributeValue.
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
    // Document text that the page shows as markup: a bare start or end tag of an inline
    // formatting element (b i u em strong sub sup small big s strike tt code span font br mark,
    // any case) stays; every other "<" that would start markup (another element, a comment, a
    // declaration, a processing instruction, a tag with attributes) becomes &lt;. Text without
    // such a "<" is returned unchanged.
    static QString inertMarkup(const QString& text);
    // Document text inside a double-quoted attribute value: & and " become entities.
    static QString attributeValue(const QString& text);

    // The resources that a self-contained page carries instead of loading them from its side
    // folder: the combined script, the canvas emulation script, the logo as a data: URI.
    struct InlineResources {
        std::string bundle;
        std::string canvasScript;
        std::string logoUri;
    };
    // From then on the script includes and the banner carry these resources inside the page.
    void inlineResources(InlineResources resources);
    // Script text that can stand inside a script element: the "<" of every "<!--" and "</script"
    // (any case) becomes \x3C. Text without them is returned unchanged.
    static std::string scriptElementText(std::string_view script);

    // The page frame.
    void writeDocumentStart();
    void writeScriptIncludes();
    void writeStyleSheet();
    void writeBanner(const QString& caption);

    // Inline bars and the value cells of the ranking tables.
    void writeBar(double value, double maximum, int width);
    void writeValueCells(XmlNode node, const char* attributeName, double maximum,
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
    const QString basePath;  // the page's links to its side folder are basePath + "_files/" + file
    QFile* file = nullptr;

private:
    // The page goes out as UTF-8 in blocks of this size: most of its text is ASCII and is
    // copied straight into the block, without a UTF-16 stage or a call per piece.
    static constexpr size_t blockBytes = size_t{1} << 20;

    void appendUtf16(QStringView text);
    void appendUtf8(const char* bytes, size_t size);
    void writeBlock();

    std::optional<InlineResources> inlined;
    bool writable = false;
    bool failed = false;
    QString* targetString = nullptr;  // the string of the testing constructor, which takes UTF-16
    std::string block;          // UTF-8 not yet written to the file
    // Other text is encoded by a stateful encoder, as a text stream would: a surrogate pair
    // split between two pieces still becomes one character.
    QStringEncoder encoder{QStringEncoder::Utf8};
    bool encoderHoldsUnit = false;  // the last encoded piece ended in a high surrogate
};
