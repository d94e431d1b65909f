#include "driver/OutputFiles.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iterator>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// What to remove if the run stops now, in the order made: names in folders the run holds open,
// each with the identity of what the run made there. Kept in fixed static storage because the
// signal handler may touch nothing else.
struct Removal {
    int folder;
    char name[NAME_MAX + 1];
    dev_t device;
    ino_t inode;
    bool isFolder;
};
constexpr int maxRemovals = 16;
Removal removals[maxRemovals];
volatile std::sig_atomic_t removalCount = 0;

constexpr int cleanupSignals[] = {SIGINT, SIGTERM, SIGHUP};
struct sigaction earlierActions[std::size(cleanupSignals)];
struct sigaction earlierFileSizeAction;

// Last made first, so that a folder is empty by the time it is removed. A name that another run
// has since taken over (its own file renamed onto it, its files put into the folder) is left
// alone. Only calls that are safe inside a signal handler.
void removeSince(int first) {
    for (int i = removalCount - 1; i >= first; --i) {
        const Removal& made = removals[i];
        struct stat info {};
        if (fstatat(made.folder, made.name, &info, AT_SYMLINK_NOFOLLOW) == 0 && info.st_dev == made.device &&
            info.st_ino == made.inode)
            unlinkat(made.folder, made.name, made.isFolder ? AT_REMOVEDIR : 0);
    }
    removalCount = first;
}

extern "C" void removeAndDie(int signalNumber) {
    removeSince(0);
    // The default action ends the process as the signal would have, once this handler returns.
    std::signal(signalNumber, SIG_DFL);
    std::raise(signalNumber);
}

