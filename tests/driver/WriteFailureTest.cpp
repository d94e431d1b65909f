// The built program when its output cannot be written whole: a file-size limit, a full device,
// a full file system, a side folder in the way, a signal. Each run must report its line, exit
// with 1 and leave its folder exactly as it found it.

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QThread>

#include <csignal>
#include <map>
#include <string>

#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using TestSupport::readFile;
using TestSupport::TempDir;
using TestSupport::writeFile;

const char* const pageError = "Error: Cannot write the page file\n";
const char* const sideError = "Error: Cannot write the side folder\n";
const char* const page = "wine_analysisReport.html";
const char* const side = "wine_analysisReport_files";

// Every entry under folder, hidden ones included: a file by its size and digest, a link by its
// target.
std::map<std::string, std::string> snapshot(const QString& folder) {
    std::map<std::string, std::string> entries;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo info(it.next());
        std::string& entry = entries[QDir(folder).relativeFilePath(info.filePath()).toStdString()];
        if (info.isSymLink()) {
            entry = "link to " + info.symLinkTarget().toStdString();
        } else if (info.isDir()) {
            entry = "folder";
        } else if (info.isFile()) {
            const QByteArray bytes = readFile(info.filePath());
            entry = std::to_string(bytes.size()) + " bytes " +
                    QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex().toStdString();
        } else {
            entry = "special";
        }
    }
    return entries;
}

// The wine example (a page of about 90 KB), an earlier page and, optionally, an earlier side
// folder, in folder.
void writeInputs(const QString& folder, bool earlierSide) {
    const QString example = TestSupport::sourceDir() + QStringLiteral("/tests/golden/public-wine/");
    for (const char* name : {"wine_analysisReport.xml", "wine_graphs.xml"})
        writeFile(folder + u'/' + name, readFile(example + name));
    writeFile(folder + u'/' + page, "earlier page");
    if (earlierSide) {
        for (const char* name : {"logo.png", "orbi.min.js", "excanvas.compiled.js"})
            writeFile(folder + u'/' + side + u'/' + name, QByteArray("earlier ") + name);
    }
}

// Runs the program on the wine example in folder, with the given limit on the size of any file
// it writes (0: none).
TestSupport::RunResult runWine(const QString& folder, rlim_t fileSizeLimit = 0) {
    QProcess process;
    process.setWorkingDirectory(folder);
    if (fileSizeLimit > 0) {
        process.setChildProcessModifier([fileSizeLimit] {
            const rlimit limit{fileSizeLimit, fileSizeLimit};
            setrlimit(RLIMIT_FSIZE, &limit);
        });
    }
    process.start(TestSupport::anarepPath(), {"wine_analysisReport.xml"});
    TestSupport::RunResult result;
    result.timedOut = !process.waitForFinished(60000);
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

struct FailureCase {
    const char* what;
    rlim_t fileSizeLimit;
    const char* pageLink;      // the page name is a link to this device
    bool earlierSide;          // a side folder from an earlier run
    const char* resourceLink;  // this file of that side folder is a link to /dev/full
    bool sideBlocked;          // a plain file has the side folder's name
    const char* out;
};

void PrintTo(const FailureCase& c, std::ostream* os) { *os << c.what; }

class WriteFailureTest : public testing::TestWithParam<FailureCase> {};

TEST_P(WriteFailureTest, ErrorAndFolderLeftAsItWas) {
    const FailureCase& c = GetParam();
    TempDir dir;
    writeInputs(dir.path(), c.earlierSide);
    if (c.pageLink) {
        QFile::remove(dir.file(page));
        ASSERT_TRUE(QFile::link(QString::fromUtf8(c.pageLink), dir.file(page)));
    }
    if (c.resourceLink) {
        QFile::remove(dir.file(side) + u'/' + c.resourceLink);
        ASSERT_TRUE(QFile::link(QStringLiteral("/dev/full"), dir.file(side) + u'/' + c.resourceLink));
    }
    if (c.sideBlocked)
        writeFile(dir.file(side), "a file in the way");
    const auto before = snapshot(dir.path());

    const TestSupport::RunResult run = runWine(dir.path(), c.fileSizeLimit);

    EXPECT_EQ(run.out.toStdString(), c.out);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.isEmpty()) << run.err.toStdString();
    EXPECT_EQ(snapshot(dir.path()), before);
}

