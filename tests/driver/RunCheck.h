#pragma once
// One run of the built program in a prepared folder, and what it must leave there: its line
// and exit code, nothing on standard error, a page whose inline scripts and markup pass
// tests/driver/check-page-scripts.mjs, the side folder's three files, and nothing else changed.

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <algorithm>
#include <cctype>
#include <map>
#include <string>

#include <sys/stat.h>

namespace RunCheck {

// A file by its mode, size and digest.
inline std::string file(mode_t mode, const QByteArray& bytes) {
    return QByteArray::number(mode & 07777, 8).toStdString() + ' ' + std::to_string(bytes.size()) + ' ' +
           QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex().toStdString();
}

// Every entry under folder, hidden ones included, by its path; a link by its target (never
// followed: it may lead to a device), a file of gigabytes by its size alone.
using Snapshot = std::map<std::string, std::string>;
inline Snapshot snapshot(const QString& folder) {
    Snapshot entries;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo info(it.next());
        struct stat st {};
        lstat(QFile::encodeName(info.filePath()).constData(), &st);
        std::string& entry = entries[QDir(folder).relativeFilePath(info.filePath()).toStdString()];
        if (info.isSymLink())
            entry = "link to " + info.symLinkTarget().toStdString();
        else if (!info.isFile())
            entry = info.isDir() ? "folder" : "special";
        else if (info.size() >> 30)
            entry = std::to_string(info.size());
        else
            entry = file(st.st_mode, TestSupport::readFile(info.filePath()));
    }
    return entries;
}

// A test name made of the case's description: what is not a letter or digit becomes "_".
inline std::string testName(std::string what) {
    std::replace_if(what.begin(), what.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return what;
}

struct Outcome {
    QStringList args;
    qint64 fileSizeLimit;  // the largest file the run may write, in bytes; 0: no limit
    std::string out;
    int exitCode;
    QString page, side;  // where a page and a side folder are expected, or empty
    int timeLimitMs = 400000;  // a hang guard, not a speed limit, unless a case says otherwise
};

// Runs the program in folder and checks the outcome. Answers the page, or nothing.
inline QByteArray checkRun(const QString& folder, const Outcome& expected) {
    Snapshot unchanged = snapshot(folder);
    // The memcheck tests put Valgrind in front of the program.
    QStringList command = QString::fromLocal8Bit(qgetenv("ANAREP_UNDER")).split(u' ', Qt::SkipEmptyParts);
    if (expected.fileSizeLimit > 0)
        command << QStringLiteral("prlimit") << QStringLiteral("--fsize=%1").arg(expected.fileSizeLimit);
    command << TestSupport::anarepPath() << expected.args;
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(command.takeFirst(), command);
    // The largest inputs take seconds, even under the sanitizers.
    if (!process.waitForFinished(expected.timeLimitMs)) {
        process.kill();
        process.waitForFinished();
        ADD_FAILURE() << "the run did not finish";
    }
    EXPECT_EQ(process.readAllStandardOutput().toStdString(), expected.out);
    EXPECT_EQ(process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1, expected.exitCode);
    EXPECT_EQ(process.readAllStandardError().left(4000).toStdString(), "");
    const Snapshot after = snapshot(folder);

    // A file the run replaces keeps its mode; a new one gets what a plain open would give it.
    const mode_t mask = umask(0);
    umask(mask);
    const auto output = [&](const QString& path, const QByteArray& bytes) {
        const auto earlier = unchanged.find(path.toStdString());
        const bool fresh = earlier == unchanged.end() || earlier->second.find("link") == 0;
        unchanged[path.toStdString()] = file(fresh ? 0666 & ~mask : std::stoi(earlier->second, nullptr, 8), bytes);
    };
    const QByteArray page = TestSupport::readFile(folder + u'/' + expected.page);
    if (!expected.page.isEmpty()) {
        output(expected.page, page);
        // A page that carries the chart library needs a browser: the browser tests open one.
        if (!page.isEmpty() && !expected.args.contains(QStringLiteral("--self-contained"))) {
            QProcess node;
            node.start(QStringLiteral("node"), {TestSupport::sourceDir() + "/tests/driver/check-page-scripts.mjs",
                                                folder + u'/' + expected.page});
            EXPECT_TRUE(node.waitForFinished(400000)) << "node did not finish";
            const QJsonObject answer = QJsonDocument::fromJson(node.readAllStandardOutput()).object();
            EXPECT_EQ(QJsonDocument(answer.value(u"errors").toArray()).toJson().toStdString(), "[\n]\n");
            EXPECT_GE(answer.value(u"scripts").toInt(), 2) << node.readAllStandardError().toStdString();
        }
    }
    if (!expected.side.isEmpty()) {
        unchanged[expected.side.toStdString()] = "folder";
        for (const char* name : {"logo.png", "orbi.min.js", "excanvas.compiled.js"})
            output(expected.side + u'/' + name, TestSupport::readFile(QStringLiteral(":/rscFiles/") + name));
    }
    EXPECT_EQ(after, unchanged) << "the run changed more than its page and side folder";
    return page;
}

}  // namespace RunCheck
