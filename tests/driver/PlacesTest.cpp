// Places a golden folder cannot hold: FIFOs as inputs and outputs, names too long for the file
// system, and names that are not UTF-8, which travel as bytes and so are checked here as bytes.

#include "RunCheck.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

QByteArray wine(bool report) {
    return TestSupport::readFile(TestSupport::sourceDir() + "/tests/golden/public-wine/wine_" +
                                 (report ? "analysisReport.xml" : "graphs.xml"));
}

std::string bytes(const QString& path) { return QFile::encodeName(path).toStdString(); }

void makeFifo(const QString& path) {
    QFile::remove(path);
    ASSERT_EQ(mkfifo(bytes(path).c_str(), 0644), 0);
}

// A FIFO at path already holding content and without a writer: a reader gets the content, then
// the end. Answers the descriptor that keeps the content there until it is closed.
int filledFifo(const QString& path, const QByteArray& content) {
    makeFifo(path);
    const int keeper = open(bytes(path).c_str(), O_RDONLY | O_NONBLOCK);
    const int writer = open(bytes(path).c_str(), O_WRONLY);
    EXPECT_EQ(write(writer, content.constData(), size_t(content.size())), content.size());
    close(writer);
    return keeper;
}

struct PlaceCase {
    std::string what;
    // Prepares the folder, where the wine documents are run_analysisReport.xml and
    // run_graphs.xml; answers descriptors to close once the run is over.
    std::function<std::vector<int>(const QString& folder)> prepare;
    QStringList args;
    const char* out;
    int exitCode;
    QString page = {}, side = {};
};
void PrintTo(const PlaceCase& c, std::ostream* os) { *os << c.what; }

const char* const pageError = "Error: Cannot write the page file\n";
const char* const sideError = "Error: Cannot write the side folder\n";
const QStringList run = {"run_analysisReport.xml"};

// A report of this many bytes in name, and the wine charts named beside it.
std::function<std::vector<int>(const QString&)> namedReport(qsizetype length) {
    return [length](const QString& folder) {
        TestSupport::writeFile(folder + '/' + QString(length - 4, u'r') + ".xml", wine(true));
        return std::vector<int>();
    };
}

std::vector<PlaceCase> cases() {
    std::vector<PlaceCase> all = {
        {"page is a FIFO", [](const QString& f) { makeFifo(f + "/run_analysisReport.html"); return std::vector<int>(); },
         run, pageError, 1},
        {"report FIFO without writer", [](const QString& f) { makeFifo(f + "/run_analysisReport.xml"); return std::vector<int>(); },
         run, "Error: Invalid AnalystReport file\n", 1},
        {"charts FIFO without writer", [](const QString& f) { makeFifo(f + "/run_graphs.xml"); return std::vector<int>(); },
         run, "Error: Invalid Graph file\n", 1},
        {"report read from a FIFO",
         [](const QString& f) { return std::vector<int>{filledFifo(f + "/run_analysisReport.xml", wine(true))}; }, run,
         "All Ok.\n", 0, "run_analysisReport.html", "run_analysisReport_files"},
        {"charts read from a FIFO",
         [](const QString& f) { return std::vector<int>{filledFifo(f + "/charts", wine(false))}; },
         {"run_analysisReport.xml", "charts"}, "All Ok.\n", 0, "run_analysisReport.html", "run_analysisReport_files"},
        // 251 bytes and ".html" do not fit in a name; 250 and ".html" do, and "_files" does not.
        {"page name too long", namedReport(255), {QString(251, u'r') + ".xml", "run_graphs.xml"}, pageError, 1},
        {"side folder name too long", namedReport(254), {QString(250, u'r') + ".xml", "run_graphs.xml"}, sideError, 1},
    };
    for (const char* resource : {"logo.png", "orbi.min.js", "excanvas.compiled.js"})
        all.push_back({std::string(resource) + " is a FIFO in an earlier side folder", [=](const QString& f) {
                           QDir().mkdir(f + "/run_analysisReport_files");
                           makeFifo(f + "/run_analysisReport_files/" + resource);
                           return std::vector<int>();
                       }, run, sideError, 1});
    return all;
}

