#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

namespace TestSupport {

QString sourceDir() { return QStringLiteral(ANAREP_SOURCE_DIR); }
QString binaryDir() { return QStringLiteral(ANAREP_BINARY_DIR); }
QString anarepPath() { return QStringLiteral(ANAREP_EXECUTABLE); }

QByteArray readFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(bytes);
}

TempDir::TempDir() : dir_(std::make_unique<QTemporaryDir>()) {}
TempDir::~TempDir() = default;
QString TempDir::path() const { return dir_->path(); }
QString TempDir::file(const QString& name) const { return dir_->filePath(name); }

RunResult runAnarep(const QStringList& arguments, const QString& workingDirectory, int limitMs) {
    QProcess process;
    process.setWorkingDirectory(workingDirectory);
    process.start(anarepPath(), arguments);
    RunResult result;
    if (!process.waitForFinished(limitMs)) {
        process.kill();
        process.waitForFinished();
        result.timedOut = true;
        return result;
    }
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

}  // namespace TestSupport
