// Generates a whole page from two fuzzed documents. The input is split at the first
// "\n----\n": the analysis report before it, the chart document after it.
//
// Byte-level mutations break the markup of such dense documents almost every time, and the
// driver rejects a document that does not parse, so few inputs would reach the generator. The
// custom mutator below therefore mostly mutates inside one attribute value or one run of
// character data (escaping what would end it), or drops or repeats one whole element. Only one
// mutation in 32 is a plain byte-level one: the parser's paths for damaged documents are the
// other targets' work.
#include "report/ReportGenerator.h"
#include "xml/XmlNode.h"


#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {

constexpr std::string_view separator = "\n----\n";

std::string writeTemp(const char* suffix, std::string_view bytes) {
    const std::string path =
        "/tmp/anarep-fuzz-report-" + std::to_string(getpid()) + suffix;
    if (FILE* file = std::fopen(path.c_str(), "wb")) {
        std::fwrite(bytes.data(), 1, bytes.size(), file);
        std::fclose(file);
    }
    return path;
}

struct Span {
    size_t start;
    size_t end;  // one past the last byte
};

bool isNameStart(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

// The inside of every double-quoted attribute value and every run of character data.
std::vector<Span> valueSpans(std::string_view document) {
    std::vector<Span> spans;
    bool inTag = false;
    for (size_t i = 0; i < document.size(); ++i) {
        const char c = document[i];
        if (!inTag && c == '<') {
            inTag = true;
        } else if (inTag && c == '>') {
            inTag = false;
            const size_t next = document.find('<', i + 1);
            if (next != std::string_view::npos && next > i + 1)
                spans.push_back({i + 1, next});
        } else if (inTag && c == '"') {
            const size_t close = document.find('"', i + 1);
            if (close == std::string_view::npos)
                break;
            spans.push_back({i + 1, close});
            i = close;
        }
    }
    return spans;
}

// The ">" that ends the tag starting at start, past quoted values; npos when there is none.
size_t tagEnd(std::string_view document, size_t start) {
    for (size_t i = start; i < document.size(); ++i) {
        if (document[i] == '>')
            return i;
        if (document[i] == '"') {
            i = document.find('"', i + 1);
            if (i == std::string_view::npos)
                break;
        }
    }
    return std::string_view::npos;
}

// The end of the element whose start tag begins at start ("<" and a name), or 0.
size_t elementEnd(std::string_view document, size_t start) {
    int depth = 0;
    for (size_t i = start; i < document.size(); ++i) {
        if (document[i] != '<')
            continue;
        const size_t close = tagEnd(document, i);
        if (close == std::string_view::npos)
            return 0;
        if (i + 1 < document.size() && document[i + 1] == '/')
            --depth;
        else if (i + 1 < document.size() && isNameStart(document[i + 1]) && document[close - 1] != '/')
            ++depth;
        if (depth == 0)
            return close + 1;
        i = close;
    }
    return 0;
}

std::vector<size_t> elementStarts(std::string_view document) {
    std::vector<size_t> starts;
    for (size_t i = 0; i + 1 < document.size(); ++i)
        if (document[i] == '<' && isNameStart(document[i + 1]))
            starts.push_back(i);
    return starts;
}

// Mutated bytes of a value, with what would end the value or fail the parse escaped.
std::string escapedValue(const uint8_t* bytes, size_t size) {
    std::string value;
    for (size_t i = 0; i < size; ++i) {
        switch (bytes[i]) {
        case '<': value += "&lt;"; break;
        case '>': value += "&gt;"; break;
        case '&': value += "&amp;"; break;
        case '"': value += "&quot;"; break;
        case 0: value += "&#0;"; break;
        default: value += static_cast<char>(bytes[i]);
        }
    }
    return value;
}

std::string mutateValue(std::string document, std::minstd_rand& random) {
    const std::vector<Span> spans = valueSpans(document);
    if (spans.empty())
        return document;
    const Span span = spans[random() % spans.size()];
    std::vector<uint8_t> value(document.begin() + static_cast<ptrdiff_t>(span.start),
                               document.begin() + static_cast<ptrdiff_t>(span.end));
    const size_t maxSize = value.size() * 2 + 16;
    value.resize(maxSize);
    const size_t size = LLVMFuzzerMutate(value.data(), span.end - span.start, maxSize);
    return document.replace(span.start, span.end - span.start, escapedValue(value.data(), size));
}

std::string dropOrRepeatElement(std::string document, std::minstd_rand& random) {
    const std::vector<size_t> starts = elementStarts(document);
    if (starts.size() < 2)
        return document;
    // The first element is the root: it stays.
    const size_t start = starts[1 + random() % (starts.size() - 1)];
    const size_t end = elementEnd(document, start);
    if (end == 0)
        return document;
    if (random() % 2 == 0)
        return document.erase(start, end - start);
    const std::string element = document.substr(start, end - start);
    return document.insert(end, element);
}

}  // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned int seed) {
    std::minstd_rand random(seed);
    const unsigned kind = random() % 32;
    if (kind == 0)
        return LLVMFuzzerMutate(data, size, maxSize);
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const size_t split = input.find(separator);
    std::string report(input.substr(0, split));
    std::string charts(split == std::string_view::npos ? std::string_view() : input.substr(split + separator.size()));
    std::string& document = charts.empty() || random() % 2 == 0 ? report : charts;
    document = kind <= 23 ? mutateValue(std::move(document), random) : dropOrRepeatElement(std::move(document), random);
    const std::string output = report + std::string(separator) + charts;
    if (output.size() > maxSize)
        return size;
    std::memcpy(data, output.data(), output.size());
    return output.size();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const size_t split = input.find(separator);
    const std::string_view report = input.substr(0, split);
    const std::string_view charts =
        split == std::string_view::npos ? std::string_view() : input.substr(split + separator.size());

    XmlParseResult result;
    XmlNode reportRoot =
        XmlNode::parseFile(writeTemp("-a.xml", report).c_str(), "ORB_AnalystReport", &result);
    if (result.error != XmlError::None)
        return 0;
    XmlNode chartRoot =
        XmlNode::parseFile(writeTemp("-g.xml", charts).c_str(), "ORB_Charts", &result);
    if (result.error != XmlError::None)
        return 0;
    PageSink page([](std::string_view) { return true; });
    const PageFrame frame("fuzz");
    ReportGenerator(reportRoot, chartRoot, page, frame).generate();
    return 0;
}
