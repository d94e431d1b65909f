#pragma once
// What the driver tests look at after running the built program: the folder it ran in, and the
// page it wrote, checked by tests/driver/check-page-scripts.mjs.

#include "TestSupport.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>

#include <map>
#include <string>

#include <sys/resource.h>

namespace RunCheck {

using Snapshot = std::map<std::string, std::string>;

inline std::string digest(const QByteArray& bytes) {
    return std::to_string(bytes.size()) + " bytes " +
           QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex().toStdString();
}

// A file by its size and digest, a link by its target (never followed: it may lead to a device).
inline std::string describe(const QFileInfo& info) {
    if (info.isSymLink())
        return "link to " + info.symLinkTarget().toStdString();
    if (info.isDir())
        return "folder";
    return info.isFile() ? digest(TestSupport::readFile(info.filePath())) : "special";
}

// Every entry under folder, hidden ones included, by its path relative to folder.
inline Snapshot snapshot(const QString& folder) {
    Snapshot entries;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo info(it.next());
        entries[QDir(folder).relativeFilePath(info.filePath()).toStdString()] = describe(info);
    }
    return entries;
}

// The program run in folder; fileSizeLimit (bytes, 0: none) bounds every file it writes.
inline TestSupport::RunResult run(const QStringList& arguments, const QString& folder, rlim_t fileSizeLimit = 0,
                                  int limitMs = 60000) {
    QProcess process;
    process.setWorkingDirectory(folder);
    if (fileSizeLimit > 0) {
        process.setChildProcessModifier([fileSizeLimit] {
            const rlimit limit{fileSizeLimit, fileSizeLimit};
            setrlimit(RLIMIT_FSIZE, &limit);
        });
    }
    process.start(TestSupport::anarepPath(), arguments);
    TestSupport::RunResult result;
    result.timedOut = !process.waitForFinished(limitMs);
    if (result.timedOut) {
        process.kill();
        process.waitForFinished();
    }
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

// Empty when node finds every inline script of the page valid and no markup a document text
// put there to take the page over; otherwise what failed. Also empty when node is missing.
inline std::string pageErrors(const QString& page, int minimumScripts) {
    if (QStandardPaths::findExecutable(QStringLiteral("node")).isEmpty())
        return {};
    QProcess node;
    node.start(QStringLiteral("node"),
               {TestSupport::sourceDir() + QStringLiteral("/tests/driver/check-page-scripts.mjs"), page});
    if (!node.waitForFinished(400000))
        return "node did not finish";
    const QJsonObject answer = QJsonDocument::fromJson(node.readAllStandardOutput()).object();
    std::string errors;
    for (const QJsonValue& error : answer.value(u"errors").toArray())
        errors += error.toString().toStdString() + '\n';
    if (answer.value(u"scripts").toInt(-1) < minimumScripts)
        errors += "too few scripts: " + node.readAllStandardError().toStdString();
    return errors;
}

}  // namespace RunCheck