// Records name in folder, just made by this run and open as made, for removal. False, with
// nothing recorded, when the table is full.
bool addRemoval(int folder, const std::string& name, int made, bool isFolder) {
    const int i = removalCount;
    struct stat info {};
    if (i == maxRemovals || name.size() > NAME_MAX || fstat(made, &info) != 0)
        return false;
    removals[i].folder = folder;
    std::memcpy(removals[i].name, name.c_str(), name.size() + 1);
    removals[i].device = info.st_dev;
    removals[i].inode = info.st_ino;
    removals[i].isFolder = isFolder;
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

void closeIfOpen(int file) {
    if (file >= 0)
        close(file);
}

// The folder name in at, never through a link, open for *at calls only; -1 when it is anything
// else.
int openFolder(int at, const char* name) {
    const int opened = openat(at, name, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat info {};
    if (opened >= 0 && (fstat(opened, &info) != 0 || !S_ISDIR(info.st_mode))) {
        close(opened);
        return -1;
    }
    return opened;
}

// A name ".anarep-" + 6 letters, different at each call.
std::string temporaryName() {
    static constexpr char letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    static unsigned long long state = 0;
    if (state == 0) {
        timespec now {};
        clock_gettime(CLOCK_REALTIME, &now);
        state = (static_cast<unsigned long long>(now.tv_nsec) ^ (static_cast<unsigned long long>(getpid()) << 32)) | 1;
    }
    std::string name = ".anarep-";
    for (int i = 0; i < 6; ++i) {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        name += letters[(state >> 33) % (std::size(letters) - 1)];
    }
    return name;
}

// Makes a new entry under a temporary name that nothing else holds: make answers what it made,
// or -1 with errno EEXIST when the name is taken. -1 when nothing could be made.
template <typename Make>
int makeTemporary(std::string& name, Make make) {
    for (int attempt = 0; attempt < 100; ++attempt) {
        name = temporaryName();
        const int made = make(name.c_str());
        if (made >= 0 || errno != EEXIST)
            return made;
    }
    return -1;
}

enum class Device { None, Opened, Failed };

// A character device under name, itself or behind a link, is written in place: it has no
// content to lose, and a link to /dev/null is how a page is thrown away. Any other link is
// replaced, never followed.
Device openDevice(int folder, const char* name, int& file) {
    struct stat target {};
    if (fstatat(folder, name, &target, 0) != 0 || !S_ISCHR(target.st_mode))
        return Device::None;
    // Not blocking, so that a device that waits for a line does not hold the run.
    file = openat(folder, name, O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    struct stat opened {};
    // The name may have changed since it was looked at: only that device is written.
    const bool same = file >= 0 && fstat(file, &opened) == 0 && S_ISCHR(opened.st_mode) &&
                      opened.st_rdev == target.st_rdev;
    const int flags = same ? fcntl(file, F_GETFL) : -1;
    if (flags < 0 || fcntl(file, F_SETFL, flags & ~O_NONBLOCK) != 0) {
        closeIfOpen(std::exchange(file, -1));
        return Device::Failed;
    }
    return Device::Opened;
}

}  // namespace

OutputFiles::Staged::~Staged() { closeIfOpen(file); }

OutputFiles::OutputFiles() {
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
        removeSince(0);
    }
    for (size_t i = 0; i < std::size(cleanupSignals); ++i)
        sigaction(cleanupSignals[i], &earlierActions[i], nullptr);
    sigaction(SIGXFSZ, &earlierFileSizeAction, nullptr);
    closeIfOpen(sideFolder);
    closeIfOpen(folder);
}

bool OutputFiles::stage(int into, const std::string& name, Staged& staged) {
    staged.folder = into;
    staged.name = name;
    struct stat info {};
    if (fstatat(into, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
        // Such as a name too long for the folder's file system.
        if (errno != ENOENT)
            return false;
        info.st_mode = 0;
    }
    if (S_ISCHR(info.st_mode) || S_ISLNK(info.st_mode)) {
        const Device device = openDevice(into, name.c_str(), staged.file);
        if (device != Device::None)
            return device == Device::Opened;
    } else if (info.st_mode != 0 && !S_ISREG(info.st_mode)) {
        // A folder, a FIFO, a socket or a block device: nothing the run may replace or write to.
        return false;
    }
    // A file its owner made read-only is not replaced, as it would not have been overwritten.
    if (S_ISREG(info.st_mode) && faccessat(into, name.c_str(), W_OK, 0) != 0)
        return false;

    SignalsHeld held;
    staged.file = makeTemporary(staged.temporary, [into](const char* temporary) {
        return openat(into, temporary, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    });
    if (staged.file < 0)
        return false;
    if (!addRemoval(into, staged.temporary, staged.file, false)) {
        unlinkat(into, staged.temporary.c_str(), 0);
        return false;
    }
    // A replaced file keeps its permission bits; a new one has those a plain create gives.
    if (S_ISREG(info.st_mode))
        fchmod(staged.file, info.st_mode & 07777);
    return true;
}

bool OutputFiles::closeFile(Staged& staged) { return close(std::exchange(staged.file, -1)) == 0; }

bool OutputFiles::putInPlace(const Staged& staged) {
    return staged.temporary.empty() ||
           renameat(staged.folder, staged.temporary.c_str(), staged.folder, staged.name.c_str()) == 0;
}

int OutputFiles::stagePage(const std::string& path) {
    const size_t slash = path.rfind('/');
    const std::string folderName = slash == std::string::npos ? std::string(".") : path.substr(0, slash + 1);
    folder = open(folderName.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0 || !stage(folder, path.substr(slash + 1), page))
        return -1;
    return page.file;
}

bool OutputFiles::writeSideFolder(const std::string& name, std::span<const SideFile> files) {
    sideName = name;
    struct stat info {};
    // Only a folder of that very name is written into: a link to one is refused.
    if (fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0)
        return S_ISDIR(info.st_mode) && refillFolder(files);
    return errno == ENOENT && fillNewFolder(files);
}

bool OutputFiles::fillNewFolder(std::span<const SideFile> files) {
    {
        SignalsHeld held;
        const int made = makeTemporary(newSideFolder, [this](const char* name) {
            return mkdirat(folder, name, 0777) == 0 ? 0 : -1;
        });
        if (made < 0)
            return false;
        sideFolder = openFolder(folder, newSideFolder.c_str());
        sideFolderRemoval = removalCount;
        if (sideFolder < 0 || !addRemoval(folder, newSideFolder, sideFolder, true)) {
            unlinkat(folder, newSideFolder.c_str(), AT_REMOVEDIR);
            return false;
        }
    }
    for (const SideFile& file : files) {
        Staged written;
        {
            SignalsHeld held;
            written.file = openat(sideFolder, file.name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
            if (written.file < 0)
                return false;
            if (!addRemoval(sideFolder, file.name, written.file, false)) {
                unlinkat(sideFolder, file.name, 0);
                return false;
            }
        }
        if (!writeAll(written.file, file.bytes) || !closeFile(written))
            return false;
    }
    return true;
}

bool OutputFiles::refillFolder(std::span<const SideFile> files) {
    sideFolder = openFolder(folder, sideName.c_str());
    if (sideFolder < 0)
        return false;
    std::vector<Staged> staged(files.size());
    for (size_t i = 0; i < files.size(); ++i) {
        if (!stage(sideFolder, files[i].name, staged[i]) || !writeAll(staged[i].file, files[i].bytes) ||
            !closeFile(staged[i]))
            return false;
    }
    stagedInSideFolder = std::move(staged);
    return true;
}

OutputFiles::Commit OutputFiles::commit() {
    if (!closeFile(page))
        return Commit::PageFailed;
    // A signal now waits until every rename is done, so that an interrupted run leaves either
    // the earlier page and side folder or the new ones, never a mixture.
    SignalsHeld held;
    if (!newSideFolder.empty()) {
        // Without an exclusive rename (NFS, say) a plain one replaces at most an empty folder.
        if (renameat2(folder, newSideFolder.c_str(), folder, sideName.c_str(), RENAME_NOREPLACE) != 0 &&
            (errno != EINVAL || renameat(folder, newSideFolder.c_str(), folder, sideName.c_str()) != 0))
            return Commit::SideFolderFailed;
        // The folder's record follows it; its files are recorded through its descriptor.
        std::memcpy(removals[sideFolderRemoval].name, sideName.c_str(), sideName.size() + 1);
    }
    for (const Staged& file : stagedInSideFolder) {
        if (!putInPlace(file))
            return Commit::SideFolderFailed;
    }
    if (!putInPlace(page))
        return Commit::PageFailed;
    removalCount = 0;
    return Commit::Done;
}

bool OutputFiles::writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}
