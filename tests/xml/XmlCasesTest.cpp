// The XML library against the tables tests/xml/cases/*.tsv, one test per table, whose rows are
// "operation<TAB>input<TAB>answer". \n \r \t \0 \\ and \xHH stand for their bytes, an input
// "(null)" for no text at all. XML_ROW=<line> runs only the rows of that line.

#include "xml/Base64Decoder.h"
#include "xml/Base64Index.h"
#include "xml/TextEncoding.h"
#include "xml/XmlFile.h"
#include "xml/XmlNumbers.h"
#include "xml/XmlRecord.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string unescape(std::string_view text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = i + 1 < text.size() && text[i] == '\\' ? text[++i] : 0;
        if (c == 'x')
            out += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16)), i += 2;
        else
            out += c == 0 ? text[i] : c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c == '0' ? '\0' : c;
    }
    return out;
}

std::string_view view(const std::string& input) {
    return input == "(null)" ? std::string_view() : std::string_view(input);
}

std::string str(std::string_view text) {
    return text.data() == nullptr ? "(null)" : std::string(text);
}

// The whole tree: name and attributes, then children, texts [..] and raw sections {..} in the
// order list's order. An index past either end that answers something shows as "!range".
std::string dump(const XmlNode& node) {
    const XmlNodeData* d = XmlTree::data(node);
    std::string out = node.isEmpty() ? "(empty)" : "<" + str(node.name()) + (d->isDeclaration ? "?" : "");
    for (int32_t i = 0; i < node.attributeCount(); ++i)
        out += " " + str(node.attributeNameAt(i)) + "=" + str(node.attributeValueAt(i));
    out += node.isEmpty() ? "" : ">";
    for (int32_t i = 0; i < XmlTree::orderCount(d); ++i) {
        const int32_t entry = XmlTree::orderAt(d, i);
        const int32_t index = entry >> kItemKindBits;
        if ((entry & kItemKindMask) == XmlChildItem)
            out += dump(node.childAt(index));
        else
            out += (entry & kItemKindMask) == XmlTextItem ? "[" + str(node.textAt(index)) + "]"
                                                          : "{" + str(XmlTree::clearAt(d, index)->value) + "}";
    }
    for (const int32_t i : {-1, 0})
        if (!node.childAt(i ? i : node.childCount()).isEmpty() || node.textAt(i ? i : XmlTree::textCount(d)).data() ||
            XmlTree::clearAt(d, i ? i : XmlTree::clearCount(d)) || XmlTree::orderAt(d, i ? i : XmlTree::orderCount(d)) != -1 ||
            node.attributeNameAt(i ? i : node.attributeCount()).data() ||
            node.attributeValueAt(i ? i : node.attributeCount()).data())
            out += "!range";
    return node.isEmpty() ? out : out + "</>";
}

std::string outcome(const XmlParseResult& result, const XmlNode& node) {
    return std::to_string(static_cast<int>(result.error)) + " " + std::to_string(result.line) + ":" +
           std::to_string(result.column) + " " + dump(node) + (node.parent().isEmpty() ? "" : " in a parent");
}

// The bytes through a FIFO at path, with a writer from the start, as a shell's <(...) gives them.
std::string parseFromPipe(const fs::path& path, const std::string& bytes, std::string_view tag) {
    if (mkfifo(path.c_str(), 0600) != 0)
        return "no FIFO";
    // Opened first so that the writer's open does not wait for the loader's.
    const int keeper = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    const int writer = open(path.c_str(), O_WRONLY);
    std::thread writing([&] {
        for (size_t done = 0; done < bytes.size();) {
            const ssize_t written = write(writer, bytes.data() + done, bytes.size() - done);
            if (written <= 0)
                break;
            done += static_cast<size_t>(written);
        }
        close(writer);
    });
    XmlParseResult result{XmlError::None, -1, -1};
    const XmlNode node = XmlNode::parseFile(path.c_str(), tag, &result);
    writing.join();
    close(keeper);
    fs::remove(path);
    return outcome(result, node);
}

// The input as the bytes of a file of this test process, which must read the same through a
// pipe; or (missing), (dir) (a folder), (null) (no name), (huge) (a sparse file of 2 GB), (fifo)
// (a FIFO no one writes to) and (padded) (an element and 300 KB of blanks, more than a pipe's
// first buffer).
std::string parseFile(const std::string& input, std::string_view tag) {
    const fs::path path = fs::temp_directory_path() / (input == "(dir)" ? "" : "anarep-xml-" + std::to_string(getpid()));
    const std::string bytes = input == "(padded)" ? "<r/>" + std::string(300000, ' ') : input;
    const bool special = input == "(dir)" || input == "(missing)" || input == "(null)" || input == "(huge)";
    if (input == "(fifo)")
        mkfifo(path.c_str(), 0600);
    else if (input != "(dir)" && input != "(missing)")
        std::ofstream(path, std::ios::binary) << bytes;
    if (input == "(huge)")
        fs::resize_file(path, static_cast<uintmax_t>(XmlFile::maxSize) + 1);
    XmlParseResult result{XmlError::None, -1, -1};
    const XmlNode node = XmlNode::parseFile(input == "(null)" ? nullptr : path.c_str(), tag, &result);
    if (input != "(dir)")
        fs::remove(path);
    const std::string answer = outcome(result, node);
    if (special || input == "(fifo)")
        return answer;
    const std::string piped = parseFromPipe(path, bytes, tag);
    return piped == answer ? answer : "through a pipe: " + piped;
}

