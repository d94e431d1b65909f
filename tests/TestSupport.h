#pragma once
// Helpers shared by the test programs: files, temporary directories and running the program.

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>

class QTemporaryDir;

namespace TestSupport {

// Root of the source tree and of the build tree.
QString sourceDir();
QString binaryDir();
// Path of the built anarep program.
QString anarepPath();

// Whole file, or an empty array when it cannot be read.
QByteArray readFile(const QString& path);
void writeFile(const QString& path, const QByteArray& bytes);

// A fresh directory removed when the object goes.
class TempDir {
public:
    TempDir();
    ~TempDir();
    QString path() const;
    QString file(const QString& name) const;

private:
    std::unique_ptr<QTemporaryDir> dir_;
};

struct RunResult {
    bool timedOut = false;  // killed at the time limit
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// Runs anarep with the given arguments in the given directory; the limit only guards against a
// hang.
RunResult runAnarep(const QStringList& arguments, const QString& workingDirectory, int limitMs = 60000);

}  // namespace TestSupport
