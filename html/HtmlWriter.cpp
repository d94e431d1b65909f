#include "html/HtmlWriter.h"

#include "html/NumberFormat.h"
#include "html/PageText.h"
#include "html/ScriptText.h"
#include "html/XmlText.h"
#include "xml/XmlNumbers.h"

#include <QFile>

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

HtmlWriter::HtmlWriter(const QString& pageName, const QString& basePath_)
    : styleFixed(QStringLiteral("OrbStyle_fixed")),
      styleFixedSmall(QStringLiteral("OrbStyle_fixedSmall")),
      styleTableOddLine(QStringLiteral("OrbStyle_tableOddLine")),
      styleTableEvenLine(QStringLiteral("OrbStyle_tableEvenLine")),
      basePath(basePath_),
      file(new QFile(pageName)) {
    // Binary mode: line feeds reach the file as single bytes on every platform. No byte-order
    // mark is written.
    writable = file->open(QIODevice::WriteOnly | QIODevice::Truncate);
    if (writable)
        block.reserve(blockBytes + 4096);
}

HtmlWriter::HtmlWriter(QString* target_, const QString& basePath_)
    : styleFixed(QStringLiteral("OrbStyle_fixed")),
      styleFixedSmall(QStringLiteral("OrbStyle_fixedSmall")),
      styleTableOddLine(QStringLiteral("OrbStyle_tableOddLine")),
      styleTableEvenLine(QStringLiteral("OrbStyle_tableEvenLine")),
      basePath(basePath_),
      writable(target_ != nullptr),
      targetString(target_) {}

HtmlWriter::~HtmlWriter() {
    close();
    delete file;
}

void HtmlWriter::close() {
    if (writable && targetString == nullptr)
        writeBlock();
    writable = false;
    if (file && file->isOpen()) {
        // Closing flushes Qt's own buffer; a failure there, or in the close itself, is recorded
        // as the file's error.
        file->close();
        if (file->error() != QFileDevice::NoError)
            failed = true;
    }
}

void HtmlWriter::writeBlock() {
    // After a failure the page is lost anyway; the rest of it is not sent to the file.
    const qint64 size = static_cast<qint64>(block.size());
    if (size > 0 && !failed && file->write(block.data(), size) != size)
        failed = true;
    block.clear();
}

void HtmlWriter::appendUtf16(QStringView text) {
    if (targetString != nullptr) {
        targetString->append(text);
        return;
    }
    const size_t start = block.size();
    if (!encoderHoldsUnit) {
        // ASCII is its own UTF-8: copy it, and fall back to the encoder at the first other unit.
        block.resize(start + static_cast<size_t>(text.size()));
        char* out = block.data() + start;
        const char16_t* units = text.utf16();
        qsizetype i = 0;
        for (; i < text.size() && units[i] < 0x80; ++i)
            out[i] = static_cast<char>(units[i]);
        if (i == text.size()) {
            if (block.size() >= blockBytes)
                writeBlock();
            return;
        }
        block.resize(start);
    }
    block.resize(start + static_cast<size_t>(encoder.requiredSpace(text.size())));
    char* end = encoder.appendToBuffer(block.data() + start, text);
    block.resize(static_cast<size_t>(end - block.data()));
    if (!text.isEmpty())
        encoderHoldsUnit = text.back().isHighSurrogate();
    if (block.size() >= blockBytes)
        writeBlock();
}

void HtmlWriter::appendUtf8(const char* bytes, size_t size) {
    if (targetString == nullptr && !encoderHoldsUnit) {
        // Eight bytes at a time: chart scripts come in pieces of many kilobytes.
        uint64_t high = 0;
        size_t i = 0;
        for (; i + 8 <= size; i += 8) {
            uint64_t word;
            std::memcpy(&word, bytes + i, sizeof word);
            high |= word;
        }
        for (; i < size; ++i)
            high |= static_cast<unsigned char>(bytes[i]);
        if ((high & 0x8080808080808080u) == 0) {
            block.append(bytes, size);
            if (block.size() >= blockBytes)
                writeBlock();
            return;
        }
    }
    // Other bytes take the way through UTF-16, which also turns malformed sequences into
    // replacement characters.
    appendUtf16(QString::fromUtf8(bytes, static_cast<qsizetype>(size)));
}

HtmlWriter& HtmlWriter::operator<<(const QString& text) {
    if (writable)
        appendUtf16(text);
    return *this;
}

HtmlWriter& HtmlWriter::operator<<(QStringView text) {
    if (writable)
        appendUtf16(text);
    return *this;
}