// An ASCII document must give the same answer from files in each encoding, whose bytes take
// other paths to the parser, and without a result to fill.
std::string parseString(const std::string& input, std::string_view tag) {
    XmlParseResult result;
    const XmlNode node = XmlNode::parseString(view(input), tag, &result);
    if (dump(XmlNode::parseString(view(input), tag, nullptr)) != dump(node))
        return "a different tree without a result";
    std::string utf16 = "\xFF\xFE";
    for (const char c : input)
        utf16 += {c, '\0'};
    const bool ascii = !input.empty() && input != "(null)" && std::all_of(input.begin(), input.end(), [](char c) { return c > 0; });
    for (const std::string& file : {input, "\xEF\xBB\xBF" + input, utf16})
        if (ascii && parseFile(file, tag) != outcome(result, node))
            return "from a file: " + parseFile(file, tag);
    return outcome(result, node);
}

// The children named name of the top element: their count | each one the cursor visits @ where
// the cursor ends.
std::string children(const XmlNode& node, std::string_view name) {
    std::string out = std::to_string(node.childCountNamed(name)) + " |";
    int32_t cursor = 0;
    for (XmlNode child = node.childNamed(name, &cursor); !child.isEmpty(); child = node.childNamed(name, &cursor))
        out += " " + dump(child);
    return out + " @" + std::to_string(cursor);
}

// <r>, count copies of the part, </r>: each copy must add what the part alone makes.
std::string repeat(const std::string& part, int32_t count) {
    const std::string once = dump(XmlNode::parseString("<r>" + part + "</r>", {}, nullptr));
    std::string text = "<r>", expected = "<r>";
    for (int32_t i = 0; i < count; ++i)
        text += part, expected += once.substr(3, once.size() - 6);
    const XmlNode node = XmlNode::parseString(text + "</r>", {}, nullptr);
    return std::to_string(XmlTree::orderCount(XmlTree::data(node))) + (dump(node) == expected + "</>" ? " entries" : " entries, not as the part");
}

std::string nest(int32_t depth) {
    std::string text;
    for (int32_t i = 0; i < 2 * depth; ++i)
        text += i < depth ? "<a>" : "</a>";
    XmlParseResult result;
    XmlNode::parseString(text, {}, &result);
    return outcome(result, XmlNode());
}

// "null", or "=" and the bytes.
std::string bytesOf(const unsigned char* bytes, int32_t count) {
    return bytes == nullptr ? "null" : "=" + std::string(reinterpret_cast<const char*>(bytes), static_cast<size_t>(count));
}

// The shape and length of the index; for regular text, every read of 1, 2, 3 or 8 bytes must
// give the decoder's bytes. The text is followed by more base64 that is no part of it.
std::string base64Index(const std::string& input) {
    const std::string followed = input + "QUJD";
    const std::string_view text = input == "(null)" ? std::string_view() : std::string_view(followed.data(), input.size());
    const Base64Index index(text);
    const std::string answer = std::to_string(static_cast<int>(index.shape())) + " " + std::to_string(index.length());
    Base64Decoder decoder;
    const unsigned char* bytes = decoder.decode(text, nullptr, nullptr);
    for (const int32_t count : {1, 2, 3, 8}) {
        for (int32_t offset = 0; index.shape() == Base64Index::Shape::Regular && offset + count <= index.length(); ++offset) {
            unsigned char read[8];
            index.read(offset, count, read);
            if (std::memcmp(read, bytes + offset, static_cast<size_t>(count)) != 0)
                return answer + " read " + std::to_string(offset) + "+" + std::to_string(count) + " differs";
        }
    }
    return answer;
}

