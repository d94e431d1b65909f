// The floor of the scale benchmark: the time pugixml takes to read files into a DOM and
// nothing else. Exit code 0 when every file loaded, 1 otherwise; bench/run times the process.

#include <pugixml.hpp>

#include <cstdio>
#include <memory>
#include <vector>

int main(int argc, char** argv) {
    if (argc < 2) {
        std::printf("usage: bench_pugi_load FILE...\n");
        return 1;
    }
    // Every document stays loaded to the end, as both trees of a report run do.
    std::vector<std::unique_ptr<pugi::xml_document>> documents;
    int failures = 0;
    for (int i = 1; i < argc; ++i) {
        documents.push_back(std::make_unique<pugi::xml_document>());
        const pugi::xml_parse_result result = documents.back()->load_file(argv[i]);
        if (!result) {
            std::printf("%s: %s\n", argv[i], result.description());
            ++failures;
        }
    }
    return failures == 0 ? 0 : 1;
}
