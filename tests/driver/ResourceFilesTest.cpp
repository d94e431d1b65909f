// copyResourceFile: exact copies of the embedded files, whatever was there before, and a
// failure told whenever the copy is not whole.

#include "driver/ResourceFiles.h"

#include "PrintBytes.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

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
    EXPECT_TRUE(copyResourceFile(name, dir.file(name)));
    EXPECT_EQ(readFile(dir.file(name)), resource(name));
}

TEST_P(ResourceCopyTest, LongerExistingFileIsTruncated) {
    const QString name = QString::fromUtf8(GetParam());
    TempDir dir;
    writeFile(dir.file("copy"), QByteArray(resource(name).size() + 4096, '#'));
    EXPECT_TRUE(copyResourceFile(name, dir.file("copy")));
    EXPECT_EQ(readFile(dir.file("copy")), resource(name));
}

TEST_P(ResourceCopyTest, FullDeviceIsAFailure) {
    EXPECT_FALSE(copyResourceFile(QString::fromUtf8(GetParam()), QStringLiteral("/dev/full")));
}

INSTANTIATE_TEST_SUITE_P(ResourceFiles, ResourceCopyTest,
                         testing::Values("logo.png", "orbi.min.js", "excanvas.compiled.js"));

TEST(ResourceFilesTest, UnopenableTargetIsAFailure) {
    TempDir dir;
    writeFile(dir.file("blocked"), "plain file");
    EXPECT_FALSE(copyResourceFile(QStringLiteral("logo.png"), dir.file("absent/logo.png")));
    EXPECT_FALSE(copyResourceFile(QStringLiteral("logo.png"), dir.file("blocked/logo.png")));
    EXPECT_EQ(readFile(dir.file("blocked")), "plain file");
}

TEST(ResourceFilesTest, UnknownResourceWritesAnEmptyFile) {
    TempDir dir;
    writeFile(dir.file("nothing.js"), "old");
    EXPECT_TRUE(copyResourceFile(QStringLiteral("nothing.js"), dir.file("nothing.js")));
    EXPECT_TRUE(QFileInfo(dir.file("nothing.js")).isFile());
    EXPECT_EQ(QFileInfo(dir.file("nothing.js")).size(), 0);
}

struct RelativeBaseCase {
    const char* basePath;
    const char* expected;
};

void PrintTo(const RelativeBaseCase& c, std::ostream* os) { *os << c.basePath; }

class PageRelativeBaseTest : public testing::TestWithParam<RelativeBaseCase> {};

// The page lies beside its side directory: it names it by the last component, in a form that
// the browser resolves to that very file name.
TEST_P(PageRelativeBaseTest, NamesTheSideDirectoryFromBesideIt) {
    EXPECT_EQ(pageRelativeBase(QString::fromUtf8(GetParam().basePath)).toStdString(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(ResourceFiles, PageRelativeBaseTest, testing::Values(
    RelativeBaseCase{"run1_analysisReport", "run1_analysisReport"},
    RelativeBaseCase{"runs/model_analysisReport", "model_analysisReport"},
    RelativeBaseCase{"/srv/a b/Données v2", "Données v2"},
    RelativeBaseCase{"runs/", ""},
    RelativeBaseCase{"50% #3?.x", "50%25 %233%3F.x"},
    RelativeBaseCase{"c:\\x", "c%3A%5Cx"},
    RelativeBaseCase{"a\"b&c", "a%22b%26c"},
    RelativeBaseCase{"  two\tlines\n", "%20 two%09lines%0A"}));

}  // namespace
