// The XML library against the tables in tests/xml/cases/*.tsv, one test per table. A row is
// "operation<TAB>input<TAB>answer": each operation below turns its input into a one-line answer.
// In inputs and answers \n \r \t \0 \\ and \xHH stand for their bytes, and an input "(null)" for
// no text at all. XML_ROW=<line> runs only the rows of that line.

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
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

const fs::path casesDir = fs::path(ANAREP_SOURCE_DIR) / "tests/xml/cases";

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
    std::string out = node.isEmpty() ? "(empty)" : "<" + str(node.name()) + (node.isDeclaration() ? "?" : "");
    for (int32_t i = 0; i < node.attributeCount(); ++i)
        out += " " + str(node.attributeNameAt(i)) + "=" + str(node.attributeValueAt(i));
    out += node.isEmpty() ? "" : ">";
    for (int32_t i = 0; i < node.orderCount(); ++i) {
        const int32_t entry = node.orderAt(i);
        if ((entry & 3) == XmlChildItem)
            out += dump(node.childAt(entry >> 2));
        else
            out += (entry & 3) == XmlTextItem ? "[" + str(node.textAt(entry >> 2)) + "]"
                                              : "{" + str(node.clearAt(entry >> 2)->value) + "}";
    }
    for (const int32_t i : {-1, 0})
        if (!node.childAt(i ? i : node.childCount()).isEmpty() || node.textAt(i ? i : node.textCount()).data() ||
            node.clearAt(i ? i : node.clearCount()) || node.orderAt(i ? i : node.orderCount()) != -1 ||
            node.attributeNameAt(i ? i : node.attributeCount()).data() ||
            node.attributeValueAt(i ? i : node.attributeCount()).data())
            out += "!range";
    return node.isEmpty() ? out : out + "</>";
}

std::string outcome(const XmlParseResult& result, const XmlNode& node) {
    return std::to_string(static_cast<int>(result.error)) + " " + std::to_string(result.line) + ":" +
           std::to_string(result.column) + " " + dump(node) + (node.parent().isEmpty() ? "" : " in a parent");
}

struct Scratch {
    fs::path dir = fs::temp_directory_path() / ("anarep-xml-" + std::to_string(getpid()));
    Scratch() { fs::create_directories(dir); }
    ~Scratch() {
        std::error_code ignored;
        fs::remove_all(dir, ignored);
    }
};

std::string parseFile(const std::string& input, std::string_view tag) {
    static const Scratch scratch;
    const fs::path path = scratch.dir / (input == "(dir)" ? "" : "doc.xml");
    if (input != "(dir)" && input != "(missing)")
        std::ofstream(path, std::ios::binary) << input;
    if (input == "(missing)")
        fs::remove(path);
    if (input == "(huge)")  // sparse: no disk used
        fs::resize_file(path, static_cast<uintmax_t>(XmlFile::maxSize) + 1);
    XmlParseResult result{XmlError::None, -1, -1};
    const XmlNode node = XmlNode::parseFile(input == "(null)" ? nullptr : path.c_str(), tag, &result);
    return outcome(result, node);
}

// An ASCII document must give the same answer from files in each encoding, whose bytes take
// other paths to the parser, and without a result to fill.
std::string parseString(const std::string& input, std::string_view tag) {
    XmlParseResult result;
    const XmlNode node = XmlNode::parseString(view(input), tag, &result);
    const std::string answer = outcome(result, node);
    if (dump(XmlNode::parseString(view(input), tag, nullptr)) != dump(node))
        return "a different tree without a result";
    if (input.empty() || input == "(null)" || !std::all_of(input.begin(), input.end(), [](char c) { return c > 0; }))
        return answer;
    std::string utf16 = "\xFF\xFE";
    for (const char c : input)
        utf16 += {c, '\0'};
    for (const std::string& file : {input, "\xEF\xBB\xBF" + input, utf16}) {
        const std::string fromFile = parseFile(file, tag);
        if (fromFile.substr(fromFile.find(' ')) != answer.substr(answer.find(' ')))
            return "from a file: " + fromFile;
    }
    return answer;
}

// Every prefix of the document parses: a tree exactly when the error allows one, and a position
// with every error but the missing required tag.
std::string parsePrefixes(const std::string& input, std::string_view tag) {
    for (size_t length = 0; length <= input.size(); ++length) {
        XmlParseResult result;
        const XmlNode node = XmlNode::parseString(std::string_view(input.data(), length), tag, &result);
        const bool tree = result.error == XmlError::None || result.error == XmlError::MissingEndTag;
        const bool placed = result.error == XmlError::None || result.error == XmlError::RequiredTagNotFound ||
                            (result.line >= 1 && result.column >= 1);
        if (node.isEmpty() == tree || !placed)
            return std::to_string(length) + " bytes: " + outcome(result, node);
    }
    return "ok";
}

