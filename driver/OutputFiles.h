#pragma once
// The files and the folder a run leaves behind, made whole or not at all, and written only under
// the names the run was given: each file is written as a new file under a temporary name beside
// its target and renamed onto that name once complete, so that a link found there is replaced,
// never followed. Names are bytes and are looked up once, through descriptors of the folders
// that hold them. Whatever the run made is removed again when it fails, is interrupted or is
// terminated, as long as it is still what the run made.

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

class OutputFiles {
public:
    // One file of the side folder: its name there and its bytes.
    struct SideFile {
        const char* name;
        std::string_view bytes;
    };

    // One per run. From here on SIGINT, SIGTERM and SIGHUP remove what the run has made before
    // the process ends (a signal that was ignored stays ignored), and a write past the process's
    // file-size limit fails instead of ending the process.
    OutputFiles();
    // Unless committed: removes the temporary files and a side folder the run made, as long as each
    // is still the one the run made (a folder only once empty). Then restores the earlier signal
    // dispositions.
    ~OutputFiles();
    OutputFiles(const OutputFiles&) = delete;
    OutputFiles& operator=(const OutputFiles&) = delete;

    // The descriptor to write the page at path to: a new file under a temporary name in the
    // page's folder, or, when path is a character device or a link to one (/dev/null), that
    // device. -1 when the folder cannot be opened or written, the name is too long for it, or
    // path is a folder, a FIFO, a socket, a block device or a file that may not be written.
    int stagePage(const std::string& path);
    // Writes the side folder name, in the page's folder, holding files, each whole, but puts
    // nothing in place yet: a new folder is filled under a temporary name, and in an existing
    // one each file is staged as the page is. False when a file cannot be written whole, or
    // name is a link, a file or anything else but a folder.
    bool writeSideFolder(const std::string& name, std::span<const SideFile> files);
    enum class Commit { Done, PageFailed, SideFolderFailed };
    // Closes the page, renames the side folder's new files, or the new side folder, and then
    // the page onto their names, and keeps them all. Which failed when the close or a rename
    // fails, or when another run made the side folder meanwhile; an existing side folder's
    // files renamed by then stay renewed.
    Commit commit();

    // Writes all of bytes to file; false when they did not all arrive (a full disk, a file-size
    // limit, an I/O error).
    static bool writeAll(int file, std::string_view bytes);

private:
    // A file being written: into folder (not owned) under temporary, or in place when that
    // is empty.
    struct Staged {
        Staged() = default;
        ~Staged();
        Staged(const Staged&) = delete;
        Staged& operator=(const Staged&) = delete;
        int folder = -1;
        std::string name;
        std::string temporary;
        int file = -1;  // owned
    };

    bool stage(int into, const std::string& name, Staged& staged);
    // False when the close reports a failure of writes still pending.
    static bool closeFile(Staged& staged);
    static bool putInPlace(const Staged& staged);
    bool fillNewFolder(std::span<const SideFile> files);
    bool refillFolder(std::span<const SideFile> files);

    int folder = -1;      // the page's folder, owned
    int sideFolder = -1;  // the side folder once opened, owned
    Staged page;
    std::string sideName;
    std::string newSideFolder;  // the temporary name of a side folder made by the run
    int sideFolderRemoval = 0;  // its record
    std::vector<Staged> stagedInSideFolder;  // the new files of an existing side folder
};
