// Generates a whole page from two fuzzed documents, split at the first "\n----\n": the analysis
// report before it, the chart document after it.
// Byte-level mutations break such dense documents almost every time, and a document that does not
// parse never reaches the generator. So the mutator mostly changes one attribute value or run of
// character data (escaping what would end it), or drops or repeats one whole element; one change
// in 32 is byte-level: damaged documents are the parser target's work.
#include "report/ReportGenerator.h"
#include "xml/XmlNode.h"

#include <cctype>
#include <cstring>
#include <random>
#include <vector>

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {

constexpr std::string_view separator = "\n----\n";

// The document, or the empty node when it does not parse whole. Files and encodings are the
// parser target's work: every text reaches the page as UTF-8 whatever its file's encoding, so
// this target reads UTF-8 from memory and spends its time on the page.
XmlNode load(std::string_view bytes, const char* root) {
    if (bytes.starts_with("\xEF\xBB\xBF"))
        bytes.remove_prefix(3);
    XmlParseResult result;
    const XmlNode node = XmlNode::parseString(bytes, root, &result);
    return result.error == XmlError::None ? node : XmlNode();
}

using Span = std::pair<size_t, size_t>;  // start, and one past the last byte

// Where a mutation may go. Values: the inside of every double-quoted attribute value and every
// run of character data. Elements: every element but the root, from its start tag to its end.
std::vector<Span> spans(const std::string& d, bool values) {
    std::vector<Span> found;
    std::vector<size_t> open;  // start tags of the elements open here
    for (size_t i = d.find('<'); i != std::string::npos; i = d.find('<', i + 1)) {
        const size_t close = d.find('>', i);
        if (close == std::string::npos)
            break;
        for (size_t q = d.find('"', i), e = d.find('"', q + 1); values && q < close && e < close;
             q = d.find('"', e + 1), e = d.find('"', q + 1))
            found.push_back({q + 1, e});
        if (values && close + 1 < d.size() && d[close + 1] != '<')
            found.push_back({close + 1, std::min(d.find('<', close), d.size())});
        if (d[i + 1] == '/' && !open.empty()) {
            if (!values && open.size() > 1)
                found.push_back({open.back(), close + 1});
            open.pop_back();
        } else if (std::isalpha(static_cast<unsigned char>(d[i + 1])) && d[close - 1] != '/') {
            open.push_back(i);
        } else if (std::isalpha(static_cast<unsigned char>(d[i + 1])) && !values && !open.empty()) {
            found.push_back({i, close + 1});
        }
        i = close;
    }
    return found;
}

std::string mutate(std::string d, std::minstd_rand& random, bool values) {
    const std::vector<Span> found = spans(d, values);
    if (found.empty())
        return d;
    const auto [start, end] = found[random() % found.size()];
    if (!values)
        return random() % 2 == 0 ? d.erase(start, end - start) : d.insert(end, d.substr(start, end - start));
    std::string value = d.substr(start, end - start);
    const size_t length = value.size();
    value.resize(length * 2 + 16);
    value.resize(LLVMFuzzerMutate(reinterpret_cast<uint8_t*>(value.data()), length, value.size()));
    static const char* const escapes[] = {"&lt;", "&gt;", "&amp;", "&quot;", "&#0;"};
    std::string escaped;
    for (const char c : value) {
        const size_t k = std::string_view("<>&\"\0", 5).find(c);
        escaped += k == std::string_view::npos ? std::string(1, c) : escapes[k];
    }
    return d.replace(start, length, escaped);
}

}  // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned int seed) {
    std::minstd_rand random(seed);
    const unsigned kind = random() % 32;
    if (kind == 0)
        return LLVMFuzzerMutate(data, size, maxSize);
    const std::string input(reinterpret_cast<const char*>(data), size);
    const size_t split = std::min(input.find(separator), input.size());
    std::string report = input.substr(0, split);
    std::string charts = input.substr(std::min(split + separator.size(), input.size()));
    std::string& document = charts.empty() || random() % 2 == 0 ? report : charts;
    document = mutate(std::move(document), random, kind <= 23);
    const std::string output = report + std::string(separator) + charts;
    if (output.size() > maxSize)
        return size;
    std::memcpy(data, output.data(), output.size());
    return output.size();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const size_t split = std::min(input.find(separator), size);
    const XmlNode report = load(input.substr(0, split), "ORB_AnalystReport");
    const XmlNode charts = load(input.substr(std::min(split + separator.size(), size)), "ORB_Charts");
    if (report.isEmpty() || charts.isEmpty())
        return 0;
    // One sink for every run: its block is large, and allocating it anew costs more than a
    // small page.
    static PageSink page([](std::string_view) { return true; });
    static const PageFrame frame("fuzz");
    ReportGenerator(report, charts, page, frame).generate();
    return 0;
}