HtmlWriter& HtmlWriter::operator<<(const char* utf8) {
    if (writable && utf8 != nullptr)
        appendUtf8(utf8, std::strlen(utf8));
    return *this;
}

HtmlWriter& HtmlWriter::operator<<(const std::string& utf8) {
    if (writable)
        appendUtf8(utf8.data(), utf8.size());
    return *this;
}

HtmlWriter& HtmlWriter::operator<<(int value) {
    if (writable) {
        char digits[16];
        const auto result = std::to_chars(digits, digits + sizeof digits, value);
        appendUtf8(digits, static_cast<size_t>(result.ptr - digits));
    }
    return *this;
}

QString HtmlWriter::escapeHtml(const QString& text) {
    std::string out;
    PageText::appendText(out, text.toStdString());
    return QString::fromStdString(out);
}

namespace {

bool isAsciiLetter(QChar c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

// The inline formatting elements that document texts use for emphasis. Any other element could
// restructure the page (a heading, a list, a form control swallowing what follows) or hide it.
bool isInlineFormatting(const QString& name) {
    static const char* const names[] = {"b", "i",      "u",  "em",   "strong", "sub",  "sup", "small", "big",
                                        "s", "strike", "tt", "code", "span",   "font", "br",  "mark"};
    for (const char* formatting : names)
        if (name.compare(QLatin1StringView(formatting), Qt::CaseInsensitive) == 0)
            return true;
    return false;
}

// Whether the "<" at text[at] may stay: it starts no markup at all (a digit, a blank or the
// end follows), or a bare start or end tag of an inline formatting element.
bool harmlessLessThan(const QString& text, qsizetype at) {
    qsizetype start = at + 1;
    const bool endTag = start < text.size() && text[start] == u'/';
    if (endTag)
        ++start;
    if (start >= text.size() || !isAsciiLetter(text[start]))
        return !endTag && (start >= text.size() || (text[start] != u'!' && text[start] != u'?'));
    qsizetype end = start;
    while (end < text.size() && (isAsciiLetter(text[end]) || (text[end] >= u'0' && text[end] <= u'9')))
        ++end;
    return end < text.size() && text[end] == u'>' && isInlineFormatting(text.mid(start, end - start));
}

}  // namespace

QString HtmlWriter::inertMarkup(const QString& text) {
    if (!text.contains(u'<'))
        return text;
    QString out;
    out.reserve(text.size() + 8);
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'<' && !harmlessLessThan(text, i))
            out += u"&lt;";
        else
            out += text[i];
    }
    return out;
}

QString HtmlWriter::attributeValue(const QString& text) {
    if (!text.contains(u'&') && !text.contains(u'"'))
        return text;
    QString out;
    out.reserve(text.size() + 8);
    for (QChar c : text) {
        if (c == u'&')
            out += u"&amp;";
        else if (c == u'"')
            out += u"&quot;";
        else
            out += c;
    }
    return out;
}

void HtmlWriter::writeH2(const QString& text, const QString& style) {
    *this << "\n<H2 ";
    if (!style.isEmpty())
        *this << "style=\"" << style << "\"";
    *this << ">" << text << "</H2>";
}

void HtmlWriter::writeH3(const QString& text, const QString& id, const QString& annotation,
                         const QString& style) {
    *this << "\n\t<H3 ";
    if (!style.isEmpty())
        *this << "style=\"" << style << "\"";
    if (!annotation.isEmpty())
        writeAnnotationAttributes(annotation, text);
    *this << " >";
    if (!id.isEmpty())
        writeAnchor(text, id);
    else
        *this << escapeHtml(text);
    *this << "\n\t</H3>";
}

void HtmlWriter::writeLink(const QString& text, const QString& id) {
    *this << "<A  href=\"#label_" << attributeValue(id) << "\" >" << inertMarkup(text) << "</A>";
}

void HtmlWriter::writeAnchor(const QString& text, const QString& id) {
    *this << "<A  name=\"label_" << attributeValue(id) << "\" >" << inertMarkup(text) << "</A>";
}

void HtmlWriter::writeImage(const QString& src, const QString& alt, int width, int height) {
    *this << "<img src=\"" << attributeValue(src) << "\" alt=\"" << attributeValue(alt) << "\" width=\"" << width
          << "\" height=\"" << height << "\"/>";
}

void HtmlWriter::writeChartDiv(const QString& id) {
    *this << "<div id=\"" << attributeValue(id) << "\" style=\"width: " << 560 << "px; height: " << 512
          << "px; margin: 0 auto\"></div>";
}

