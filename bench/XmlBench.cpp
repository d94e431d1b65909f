// parseFile against pugixml's load_file on the same files: the sample documents and two large
// generated ones (report-like: many attribute-heavy elements; chart-like: long base64 text).
// After the Google Benchmark table it prints MB/s of both and the ratio of their times.

#include "xml/XmlNode.h"

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

struct BenchFile {
    std::string label;
    std::string path;
    double megabytes = 0.0;
};

void writeFile(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

// The shape of an analysis report, scaled up: variables holding many modality rows, each row an
// element with a dozen attributes of names, counts and measures.
std::string reportLikeDocument(int variables, int rowsPerVariable) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> share(0.0, 1.0);
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<ORB_AnalystReport version=\"3.1.7\">\r\n";
    char row[512];
    for (int v = 0; v < variables; ++v) {
        std::snprintf(row, sizeof row,
                      "  <Variable idx=\"%d\" name=\"variable_%d\" type=\"ordered\" importance=\"%.6f\" "
                      "auc=\"%.4f\" nModalities=\"%d\">\r\n",
                      v, v, share(random), share(random), rowsPerVariable);
        text += row;
        for (int m = 0; m < rowsPerVariable; ++m) {
            std::snprintf(row, sizeof row,
                          "    <Modality idx=\"%d\" label=\"]%.3f ; %.3f]\" count=\"%d\" targetCount=\"%d\" "
                          "share=\"%.6f\" targetShare=\"%.6f\" lift=\"%.5f\" lower=\"%.5f\" upper=\"%.5f\" "
                          "score=\"%.8f\" note=\"&lt;auto&gt;\"/>\r\n",
                          m, share(random) * 100, share(random) * 100, m * 17 + 3, m * 5 + 1, share(random),
                          share(random), share(random) * 3, share(random), share(random) * 4, share(random));
            text += row;
        }
        text += "  </Variable>\r\n";
    }
    text += "</ORB_AnalystReport>\r\n";
    return text;
}

// The shape of a chart document, scaled up: curves of doubles as base64 in lines of 76.
std::string chartLikeDocument(int curves, int bytesPerCurve) {
    static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::mt19937 random(2);
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<ORB_Charts version=\"3.1.7\">\r\n";
    for (int c = 0; c < curves; ++c) {
        text += "  <curve name=\"c" + std::to_string(c) + "\" AUC=\"99.35\">\r\n    <x>\r\n";
        const int units = bytesPerCurve / 3 * 4;
        for (int i = 0; i < units; ++i) {
            if (i % 76 == 0)
                text += i == 0 ? "      " : "\r\n      ";
            text += alphabet[random() % 64];
        }
        text += "\r\n    </x>\r\n  </curve>\r\n";
    }
    text += "</ORB_Charts>\r\n";
    return text;
}

std::vector<BenchFile> prepareFiles(const fs::path& scratch) {
    std::vector<BenchFile> files;
    for (const char* name : {"breast_cancer_analysisReport.xml", "breast_cancer_graphs.xml", "wine_analysisReport.xml",
                             "wine_graphs.xml", "diabetes_analysisReport.xml", "diabetes_graphs.xml"})
        files.push_back({name, std::string(ANAREP_BENCH_DATA) + "/" + name});
    fs::create_directories(scratch);
    writeFile(scratch / "report_like.xml", reportLikeDocument(300, 150));
    writeFile(scratch / "chart_like.xml", chartLikeDocument(8, 4 * 1024 * 1024));
    files.push_back({"generated report-like", (scratch / "report_like.xml").string()});
    files.push_back({"generated chart-like", (scratch / "chart_like.xml").string()});
    for (BenchFile& file : files)
        file.megabytes = static_cast<double>(fs::file_size(file.path)) / 1e6;
    return files;
}

void parseWithXmlNode(benchmark::State& state, const BenchFile& file) {
    for (auto _ : state) {
        XmlParseResult result;
        XmlNode root = XmlNode::parseFile(file.path.c_str(), {}, &result);
        if (result.error != XmlError::None)
            state.SkipWithError("parseFile failed");
        benchmark::DoNotOptimize(root.identity());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(fs::file_size(file.path)));
}

void parseWithPugixml(benchmark::State& state, const BenchFile& file) {
    for (auto _ : state) {
        pugi::xml_document document;
        const pugi::xml_parse_result result = document.load_file(file.path.c_str());
        if (!result)
            state.SkipWithError("load_file failed");
        benchmark::DoNotOptimize(document.first_child().internal_object());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(fs::file_size(file.path)));
}

// Keeps the CPU seconds per iteration of each benchmark (the mean when repeated), to print the
// comparison after the usual table.
class ComparingReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const bool single = run.run_type == Run::RT_Iteration;
            const bool mean = run.run_type == Run::RT_Aggregate && run.aggregate_name == "mean";
            if ((single || mean) && !run.error_occurred && run.iterations > 0)
                secondsPerIteration[run.run_name.str()] =
                    run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
        }
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> secondsPerIteration;
};

void printComparison(const std::vector<BenchFile>& files, const ComparingReporter& reporter) {
    std::printf("\n%-34s %10s %12s %12s %8s\n", "document", "MB", "ours MB/s", "pugixml MB/s", "ratio");
    for (const BenchFile& file : files) {
        const auto ours = reporter.secondsPerIteration.find("parseFile/" + file.label);
        const auto theirs = reporter.secondsPerIteration.find("pugixml/" + file.label);
        if (ours == reporter.secondsPerIteration.end() || theirs == reporter.secondsPerIteration.end())
            continue;
        std::printf("%-34s %10.3f %12.1f %12.1f %8.2f\n", file.label.c_str(), file.megabytes,
                    file.megabytes / ours->second, file.megabytes / theirs->second, ours->second / theirs->second);
    }
    std::printf("(CPU time per parse; ratio: ours / pugixml, lower is better)\n");
}

}  // namespace

int main(int argc, char** argv) {
    const fs::path scratch = fs::temp_directory_path() / ("anarep-bench-" + std::to_string(::getpid()));
    const std::vector<BenchFile> files = prepareFiles(scratch);
    for (const BenchFile& file : files) {
        benchmark::RegisterBenchmark(("parseFile/" + file.label).c_str(), parseWithXmlNode, file)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("pugixml/" + file.label).c_str(), parseWithPugixml, file)
            ->Unit(benchmark::kMillisecond);
    }
    benchmark::Initialize(&argc, argv);
    ComparingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    printComparison(files, reporter);
    benchmark::Shutdown();
    std::error_code ignored;
    fs::remove_all(scratch, ignored);
    return 0;
}