INSTANTIATE_TEST_SUITE_P(Driver, WriteFailureTest, testing::Values(
    FailureCase{"page cut off by a file-size limit", 20000, nullptr, false, nullptr, false, pageError},
    FailureCase{"page on a full device", 0, "/dev/full", true, nullptr, false, pageError},
    FailureCase{"logo.png cut off in a new side folder", 2000, "/dev/null", false, nullptr, false, sideError},
    FailureCase{"orbi.min.js cut off in a new side folder", 100000, nullptr, false, nullptr, false, sideError},
    FailureCase{"logo.png on a full device", 0, nullptr, true, "logo.png", false, sideError},
    FailureCase{"orbi.min.js on a full device", 0, nullptr, true, "orbi.min.js", false, sideError},
    FailureCase{"excanvas.compiled.js on a full device", 0, nullptr, true, "excanvas.compiled.js", false,
                sideError},
    FailureCase{"side folder blocked by a plain file", 0, nullptr, false, nullptr, true, sideError}));

// A run stopped while its page waits under a temporary name: the side folder's logo is a pipe
// that nobody reads, so the run blocks there until the signal comes.
class InterruptedRunTest : public testing::TestWithParam<int> {};

TEST_P(InterruptedRunTest, LeavesNoTemporaryFile) {
    TempDir dir;
    writeInputs(dir.path(), true);
    QFile::remove(dir.file(side) + QStringLiteral("/logo.png"));
    ASSERT_EQ(mkfifo(QFile::encodeName(dir.file(side) + QStringLiteral("/logo.png")).constData(), 0644), 0);
    const auto before = snapshot(dir.path());

    QProcess process;
    process.setWorkingDirectory(dir.path());
    process.start(TestSupport::anarepPath(), {"wine_analysisReport.xml"});
    ASSERT_TRUE(process.waitForStarted());
    QElapsedTimer waited;
    waited.start();
    while (snapshot(dir.path()).size() == before.size() && waited.elapsed() < 60000)
        QThread::msleep(20);
    EXPECT_EQ(snapshot(dir.path()).size(), before.size() + 1) << "no temporary page appeared";
    ::kill(static_cast<pid_t>(process.processId()), GetParam());
    ASSERT_TRUE(process.waitForFinished(60000));

    EXPECT_EQ(process.exitStatus(), QProcess::CrashExit);
    EXPECT_EQ(snapshot(dir.path()), before);
}

INSTANTIATE_TEST_SUITE_P(Driver, InterruptedRunTest, testing::Values(SIGINT, SIGTERM));

// A file system of the given size holding only the inputs and an earlier page. Mounting needs
// root and a system that allows it; elsewhere the case is skipped.
struct FullDiskCase {
    const char* size;
    const char* out;
};

void PrintTo(const FullDiskCase& c, std::ostream* os) { *os << c.size; }

class FullFileSystemTest : public testing::TestWithParam<FullDiskCase> {};

TEST_P(FullFileSystemTest, ErrorAndFolderLeftAsItWas) {
    TempDir dir;
    const QByteArray mountPoint = QFile::encodeName(dir.path());
    const QByteArray options = QByteArray("size=") + GetParam().size;
    if (geteuid() != 0 || mount("tmpfs", mountPoint.constData(), "tmpfs", 0, options.constData()) != 0)
        GTEST_SKIP() << "cannot mount a small file system here";
    writeInputs(dir.path(), false);
    const auto before = snapshot(dir.path());

    const TestSupport::RunResult run = runWine(dir.path());

    EXPECT_EQ(run.out.toStdString(), GetParam().out);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(snapshot(dir.path()), before);
    umount2(mountPoint.constData(), MNT_DETACH);
}

// The inputs take about 36 KB: the page does not fit in the first, the side folder in the second.
INSTANTIATE_TEST_SUITE_P(Driver, FullFileSystemTest, testing::Values(
    FullDiskCase{"52k", pageError}, FullDiskCase{"200k", sideError}));

}  // namespace
