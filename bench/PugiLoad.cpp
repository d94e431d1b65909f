// The floor of the scale benchmark: the time pugixml takes to read files into a DOM, and, with
// --page BYTES OUT, to write a file of the page's size as well: the run's unavoidable work.
// Exit code 0 when every file loaded and the page was written, 1 otherwise; bench/run times the
// process.

#include <pugixml.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {

// BYTES bytes to OUT through one buffer of 1 MB, as a page is written piece by piece.
bool writePage(unsigned long long bytes, const char* path) {
    std::FILE* file = std::fopen(path, "wb");
    if (file == nullptr)
        return false;
    std::vector<char> buffer(1 << 20, 'x');
    bool ok = true;
    while (ok && bytes > 0) {
        const size_t chunk = bytes < buffer.size() ? static_cast<size_t>(bytes) : buffer.size();
        ok = std::fwrite(buffer.data(), 1, chunk, file) == chunk;
        bytes -= chunk;
    }
    return std::fclose(file) == 0 && ok;
}

}  // namespace

int main(int argc, char** argv) {
    int first = 1;
    unsigned long long pageBytes = 0;
    const char* pagePath = nullptr;
    if (argc > 3 && std::strcmp(argv[1], "--page") == 0) {
        pageBytes = std::strtoull(argv[2], nullptr, 10);
        pagePath = argv[3];
        first = 4;
    }
    if (argc <= first) {
        std::printf("usage: bench_pugi_load [--page BYTES OUT] FILE...\n");
        return 1;
    }
    // Every document stays loaded to the end, as both trees of a report run do.
    std::vector<std::unique_ptr<pugi::xml_document>> documents;
    int failures = 0;
    for (int i = first; i < argc; ++i) {
        documents.push_back(std::make_unique<pugi::xml_document>());
        const pugi::xml_parse_result result = documents.back()->load_file(argv[i]);
        if (!result) {
            std::printf("%s: %s\n", argv[i], result.description());
            ++failures;
        }
    }
    if (pagePath != nullptr && !writePage(pageBytes, pagePath)) {
        std::printf("%s: cannot write\n", pagePath);
        ++failures;
    }
    return failures == 0 ? 0 : 1;
}
