#include "driver/ResourceFiles.h"

#include <QByteArray>
#include <QFile>

void copyResourceFile(const QString& directory, const QString& fileName) {
    QByteArray bytes;
    QFile resource(QStringLiteral(":/rscFiles/") + fileName);
    if (resource.open(QIODevice::ReadOnly))
        bytes = resource.readAll();

    // Truncate so that a longer file left by an earlier run ends up byte-identical too.
    QFile target(directory + u'/' + fileName);
    if (!target.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return;
    target.write(bytes);
}
