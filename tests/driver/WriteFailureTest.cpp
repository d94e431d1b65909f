// The built program stopped by a signal or by a full file system, which a golden case cannot
// set up: the run must leave its folder exactly as it found it.

#include "RunCheck.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QThread>

#include <csignal>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The wine sample (a page of about 90 KB) and an earlier page, in folder.
void writeInputs(const QString& folder) {
    const QString sample = TestSupport::sourceDir() + QStringLiteral("/tests/golden/public-wine/");
    for (const char* name : {"wine_analysisReport.xml", "wine_graphs.xml"})
        TestSupport::writeFile(folder + u'/' + name, TestSupport::readFile(sample + name));
    TestSupport::writeFile(folder + QStringLiteral("/wine_analysisReport.html"), "earlier page");
}

// Stopped while its page waits under a temporary name: the earlier side folder's logo is a pipe
// that nobody reads, so the run blocks there until the signal comes.
class InterruptedRunTest : public testing::TestWithParam<int> {};

TEST_P(InterruptedRunTest, LeavesNoTemporaryFile) {
    TestSupport::TempDir dir;
    writeInputs(dir.path());
    QDir().mkdir(dir.file("wine_analysisReport_files"));
    ASSERT_EQ(mkfifo(QFile::encodeName(dir.file("wine_analysisReport_files/logo.png")).constData(), 0644), 0);
    const RunCheck::Snapshot before = RunCheck::snapshot(dir.path());

    QProcess process;
    process.setWorkingDirectory(dir.path());
    process.start(TestSupport::anarepPath(), {"wine_analysisReport.xml"});
    QElapsedTimer waited;
    waited.start();
    while (RunCheck::snapshot(dir.path()).size() == before.size() && waited.elapsed() < 60000)
        QThread::msleep(20);
    EXPECT_EQ(RunCheck::snapshot(dir.path()).size(), before.size() + 1) << "no temporary page appeared";
    ::kill(static_cast<pid_t>(process.processId()), GetParam());
    ASSERT_TRUE(process.waitForFinished(60000));

    EXPECT_EQ(process.exitStatus(), QProcess::CrashExit);
    EXPECT_EQ(RunCheck::snapshot(dir.path()), before);
}

INSTANTIATE_TEST_SUITE_P(Driver, InterruptedRunTest, testing::Values(SIGINT, SIGTERM));

// A file system of the given size holding only the inputs (about 36 KB) and an earlier page:
// the page does not fit in the first, the side folder in the second. Mounting needs root and
// a system that allows it; elsewhere the case is skipped.
class FullFileSystemTest : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(FullFileSystemTest, ErrorAndFolderLeftAsItWas) {
    TestSupport::TempDir dir;
    const QByteArray mountPoint = QFile::encodeName(dir.path());
    if (geteuid() != 0 || mount("tmpfs", mountPoint.constData(), "tmpfs", 0, GetParam().first) != 0)
        GTEST_SKIP() << "cannot mount a small file system here";
    writeInputs(dir.path());
    const RunCheck::Snapshot before = RunCheck::snapshot(dir.path());

    const TestSupport::RunResult run = RunCheck::run({"wine_analysisReport.xml"}, dir.path());

    EXPECT_EQ(run.out.toStdString(), GetParam().second);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(RunCheck::snapshot(dir.path()), before);
    umount2(mountPoint.constData(), MNT_DETACH);
}

INSTANTIATE_TEST_SUITE_P(Driver, FullFileSystemTest, testing::Values(
    std::pair("size=52k", "Error: Cannot write the page file\n"),
    std::pair("size=200k", "Error: Cannot write the side folder\n")));

}  // namespace
