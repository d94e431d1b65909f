// What a golden run cannot reach: a file committed into a folder the run made, a link to a
// plain file, and every character a side folder's name may hold.

#include "driver/OutputFiles.h"
#include "driver/ResourceFiles.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

using TestSupport::readFile;
using TestSupport::writeFile;

TEST(OutputFilesTest, WithoutKeepEverythingMadeGoes) {
    TestSupport::TempDir dir;
    writeFile(dir.file("page.html"), "earlier");
    {
        OutputFiles outputs;
        writeFile(outputs.stage(dir.file("page.html")), "new page");
        ASSERT_TRUE(outputs.makeDirectory(dir.file("side")));
        EXPECT_FALSE(outputs.makeDirectory(dir.file("page.html")));
        const QString script = outputs.stage(dir.file("side/a.js"));
        writeFile(script, "script");
        ASSERT_TRUE(outputs.commit(script));
    }
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{"page.html"});
    EXPECT_EQ(readFile(dir.file("page.html")), "earlier");
}

TEST(OutputFilesTest, SymbolicLinkStaysAndItsFileIsReplaced) {
    TestSupport::TempDir dir;
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

class PageRelativeBaseTest : public testing::TestWithParam<std::pair<const char*, const char*>> {};

// The page lies beside its side folder: it names it by the last component, in a form that the
// browser resolves to that very file name.
TEST_P(PageRelativeBaseTest, NamesTheSideFolderFromBesideIt) {
    EXPECT_EQ(pageRelativeBase(QString::fromUtf8(GetParam().first)).toStdString(), GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Driver, PageRelativeBaseTest, testing::Values(
    std::pair("runs/model_analysisReport", "model_analysisReport"),
    std::pair("/srv/a b/Données v2", "Données v2"),
    std::pair("runs/", ""),
    std::pair("50% #3?.x", "50%25 %233%3F.x"),
    std::pair("c:\\x", "c%3A%5Cx"),
    std::pair("a\"b&c", "a%22b%26c"),
    std::pair("x--><img src=x onerror=f()>_r", "x--%3E%3Cimg src=x onerror=f()%3E_r"),
    std::pair("y--!><b title='t'>", "y--!%3E%3Cb title=%27t%27%3E"),
    std::pair("  two\tlines\n\x7f", "%20 two%09lines%0A%7F")));

}  // namespace
