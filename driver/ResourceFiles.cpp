#include "driver/ResourceFiles.h"

#include "xml/TextEncoding.h"

#include <QFile>

QByteArray readResource(const QString& fileName) {
    QFile resource(QStringLiteral(":/rscFiles/") + fileName);
    if (!resource.open(QIODevice::ReadOnly))
        return QByteArray();
    return resource.readAll();
}

PageFrame::InlineResources inlineResourceSet() {
    return {readResource(QStringLiteral("orbi.min.js")).toStdString(),
            readResource(QStringLiteral("excanvas.compiled.js")).toStdString(),
            "data:image/png;base64," + readResource(QStringLiteral("logo.png")).toBase64().toStdString()};
}

std::string pageRelativeBase(std::string_view basePath) {
    const std::string_view name = basePath.substr(basePath.rfind('/') + 1);
    const auto* bytes = reinterpret_cast<const unsigned char*>(name.data());
    const auto* end = bytes + name.size();
    std::string out;
    for (const unsigned char* p = bytes; p != end;) {
        const size_t length = TextEncoding::sequenceLength(p, end);
        const unsigned char c = *p;
        // A backslash is a slash to the browser, a colon in the first segment ends a scheme,
        // and leading blanks and control characters are dropped from a URL. Without < > ' a
        // name could end the tag, its attribute or the conditional comment around the canvas
        // script ("-->", "--!>") and add markup of its own.
        if (length == 0 || c < 0x20 || c == 0x7f || (c == ' ' && p == bytes) ||
            std::string_view("%#?\\:\"&<>'").find(static_cast<char>(c)) != std::string_view::npos) {
            static constexpr char hex[] = "0123456789ABCDEF";
            out += '%';
            out += hex[c >> 4];
            out += hex[c & 15];
            ++p;
        } else {
            out.append(reinterpret_cast<const char*>(p), length);
            p += length;
        }
    }
    return out;
}
