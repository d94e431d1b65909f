#include "driver/OutputFiles.h"

#include <QFile>

#include <atomic>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include <sys/stat.h>
#include <unistd.h>

namespace {

// What to remove if the run stops now, in the order made: files to unlink and folders to
// remove. Kept in fixed static storage because the signal handler may touch nothing else.
constexpr int maxRemovals = 16;
char removalPaths[maxRemovals][PATH_MAX];
bool removalIsDirectory[maxRemovals];
volatile std::sig_atomic_t removalCount = 0;

constexpr int cleanupSignals[] = {SIGINT, SIGTERM, SIGHUP};
struct sigaction earlierActions[std::size(cleanupSignals)];
struct sigaction earlierFileSizeAction;

// Last made first, so that a folder is empty by the time it is removed. Only calls that are
// safe inside a signal handler.
void removeAll() {
    for (int i = removalCount - 1; i >= 0; --i) {
        if (removalIsDirectory[i])
            rmdir(removalPaths[i]);
        else
            unlink(removalPaths[i]);
    }
    removalCount = 0;
}

extern "C" void removeAndDie(int signalNumber) {
    removeAll();
    // The default action ends the process as the signal would have, once this handler returns.
    std::signal(signalNumber, SIG_DFL);
    std::raise(signalNumber);
}

bool addRemoval(const QByteArray& path, bool isDirectory) {
    const int i = removalCount;
    if (i == maxRemovals || static_cast<size_t>(path.size()) >= PATH_MAX)
        return false;
    std::memcpy(removalPaths[i], path.constData(), static_cast<size_t>(path.size()) + 1);
    removalIsDirectory[i] = isDirectory;
    // The entry is complete before the handler can see it.
    std::atomic_signal_fence(std::memory_order_seq_cst);
    removalCount = i + 1;
    return true;
}

// Between making a file or folder and recording it, a signal would leave it behind.
class SignalsHeld {
public:
    SignalsHeld() {
        sigset_t held;
        sigemptyset(&held);
        for (int signalNumber : cleanupSignals)
            sigaddset(&held, signalNumber);
        sigprocmask(SIG_BLOCK, &held, &earlier);
    }
    ~SignalsHeld() { sigprocmask(SIG_SETMASK, &earlier, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t earlier;
};

QByteArray folderOf(const QByteArray& path) {
    return path.left(path.lastIndexOf('/') + 1);
}

}  // namespace

OutputFiles::OutputFiles() {
    // The mode a plain open would have given a new file.
    creationMask = umask(0);
    umask(creationMask);

    struct sigaction action {};
    action.sa_handler = removeAndDie;
    sigemptyset(&action.sa_mask);
    for (int signalNumber : cleanupSignals)
        sigaddset(&action.sa_mask, signalNumber);
    for (size_t i = 0; i < std::size(cleanupSignals); ++i) {
        sigaction(cleanupSignals[i], nullptr, &earlierActions[i]);
        // A run started with the signal ignored (nohup) must not end on it.
        if (earlierActions[i].sa_handler != SIG_IGN)
            sigaction(cleanupSignals[i], &action, nullptr);
    }
    // Past the limit a write then fails with EFBIG, and the run reports it and cleans up.
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGXFSZ, &ignore, &earlierFileSizeAction);
}

OutputFiles::~OutputFiles() {
    {
        SignalsHeld held;
        removeAll();
    }
    for (size_t i = 0; i < std::size(cleanupSignals); ++i)
        sigaction(cleanupSignals[i], &earlierActions[i], nullptr);
    sigaction(SIGXFSZ, &earlierFileSizeAction, nullptr);
}

QString OutputFiles::stage(const QString& target) {
    QByteArray name = QFile::encodeName(target);
    struct stat info {};
    if (lstat(name.constData(), &info) == 0 && S_ISLNK(info.st_mode)) {
        char resolved[PATH_MAX];
        if (realpath(name.constData(), resolved) != nullptr)
            name = resolved;
    }
    const bool exists = stat(name.constData(), &info) == 0;
    if (exists && !S_ISREG(info.st_mode))
        return QFile::decodeName(name);
    // A file its owner made read-only is not replaced, as it would not have been overwritten.
    if (exists && access(name.constData(), W_OK) != 0)
        return QString();

    const QByteArray folder = folderOf(name);
    QByteArray temporary = folder + ".anarep-XXXXXX";
    SignalsHeld held;
    const int fd = mkstemp(temporary.data());
    if (fd < 0)
        return QString();
    fchmod(fd, exists ? info.st_mode & 07777 : 0666 & ~creationMask);
    close(fd);
    if (!addRemoval(temporary, false)) {
        unlink(temporary.constData());
        return QString();
    }
    // A file committed into a folder this run made goes with that folder.
    for (const QByteArray& made : madeDirectories) {
        if (made == folder && !addRemoval(name, false))
            return QString();
    }
    staged.push_back({temporary, name});
    return QFile::decodeName(temporary);
}

bool OutputFiles::makeDirectory(const QString& directory) {
    const QByteArray name = QFile::encodeName(directory);
    {
        SignalsHeld held;
        if (mkdir(name.constData(), 0777) == 0) {
            if (!addRemoval(name, true)) {
                rmdir(name.constData());
                return false;
            }
            madeDirectories.push_back(name + '/');
            return true;
        }
    }
    struct stat info {};
    return stat(name.constData(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool OutputFiles::commit(const QString& path) {
    const QByteArray temporary = QFile::encodeName(path);
    for (const Staged& file : staged) {
        if (file.temporary == temporary)
            return rename(file.temporary.constData(), file.target.constData()) == 0;
    }
    return true;
}

void OutputFiles::keep() {
    SignalsHeld held;
    removalCount = 0;
}
