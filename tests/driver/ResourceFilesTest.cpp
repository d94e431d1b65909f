// copyResourceFile: exact copies of the embedded files, whatever was there before.

#include "driver/ResourceFiles.h"

#include "PrintBytes.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>

namespace {

using TestSupport::readFile;
using TestSupport::TempDir;
using TestSupport::writeFile;

QByteArray resource(const QString& name) { return readFile(QStringLiteral(":/rscFiles/") + name); }

class ResourceCopyTest : public testing::TestWithParam<const char*> {};

TEST_P(ResourceCopyTest, CopyIsByteIdentical) {
    const QString name = QString::fromUtf8(GetParam());
    TempDir dir;
    copyResourceFile(dir.path(), name);
    EXPECT_EQ(readFile(dir.file(name)), resource(name));
}

TEST_P(ResourceCopyTest, LongerExistingFileIsTruncated) {
    const QString name = QString::fromUtf8(GetParam());
    TempDir dir;
    writeFile(dir.file(name), QByteArray(resource(name).size() + 4096, '#'));
    copyResourceFile(dir.path(), name);
    EXPECT_EQ(readFile(dir.file(name)), resource(name));
}

INSTANTIATE_TEST_SUITE_P(ResourceFiles, ResourceCopyTest,
                         testing::Values("logo.png", "orbi.min.js", "excanvas.compiled.js"));

TEST(ResourceFilesTest, MissingDirectoryIsSkippedSilently) {
    TempDir dir;
    copyResourceFile(dir.file("absent"), QStringLiteral("logo.png"));
    EXPECT_FALSE(QFileInfo::exists(dir.file("absent")));
}

TEST(ResourceFilesTest, DirectoryThatIsAFileIsSkippedSilently) {
    TempDir dir;
    writeFile(dir.file("blocked"), "plain file");
    copyResourceFile(dir.file("blocked"), QStringLiteral("orbi.min.js"));
    EXPECT_EQ(readFile(dir.file("blocked")), "plain file");
}

TEST(ResourceFilesTest, UnknownResourceWritesAnEmptyFile) {
    TempDir dir;
    writeFile(dir.file("nothing.js"), "old");
    copyResourceFile(dir.path(), QStringLiteral("nothing.js"));
    EXPECT_TRUE(QFileInfo(dir.file("nothing.js")).isFile());
    EXPECT_EQ(QFileInfo(dir.file("nothing.js")).size(), 0);
}

}  // namespace
