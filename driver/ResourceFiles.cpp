#include "driver/ResourceFiles.h"

#include <QByteArray>
#include <QFile>

bool copyResourceFile(const QString& fileName, const QString& path) {
    QByteArray bytes;
    QFile resource(QStringLiteral(":/rscFiles/") + fileName);
    if (resource.open(QIODevice::ReadOnly))
        bytes = resource.readAll();

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
