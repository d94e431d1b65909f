#pragma once
// Helpers shared by the test programs: files, temporary directories and running the program.

#include <QByteArray>
#include <QDir>
#include <QFileInfo>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace TestSupport {

// Roots of the source and build trees, and the built program.
inline QString sourceDir() { return QStringLiteral(ANAREP_SOURCE_DIR); }
inline QString binaryDir() { return QStringLiteral(ANAREP_BINARY_DIR); }
inline QString anarepPath() { return QStringLiteral(ANAREP_EXECUTABLE); }

// The whole file, or an empty array when it cannot be read.
inline QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Makes the file's folder when missing.
inline void writeFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(bytes);
}

// A fresh directory removed when the object goes.
class TempDir {
public:
    QString path() const { return dir_.path(); }
    QString file(const QString& name) const { return dir_.filePath(name); }

private:
    QTemporaryDir dir_;
};

struct RunResult {
    bool timedOut = false;  // killed at the time limit
    int exitCode = -1;      // -1 when the program crashed
    QByteArray out;
    QByteArray err;
};

// Runs anarep with the arguments in the directory, behind the command in front (prlimit, say);
// the time limit only guards against a hang.
inline RunResult runAnarepUnder(QStringList front, const QStringList& arguments, const QString& workingDirectory,
                                int limitMs = 60000) {
    QProcess process;
    process.setWorkingDirectory(workingDirectory);
    front << anarepPath() << arguments;
    process.start(front.takeFirst(), front);
    if (!process.waitForFinished(limitMs)) {
        process.kill();
        process.waitForFinished();
        return {true, -1, {}, {}};
    }
    return {false, process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError()};
}

inline RunResult runAnarep(const QStringList& arguments, const QString& workingDirectory, int limitMs = 60000) {
    return runAnarepUnder({}, arguments, workingDirectory, limitMs);
}

}  // namespace TestSupport