std::string answer(const std::string& op, const std::string& arg, const std::string& input) {
    const std::string_view text = view(input);
    Base64Decoder decoder;
    XmlError error = XmlError::NullInput;
    int32_t length = -1;
    unsigned char bytes[16] = {};
    if (op == "parse")
        return parseString(input, arg);
    if (op == "file")
        return parseFile(input, arg);
    if (op == "children")
        return children(XmlNode::parseString(text, {}, nullptr), arg);
    if (op == "repeat")
        return repeat(input, std::stoi(arg));
    if (op == "nest")
        return nest(std::stoi(input));
    if (op == "base64") {  // announced length, error, =decoded bytes, buffer size
        const unsigned char* decoded = decoder.decode(text, &length, &error);
        return std::to_string(length) + " " + std::to_string(static_cast<int>(error)) + " " + bytesOf(decoded, decoder.written()) + " " +
               std::to_string(decoder.capacity());
    }
    if (op == "into") {  // status, error, =bytes written
        const Base64Status status = Base64Decoder::decodeInto(text, bytes, std::stoi(arg), &error, &length);
        return std::to_string(status) + " " + std::to_string(static_cast<int>(error)) + " " + bytesOf(bytes, length);
    }
    if (op == "index")
        return base64Index(input);
    if (op == "int")
        return std::to_string(parseIntOr(text, 7));
    if (op == "double") {
        char shortest[32] = {};
        std::to_chars(shortest, shortest + sizeof shortest - 1, parseDoubleOr(text, 1.5));
        return shortest;
    }
    if (op == "unicode")
        return std::to_string(TextEncoding::isTextUnicode(reinterpret_cast<const unsigned char*>(input.data()), input.size()));
    return "no operation " + op;
}

class XmlCasesTest : public testing::TestWithParam<const char*> {};

TEST_P(XmlCasesTest, AnswersAsTheTableSays) {
    const std::string table = GetParam() + std::string(".tsv");
    std::ifstream file(fs::path(ANAREP_SOURCE_DIR) / "tests/xml/cases" / table);
    ASSERT_TRUE(file) << table;
    const char* only = std::getenv("XML_ROW");
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        if (line.empty() || line[0] == '#' || (only != nullptr && std::atoi(only) != number))
            continue;
        const size_t first = line.find('\t');
        const size_t second = line.find('\t', first + 1);
        const size_t colon = std::min(first, line.find(':'));
        ASSERT_NE(second, std::string::npos) << table << ":" << number << " needs three columns";
        EXPECT_EQ(answer(line.substr(0, colon), line.substr(colon + 1, first - std::min(first, colon + 1)),
                         unescape(line.substr(first + 1, second - first - 1))),
                  unescape(line.substr(second + 1)))
            << table << ":" << number << ": " << line.substr(0, second);
    }
}

INSTANTIATE_TEST_SUITE_P(Tables, XmlCasesTest, testing::Values("api", "base64", "file", "parse", "text"),
                         [](const testing::TestParamInfo<const char*>& row) { return std::string(row.param); });

// ---- handle counts: a record lives while a handle holds it or one of its ancestors ----

TEST(XmlNodeLifetimeTest, ElementOutlivesItsDocumentDetachedWithItsSubtree) {
    XmlNode child;
    XmlNode grandchild;
    {
        const XmlNode document = XmlNode::parseString("<r><c k='v'><g>deep</g></c><o/></r>", {}, nullptr);
        child = document.childAt(0);
        grandchild = child.childAt(0);
    }
    EXPECT_EQ(dump(child) + dump(child.parent()), "<c k=v><g>[deep]</></>(empty)");
    child = XmlNode();
    EXPECT_EQ(dump(grandchild) + dump(grandchild.parent()) + std::to_string(XmlTree::data(grandchild)->refCount),
              "<g>[deep]</>(empty)1");
}

TEST(XmlNodeLifetimeTest, ParentReachedWhileAnAncestorIsHeld) {
    XmlNode document = XmlNode::parseString("<r><c><g/></c></r>", {}, nullptr);
    const XmlNode grandchild = document.childAt(0).childAt(0);
    EXPECT_EQ(dump(grandchild.parent()), "<c><g></></>");
    document = XmlNode();
    EXPECT_EQ(dump(grandchild.parent()), "(empty)");
}

TEST(XmlNodeLifetimeTest, CopiesAndAssignmentsCountEveryHolder) {
    XmlNode node = XmlNode::parseString("<r><c><g/></c></r>", {}, nullptr);
    XmlNode child = node.childAt(0);
    const XmlNodeData* data = XmlTree::data(child);
    {
        XmlNode copy = child;
        XmlNode assigned;
        assigned = copy;
        assigned = assigned;
        EXPECT_EQ(data->refCount, 3);  // three handles; the parent's entry is not one
        XmlNode moved = std::move(copy);
        moved = std::move(assigned);
        EXPECT_EQ(data->refCount, 2);
    }
    node = node.childAt(0);  // the document's only handle takes its child: the child stays
    child = XmlNode::emptyNode();
    EXPECT_EQ(dump(node) + std::to_string(data->refCount), "<c><g></></>1");
}

}  // namespace