class PlacesTest : public testing::TestWithParam<PlaceCase> {};

// A FIFO is never waited for: refused at once as an output, read to its end as an input.
TEST_P(PlacesTest, EndsAtOnceWithItsOutcome) {
    TestSupport::TempDir dir;
    TestSupport::writeFile(dir.file("run_analysisReport.xml"), wine(true));
    TestSupport::writeFile(dir.file("run_graphs.xml"), wine(false));
    const std::vector<int> held = GetParam().prepare(dir.path());
    if (!HasFatalFailure())
        RunCheck::checkRun(dir.path(), {GetParam().args, 0, GetParam().out, GetParam().exitCode, GetParam().page,
                                        GetParam().side, 30000});
    for (int file : held)
        close(file);
}

INSTANTIATE_TEST_SUITE_P(Driver, PlacesTest, testing::ValuesIn(cases()),
                         [](const auto& row) { return RunCheck::testName(row.param.what); });

// Every entry under folder by its path's bytes.
std::vector<std::string> entries(const fs::path& folder) {
    std::vector<std::string> all;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder))
        all.push_back(fs::relative(entry.path(), folder).native());
    std::sort(all.begin(), all.end());
    return all;
}

// Names that are not UTF-8: two that a decoder would make one, and a folder. Each run's page
// and side folder carry the report's own bytes, and the page names its side folder with the
// bytes percent-encoded, as a browser reads them back.
TEST(NonUtf8NamesTest, PageAndSideFolderKeepTheNamesBytes) {
    TestSupport::TempDir dir;
    const fs::path root(bytes(dir.path()));
    for (const std::string folder : {"", "dir\xFF/"}) {
        for (const std::string name : {"caf\xE9", "caf\xE8"}) {
            fs::create_directories(root / folder);
            std::ofstream(root / folder / (name + "_analysisReport.xml"), std::ios::binary) << wine(true).toStdString();
            std::ofstream(root / folder / (name + "_graphs.xml"), std::ios::binary) << wine(false).toStdString();
            // The shell's printf makes the argument's bytes, which a QString could not carry.
            const std::string octal = name.substr(0, 3) + "\\" + (name[3] == '\xE9' ? "351" : "350");
            const std::string folderOctal = folder.empty() ? "" : "dir\\377/";
            QProcess process;
            process.setWorkingDirectory(dir.path());
            process.start("sh", {"-c", "exec \"$0\" \"$(printf \"$1\")\"", TestSupport::anarepPath(),
                                 QString::fromStdString(folderOctal + octal + "_analysisReport.xml")});
            ASSERT_TRUE(process.waitForFinished(60000));
            EXPECT_EQ(process.readAllStandardOutput(), "All Ok.\n") << process.readAllStandardError().toStdString();
            std::ifstream pageFile(root / folder / (name + "_analysisReport.html"), std::ios::binary);
            const std::string page{std::istreambuf_iterator<char>(pageFile), {}};
            const std::string encoded = "caf%" + std::string(name[3] == '\xE9' ? "E9" : "E8");
            EXPECT_NE(page.find("src=\"" + encoded + "_analysisReport_files/orbi.min.js\""), std::string::npos);
        }
    }
    std::vector<std::string> expected;
    for (const std::string folder : {"", "dir\xFF/"}) {
        if (!folder.empty())
            expected.push_back("dir\xFF");
        for (const std::string name : {"caf\xE8", "caf\xE9"}) {
            const std::string base = folder + name + "_analysisReport";
            for (const std::string file : {".html", ".xml", "_files", "_files/excanvas.compiled.js",
                                           "_files/logo.png", "_files/orbi.min.js"})
                expected.push_back(base + file);
            expected.push_back(folder + name + "_graphs.xml");
        }
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(entries(root), expected);
}

}  // namespace