void HtmlWriter::writeContainerDiv(const QString& id, int count) {
    // Wide charts get half the room per modality rather than a scroll bar.
    long long width = std::max(800LL, 30LL * count);
    if (width > 1024)
        width = std::max(800LL, 15LL * count);
    *this << "<div id=\"container" << attributeValue(id) << "\" style=\"width: "
          << NumberFormat::integer(width) << "px; height: 450px; margin: 0 auto\"></div>";
}

void HtmlWriter::writeAnnotationAttributes(const QString& annotation, const QString& text) {
    // The arguments sit in single-quoted script strings inside a double-quoted attribute:
    // escape them for the script first, then for the attribute.
    *this << " onmouseover=\"annotationShow(this,'"
          << escapeHtml(QString::fromStdString(ScriptText::quoted(annotation.toStdString()))) << "','"
          << escapeHtml(QString::fromStdString(ScriptText::quoted(text.toStdString())))
          << "')\" onmouseout=\"annotationHide(this)\" ";
}

void HtmlWriter::writeDocumentStart() {
    *this << "<!--[if ie 7]>"
             "\n<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0 Strict//EN\""
             "\n   \"http://www.w3.org/TR/xhtml1/DTD/xhtml1-strict.dtd\">"
             "\n<![endif]-->"
             "\n<html xmlns=\"http://www.w3.org/1999/xhtml\" xml:lang=\"en\" lang=\"en\">"
             "\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\">";
}

void HtmlWriter::inlineResources(InlineResources resources) { inlined = std::move(resources); }

std::string HtmlWriter::scriptElementText(std::string_view script) {
    // Inside a script element the browser ends the element at "</script", and after "<!--" a
    // "<script" would keep the next "</script>" from ending it. In the scripts the program
    // carries, either can only stand in a string, a template, a regular expression or a
    // comment: in the first three \x3C reads as "<", in a comment it is just as inert.
    const auto opensMarkup = [&](size_t at) {
        const std::string_view rest = script.substr(at);
        if (rest.starts_with("<!--"))
            return true;
        constexpr std::string_view endTag = "</script";
        if (rest.size() < endTag.size())
            return false;
        for (size_t i = 0; i < endTag.size(); ++i)
            if (std::tolower(static_cast<unsigned char>(rest[i])) != endTag[i])
                return false;
        return true;
    };
    std::string out;
    out.reserve(script.size());
    for (size_t at = 0; at < script.size(); ++at) {
        if (script[at] == '<' && opensMarkup(at))
            out += "\\x3C";
        else
            out += script[at];
    }
    return out;
}

void HtmlWriter::writeScriptIncludes() {
    if (inlined)
        *this << "\n<script type=\"text/javascript\">\n" << scriptElementText(inlined->bundle) << "\n</script>";
    else
        *this << "\n<script type=\"text/javascript\" src=\"" << basePath << "_files/orbi.min.js\"></script>";
    *this << "\n<script type=\"text/javascript\">"
             "\n $(function() {"
             "\n\t $('.orbBox').sparkline('html', {type: 'bar' ,width: '200px', fillColor: false, barColor: 'green', "
             "\n\t normalRangeMin: '1', normalRangeMax: '2'"
             "\n\t } );"
             "\n"
             "\n\t $('.orbLine').sparkline('myhtml', {type: 'line', width: '100px', lineColor: 'green', fillColor: false,"
             "\n\t spotColor: '', minSpotColor: 'blue', maxSpotColor: 'red', spotRadius: '1.5',"
             "\n\t normalRangeMin: '1', normalRangeMax: '3'"
             "\n\t } );"
             "\n });"
             "\n </script>";
    // The canvas emulation does nothing where the browser has a canvas of its own; inline, it
    // needs no conditional comment, which any "-->" in the script would end.
    if (inlined)
        *this << "\n<script type=\"text/javascript\">\n" << scriptElementText(inlined->canvasScript) << "\n</script>";
    else
        *this << "\n<!--[if IE]>"
                 "\n\t<script type=\"text/javascript\" src=\"" << basePath << "_files/excanvas.compiled.js\"></script>"
                 "\n<![endif]-->";
}

