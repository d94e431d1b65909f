#pragma once
// The files and the folder a run leaves behind, made whole or not at all: each file is written
// under a temporary name beside its target and renamed over it once complete, and whatever the
// run made is removed again when it fails, is interrupted or is terminated.

#include <QByteArray>
#include <QString>

#include <vector>

#include <sys/types.h>

class OutputFiles {
public:
    // One per run. From here on SIGINT, SIGTERM and SIGHUP remove what the run has made before
    // the process ends (a signal that was ignored stays ignored), and a write past the process's
    // file-size limit fails instead of ending the process.
    OutputFiles();
    // Unless kept: removes every temporary file, every folder made and the files committed
    // into it. Then restores the earlier signal dispositions.
    ~OutputFiles();
    OutputFiles(const OutputFiles&) = delete;
    OutputFiles& operator=(const OutputFiles&) = delete;

    // The path to write target's new content to: a new, empty temporary file in the target's
    // folder, or, when target exists and is not a regular file (a device, a pipe, a
    // directory), target itself. A symbolic link is followed: the link stays and the file it
    // leads to is replaced. Empty when no temporary file can be made there or an existing
    // target may not be written.
    QString stage(const QString& target);
    // Makes the folder unless a folder of that name exists; false when there is none afterwards.
    bool makeDirectory(const QString& directory);
    // Renames the temporary file at staged (an answer of stage) over its target; true at once
    // for a target written in place. False when the rename fails.
    bool commit(const QString& staged);
    // The run succeeded: nothing is removed any more.
    void keep();

private:
    struct Staged {
        QByteArray temporary;
        QByteArray target;
    };
    std::vector<Staged> staged;
    std::vector<QByteArray> madeDirectories;  // each with a trailing slash
    mode_t creationMask;  // the process's umask
};
