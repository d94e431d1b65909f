#include "driver/ResourceFiles.h"

#include <QFile>

QByteArray readResource(const QString& fileName) {
    QFile resource(QStringLiteral(":/rscFiles/") + fileName);
    if (!resource.open(QIODevice::ReadOnly))
        return QByteArray();
    return resource.readAll();
}

bool copyResourceFile(const QString& fileName, const QString& path) {
    const QByteArray bytes = readResource(fileName);
    // Truncate so that a longer file left by an earlier run ends up byte-identical too.
    QFile target(path);
    if (!target.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    if (target.write(bytes) != bytes.size())
        return false;
    // A failure to flush or close is recorded as the file's error.
    target.close();
    return target.error() == QFileDevice::NoError;
}

PageFrame::InlineResources inlineResourceSet() {
    return {readResource(QStringLiteral("orbi.min.js")).toStdString(),
            readResource(QStringLiteral("excanvas.compiled.js")).toStdString(),
            "data:image/png;base64," + readResource(QStringLiteral("logo.png")).toBase64().toStdString()};
}

QString pageRelativeBase(const QString& basePath) {
    const QString name = basePath.sliced(basePath.lastIndexOf(u'/') + 1);
    QString out;
    for (qsizetype i = 0; i < name.size(); ++i) {
        const char16_t c = name[i].unicode();
        // A backslash is a slash to the browser, a colon in the first segment ends a scheme,
        // and leading blanks and control characters are dropped from a URL. Without < > ' a
        // name could end the tag, its attribute or the conditional comment around the canvas
        // script ("-->", "--!>") and add markup of its own.
        if (c < 0x20 || c == 0x7f || (c == u' ' && i == 0) || QStringView(u"%#?\\:\"&<>'").contains(QChar(c)))
            out += QString::asprintf("%%%02X", c);
        else
            out += name[i];
    }
    return out;
}