// <r> and the input count times and </r>: each repetition must add the same entries.
std::string repeat(const std::string& input, int32_t count) {
    std::string text = "<r>";
    for (int32_t i = 0; i < count; ++i)
        text += input;
    const XmlNode once = XmlNode::parseString("<r>" + input + "</r>", {}, nullptr);
    const XmlNode node = XmlNode::parseString(text + "</r>", {}, nullptr);
    std::string expected = "<r>";
    for (int32_t i = 0; i < count; ++i)
        expected += dump(once).substr(3, dump(once).size() - 6);
    return (dump(node) == expected + "</>" ? "" : "differs ") + std::to_string(node.childCount()) + " " +
           std::to_string(node.textCount()) + " " + std::to_string(node.clearCount()) + " " +
           std::to_string(node.orderCount());
}

std::string nest(int32_t depth) {
    std::string text;
    for (int32_t i = 0; i < depth; ++i)
        text += "<a>";
    for (int32_t i = 0; i < depth; ++i)
        text += "</a>";
    XmlParseResult result;
    XmlNode node = XmlNode::parseString(text, {}, &result);
    int32_t levels = 0;
    for (; !node.isEmpty(); node = node.childAt(0))
        ++levels;
    return std::to_string(static_cast<int>(result.error)) + " " + std::to_string(result.line) + ":" +
           std::to_string(result.column) + " " + std::to_string(levels) + " levels";
}

std::string position(const XmlNode& parent, const XmlNode& child) {
    for (int32_t i = 0; i < parent.childCount(); ++i)
        if (parent.childAt(i).identity() == child.identity())
            return std::to_string(i);
    return "-";
}

// The children of the top element named name: their count | the positions the cursor visits and
// where it ends | childNamedNth from 0 to the first miss | the last one.
std::string findChildren(const std::string& input, std::string_view name) {
    const XmlNode node = XmlNode::parseString(view(input), {}, nullptr);
    std::string out = std::to_string(node.childCountNamed(name)) + " |";
    int32_t cursor = 0;
    for (XmlNode child = node.childNamed(name, &cursor); !child.isEmpty(); child = node.childNamed(name, &cursor))
        out += " " + position(node, child) + (std::to_string(cursor - 1) == position(node, child) ? "" : "!");
    out += " @" + std::to_string(cursor) + " |";
    for (int32_t n = 0; out.back() != '-' && n < 50; ++n)
        out += " " + position(node, node.childNamedNth(name, n));
    return out + " | " + position(node, node.childNamedNth(name, -1));
}

// The values of the top element's attributes named name, first the first alone, then in turn
// with a cursor, and where the cursor ends.
std::string findAttributes(const std::string& input, std::string_view name) {
    const XmlNode node = XmlNode::parseString(view(input), {}, nullptr);
    std::string out = str(node.attribute(name)) + " |";
    int32_t cursor = 0;
    for (int32_t before = -1; before != cursor && cursor < 100;) {
        before = cursor;
        const std::string_view value = node.attribute(name, &cursor);
        out += before != cursor ? " " + str(value) : "";
    }
    return out + " @" + std::to_string(cursor);
}

std::string hex(const unsigned char* bytes, int32_t count) {
    std::string out = bytes == nullptr ? "null" : "=";
    for (int32_t i = 0; bytes != nullptr && i < count; ++i)
        out += "0123456789ABCDEF"[bytes[i] >> 4], out += "0123456789ABCDEF"[bytes[i] & 15];
    return out;
}

std::string base64(const std::string& input) {
    Base64Decoder decoder;
    int32_t length = -1;
    XmlError error = XmlError::NullInput;
    const unsigned char* bytes = decoder.decode(view(input), &length, &error);
    return std::to_string(length) + " " + std::to_string(static_cast<int>(error)) + " " +
           hex(bytes, decoder.written()) + " " + std::to_string(decoder.capacity());
}

