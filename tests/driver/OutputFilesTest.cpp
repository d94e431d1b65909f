// What a golden run cannot reach: what a rollback removes, also when another run has taken the
// names over, and every byte a side folder's name may hold.

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

const OutputFiles::SideFile sideFiles[] = {{"logo.png", "image"}, {"orbi.min.js", "script"}};

std::string bytes(const QString& path) { return QFile::encodeName(path).toStdString(); }

TEST(OutputFilesTest, WithoutKeepEverythingMadeGoes) {
    TestSupport::TempDir dir;
    writeFile(dir.file("page.html"), "earlier");
    {
        OutputFiles outputs;
        const int page = outputs.stagePage(bytes(dir.file("page.html")));
        ASSERT_GE(page, 0);
        ASSERT_TRUE(OutputFiles::writeAll(page, "new page"));
        ASSERT_TRUE(outputs.writeSideFolder("side", sideFiles));
    }
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{"page.html"});
    EXPECT_EQ(readFile(dir.file("page.html")), "earlier");
}

// Run A filled its side folder under a temporary name; run B then wrote the same page. A does
// not put its folder over B's, and its rollback leaves B's page and side folder whole.
TEST(OutputFilesTest, AnotherRunsSideFolderIsNeitherReplacedNorRemoved) {
    TestSupport::TempDir dir;
    TestSupport::writeFile(dir.file("run_analysisReport.xml"),
                           readFile(TestSupport::sourceDir() + "/tests/golden/public-wine/wine_analysisReport.xml"));
    TestSupport::writeFile(dir.file("run_graphs.xml"),
                           readFile(TestSupport::sourceDir() + "/tests/golden/public-wine/wine_graphs.xml"));
    {
        OutputFiles runA;
        ASSERT_TRUE(OutputFiles::writeAll(runA.stagePage(bytes(dir.file("run_analysisReport.html"))), "A"));
        ASSERT_TRUE(runA.writeSideFolder("run_analysisReport_files", sideFiles));
        ASSERT_EQ(TestSupport::runAnarep({"run_analysisReport.xml"}, dir.path()).out, "All Ok.\n");
        EXPECT_EQ(runA.commit(), OutputFiles::Commit::SideFolderFailed);
    }
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              (QStringList{"run_analysisReport.html", "run_analysisReport.xml", "run_analysisReport_files",
                           "run_graphs.xml"}));
    EXPECT_EQ(readFile(dir.file("run_analysisReport_files/logo.png")), readFile(":/rscFiles/logo.png"));
    EXPECT_TRUE(readFile(dir.file("run_analysisReport.html")).startsWith("<!"));
}

class PageRelativeBaseTest : public testing::TestWithParam<std::pair<const char*, const char*>> {};

// The page lies beside its side folder: it names it by the last component, in a form that the
// browser resolves to that very file name.
TEST_P(PageRelativeBaseTest, NamesTheSideFolderFromBesideIt) {
    EXPECT_EQ(pageRelativeBase(GetParam().first), GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Driver, PageRelativeBaseTest, testing::Values(
    std::pair("caf\xE9 \xC3\xA9\xF0\x9F\x98\x80 \xED\xA0\x80 \xC3", "caf%E9 \xC3\xA9\xF0\x9F\x98\x80 %ED%A0%80 %C3"),
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