void HtmlWriter::writeStyleSheet() {
    *this << "\n<style type=\"text/css\">"
             "\n<!--"
             "\n." << styleFixed << "        {color: black;font-family:courier;font-size:xx-small;text-align: center;}"
             "\n." << styleFixedSmall << "   {color: black;font-family:courier;font-size:xx-small;text-align: center;}"
             "\n." << styleTableOddLine << " {background-color:#FFFFFF;}"
             "\n." << styleTableEvenLine << "{background-color:#E8E8E8;}"
             "\n.blBorderLeft {"
             "\n\tborder-left-style: solid;"
             "\n\tborder-left-color: #000000;"
             "\n\tborder-left-width: 2px;"
             "\n\tborder-top-width: 0px;"
             "\n\tborder-right-width: 0px;"
             "\n\tborder-bottom-width: 1px;"
             "\n\ttext-indent: 5px;"
             "\n\tborder-bottom-style: solid;"
             "\n\tborder-bottom-color: #CCCCCC;"
             "\n}"
             "\n.thinline {"
             "\n\tborder-bottom-width: 1px;"
             "\n\tborder-bottom-style: solid;"
             "\n\tborder-bottom-color: #CCCCCC;"
             "\n}"
             "\n.greyBorderBottom {"
             "\n\tpadding-right: 5px;"
             "\n\tborder-bottom-width: 1px;"
             "\n\tborder-bottom-style: solid;"
             "\n\tborder-bottom-color: #CCCCCC;"
             "\n}"
             "\n.blBorderBottom {"
             "\n\tborder-bottom-width: 2px;"
             "\n\tborder-bottom-style: solid;"
             "\n\tborder-bottom-color: #000000;"
             "\n\ttext-align: center;"
             "\n}"
             "\n.blBorderBottomLeft {"
             "\n\tborder-bottom-width: 2px;"
             "\n\tborder-left-width: 2px;"
             "\n\tborder-bottom-style: solid;"
             "\n\tborder-left-style: solid;"
             "\n\tborder-bottom-color: #000000;"
             "\n\tborder-left-color: #000000;"
             "\n\ttext-align: center;"
             "\n}"
             "\n.style3 {font-size: large}"
             "\n.sparkContainer {float:left;height:20px; }"
             "\n.sparkLB {float:left;height:50%;background-color:#B8B8FF;position:relative;top:25%}"
             "\n.sparkBl {float:left;width:42px;height:100%;background-color:blue;}"
             "\n-->"
             "\n</style>";
}

void HtmlWriter::writeBanner(const QString& caption) {
    *this << "\n<H1 style=\"text-align:center;font-family: Verdana, Arial, Helvetica, sans-serif;font-style: italic\">"
             "ORBi<span style=\"font-size: medium\">-"
             "\n\t  <b><font style=\"color:red\"   >O</font>pen <font style=\"color:red\" >R</font>eport <font style=\"color:red\" >B</font>uilder"
             "\n\t  Ed<font style=\"color:red\">i</font>tion</b>"
             "\n\t  <img src=\"";
    if (inlined)
        *this << inlined->logoUri;
    else
        *this << basePath << "_files/logo.png";
    *this << "\" width=\"50\" height=\"55\" align=\"absmiddle\" />"
             "\n\t  <u>" << inertMarkup(caption) << "</u></span> </H1>";
}

void HtmlWriter::writeBar(double value, double maximum, int width) {
    const int outer = width + 2;
    // A product that is not a finite 32-bit number (a zero maximum, say) draws an empty bar.
    const double product = std::floor(value / maximum * outer);
    const int filled = std::isfinite(product) && product >= std::numeric_limits<int32_t>::min() &&
                               product <= std::numeric_limits<int32_t>::max()
                           ? static_cast<int>(product)
                           : 0;
    *this << "<div style=\"width:" << outer << "px;\" class=\"sparkContainer\" >"
          << "<div style=\"width:" << outer << "px;\" class=\"sparkLB\" >"
          << "<div style=\"width:" << filled << "px;\" class=\"sparkBl\" ></div></div></div>";
}

void HtmlWriter::writeValueCells(XmlNode node, const char* attributeName, double maximum,
                                 int precision, double threshold) {
    const double value = parseDoubleOr(node.attribute(attributeName), 0.0);
    if (maximum == 0.0)
        maximum = 1.0;
    if (value > threshold) {
        *this << "\n\t<td width=\"35\" class=\"blBorderLeft\" >"
              << NumberFormat::fixed(value, precision)
              << "&nbsp;</td>\n\t<td width=\"45\" class=\"greyBorderBottom\" >";
        writeBar(std::fabs(value), maximum, 40);
        *this << "</td>";
    } else {
        *this << "\n\t<td width=\"35\" class=\"blBorderLeft\" >&nbsp;</td>"
                 "\n\t<td width=\"45\" class=\"greyBorderBottom\" >&nbsp;</td>";
    }
}
