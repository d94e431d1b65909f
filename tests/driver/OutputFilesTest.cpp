// OutputFiles: targets replaced only by whole files, and everything a failed run made removed.

#include "driver/OutputFiles.h"

#include "PrintBytes.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

namespace {

using TestSupport::readFile;
using TestSupport::TempDir;
using TestSupport::writeFile;

QStringList entries(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

TEST(OutputFilesTest, TargetChangesOnlyOnCommit) {
    TempDir dir;
    writeFile(dir.file("page.html"), "earlier");
    OutputFiles outputs;
    const QString staged = outputs.stage(dir.file("page.html"));
    ASSERT_FALSE(staged.isEmpty());
    EXPECT_EQ(QFileInfo(staged).absolutePath(), dir.path());
    writeFile(staged, "new");
    EXPECT_EQ(readFile(dir.file("page.html")), "earlier");
    ASSERT_TRUE(outputs.commit(staged));
    outputs.keep();
    EXPECT_EQ(readFile(dir.file("page.html")), "new");
    EXPECT_EQ(entries(dir.path()), QStringList{"page.html"});
}

TEST(OutputFilesTest, WithoutKeepEverythingMadeGoes) {
    TempDir dir;
    writeFile(dir.file("page.html"), "earlier");
    {
        OutputFiles outputs;
        writeFile(outputs.stage(dir.file("page.html")), "new page");
        ASSERT_TRUE(outputs.makeDirectory(dir.file("side")));
        const QString script = outputs.stage(dir.file("side/a.js"));
        writeFile(script, "script");
        ASSERT_TRUE(outputs.commit(script));
        writeFile(outputs.stage(dir.file("side/b.js")), "half a scr");
    }
    EXPECT_EQ(entries(dir.path()), QStringList{"page.html"});
    EXPECT_EQ(readFile(dir.file("page.html")), "earlier");
}

TEST(OutputFilesTest, ExistingFolderIsUsedAndKept) {
    TempDir dir;
    writeFile(dir.file("side/mine.txt"), "mine");
    writeFile(dir.file("blocked"), "a file in the way");
    {
        OutputFiles outputs;
        EXPECT_TRUE(outputs.makeDirectory(dir.file("side")));
        EXPECT_FALSE(outputs.makeDirectory(dir.file("blocked")));
    }
    EXPECT_EQ(entries(dir.file("side")), QStringList{"mine.txt"});
    EXPECT_EQ(readFile(dir.file("blocked")), "a file in the way");
}

TEST(OutputFilesTest, SymbolicLinkStaysAndItsFileIsReplaced) {
    TempDir dir;
    writeFile(dir.file("real/page.html"), "earlier");
    ASSERT_TRUE(QFile::link(dir.file("real/page.html"), dir.file("page.html")));
    OutputFiles outputs;
    const QString staged = outputs.stage(dir.file("page.html"));
    EXPECT_EQ(QFileInfo(staged).absolutePath(), dir.file("real"));
    writeFile(staged, "new");
    ASSERT_TRUE(outputs.commit(staged));
    outputs.keep();
    EXPECT_TRUE(QFileInfo(dir.file("page.html")).isSymLink());
    EXPECT_EQ(readFile(dir.file("real/page.html")), "new");
}

TEST(OutputFilesTest, DeviceIsWrittenInPlace) {
    TempDir dir;
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/null"), dir.file("page.html")));
    OutputFiles outputs;
    EXPECT_EQ(outputs.stage(dir.file("page.html")), QStringLiteral("/dev/null"));
    EXPECT_TRUE(outputs.commit(QStringLiteral("/dev/null")));
}

TEST(OutputFilesTest, ReplacedFileKeepsItsModeAndNewFileGetsTheUsualOne) {
    TempDir dir;
    writeFile(dir.file("old.html"), "earlier");
    ASSERT_EQ(chmod(QFile::encodeName(dir.file("old.html")).constData(), 0640), 0);
    const mode_t mask = umask(022);
    OutputFiles outputs;
    const QString replaced = outputs.stage(dir.file("old.html"));
    const QString created = outputs.stage(dir.file("new.html"));
    ASSERT_TRUE(outputs.commit(replaced) && outputs.commit(created));
    outputs.keep();
    umask(mask);
    struct stat info {};
    ASSERT_EQ(stat(QFile::encodeName(dir.file("old.html")).constData(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0640u);
    ASSERT_EQ(stat(QFile::encodeName(dir.file("new.html")).constData(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0644u);
}

}  // namespace