std::string base64Into(const std::string& input, int32_t length) {
    unsigned char bytes[16] = {};
    XmlError error = XmlError::NullInput;
    int32_t written = -1;
    const Base64Status status = Base64Decoder::decodeInto(view(input), bytes, length, &error, &written);
    return std::to_string(status) + " " + std::to_string(static_cast<int>(error)) + " " + hex(bytes, written);
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

std::string converted(const std::string& op, const std::string& input) {
    if (op != "utf16" && op != "utf8" && op != "cp1252")
        return "no operation " + op;
    const auto* bytes = reinterpret_cast<const unsigned char*>(input.data());
    size_t length = 0;
    std::unique_ptr<char[]> made;
    if (op == "utf16") {
        std::u16string units;
        for (size_t i = 0; i + 1 < input.size(); i += 2)
            units += static_cast<char16_t>(bytes[i] | bytes[i + 1] << 8);
        made = TextEncoding::utf16ToUtf8(units.data(), units.size(), &length);
    } else {
        made = op == "utf8" ? TextEncoding::repairUtf8(bytes, input.size(), &length)
                            : TextEncoding::windows1252ToUtf8(bytes, input.size(), &length);
    }
    return made != nullptr ? std::string(made.get(), length) : input.substr(0, length);
}

std::string answer(const std::string& operation, const std::string& input) {
    const size_t colon = operation.find(':');
    const std::string op = operation.substr(0, colon);
    const std::string arg = colon == std::string::npos ? "" : operation.substr(colon + 1);
    if (op == "parse")
        return parseString(input, arg);
    if (op == "file")
        return parseFile(input, arg);
    if (op == "prefixes")
        return parsePrefixes(input, arg);
    if (op == "repeat")
        return repeat(input, std::stoi(arg));
    if (op == "nest")
        return nest(std::stoi(input));
    if (op == "children")
        return findChildren(input, view(arg));
    if (op == "attributes")
        return findAttributes(input, view(arg));
    if (op == "base64")
        return base64(input);
    if (op == "into")
        return base64Into(input, std::stoi(arg));
    if (op == "index")
        return base64Index(input);
    if (op == "int")
        return std::to_string(parseIntOr(view(input), 7));
    if (op == "double") {
        char text[32] = {};
        std::to_chars(text, text + sizeof text - 1, parseDoubleOr(view(input), 1.5));
        return text;
    }
    if (op == "unicode")
        return std::to_string(TextEncoding::isTextUnicode(reinterpret_cast<const unsigned char*>(input.data()), input.size()));
    return converted(op, input);
}

class XmlCasesTest : public testing::TestWithParam<std::string> {};

TEST_P(XmlCasesTest, AnswersAsTheTableSays) {
    std::ifstream file(casesDir / (GetParam() + ".tsv"));
    const char* only = std::getenv("XML_ROW");
    int rows = 0;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        if (line.empty() || line[0] == '#' || (only != nullptr && std::atoi(only) != number))
            continue;
        const size_t first = line.find('\t');
        const size_t second = line.find('\t', first + 1);
        ASSERT_NE(second, std::string::npos) << GetParam() << ".tsv:" << number << " needs three columns";
        const std::string input = unescape(line.substr(first + 1, second - first - 1));
        EXPECT_EQ(answer(line.substr(0, first), input), unescape(line.substr(second + 1)))
            << GetParam() << ".tsv:" << number << ": " << line.substr(0, second);
        ++rows;
    }
    EXPECT_TRUE(rows > 0 || only != nullptr) << GetParam();
}

std::vector<std::string> tables() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(casesDir))
        if (entry.path().extension() == ".tsv")
            names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

INSTANTIATE_TEST_SUITE_P(Tables, XmlCasesTest, testing::ValuesIn(tables()),
                         [](const testing::TestParamInfo<std::string>& row) { return row.param; });

// ---- reference counts: only a handle can hold a record, and each holder counts once ----

TEST(XmlNodeLifetimeTest, ChildOutlivesItsDocumentDetachedWithItsSubtree) {
    XmlNode child;
    XmlNode grandchild;
    {
        const XmlNode document = XmlNode::parseString("<r><c k='v'><g>deep</g></c><o/></r>", {}, nullptr);
        child = document.childAt(0);
        grandchild = child.childAt(0);
        EXPECT_EQ(str(child.parent().name()), "r");
    }
    EXPECT_EQ(dump(child.parent()), "(empty)");
    EXPECT_EQ(dump(child), "<c k=v><g>[deep]</></>");
    child = XmlNode();
    EXPECT_EQ(dump(grandchild), "<g>[deep]</>");
    EXPECT_EQ(XmlTree::data(grandchild)->refCount, 1);
}

TEST(XmlNodeLifetimeTest, CopiesAndAssignmentsCountEveryHolder) {
    XmlNode node = XmlNode::parseString("<r><c><g/></c></r>", {}, nullptr);
    XmlNode child = node.childAt(0);
    XmlNodeData* data = XmlTree::data(child);
    EXPECT_EQ(data->refCount, 2);  // the parent's entry and this handle
    {
        XmlNode copy = child;
        XmlNode assigned;
        assigned = copy;
        assigned = assigned;
        EXPECT_EQ(data->refCount, 4);
        XmlNode moved = std::move(copy);
        EXPECT_TRUE(copy.isEmpty());  // NOLINT(bugprone-use-after-move): moved-from is empty
        moved = std::move(assigned);
        EXPECT_EQ(data->refCount, 3);
    }
    // The only handle of the document takes its own child: the child must stay.
    node = node.childAt(0);
    EXPECT_EQ(data->refCount, 2);
    child = XmlNode::emptyNode();
    EXPECT_EQ(dump(node), "<c><g></></>");
    EXPECT_EQ(data->refCount, 1);
}

}  // namespace
