#include "XmlTestSupport.h"

#include "xml/XmlFile.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>
#include <unistd.h>

using XmlTest::dump;
using XmlTest::utf8;

namespace fs = std::filesystem;

namespace {

class XmlFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        static std::atomic<int> counter{0};
        directory = fs::temp_directory_path() /
                    ("anarep-xml-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
        fs::create_directories(directory);
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(directory, ignored);
    }

    std::string write(const std::string& name, const std::string& bytes) const {
        const fs::path path = directory / name;
        std::ofstream(path, std::ios::binary) << bytes;
        return path.string();
    }

    XmlNode load(const std::string& path, XmlParseResult& result, std::string_view requiredTag = {}) const {
        result = XmlParseResult{XmlError::None, -1, -1};
        return XmlNode::parseFile(path.c_str(), requiredTag, &result);
    }

    fs::path directory;
};

// The document of the encoding matrix, written in each encoding by hand: nothing here relies on
// the converters under test.
const char16_t documentText[] = u"<?xml version=\"1.0\"?>\r\n<r name='caf\u00E9'>Gr\u00FC\u00DFe \u20AC</r>\r\n";

std::string utf16Bytes(const std::u16string& text, bool bigEndian) {
    std::string bytes;
    for (char16_t unit : text) {
        const char high = static_cast<char>(unit >> 8);
        const char low = static_cast<char>(unit & 0xFF);
        bytes += bigEndian ? std::string{high, low} : std::string{low, high};
    }
    return bytes;
}

struct EncodingCase {
    const char* name;
    std::string bytes;
};

TEST_F(XmlFileTest, ReadsOneDocumentInEveryEncoding) {
    const std::u16string text = documentText;
    const std::string utf8Body = "<?xml version=\"1.0\"?>\r\n<r name='caf\xC3\xA9'>Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC</r>\r\n";
    const std::string cp1252Body = "<?xml version=\"1.0\"?>\r\n<r name='caf\xE9'>Gr\xFC\xDF" "e \x80</r>\r\n";
    const EncodingCase cases[] = {
        {"UTF-16LE with mark", "\xFF\xFE" + utf16Bytes(text, false)},
        {"UTF-16LE without mark", utf16Bytes(text, false)},
        {"UTF-16LE, odd trailing byte", utf16Bytes(text, false) + "x"},
        {"UTF-16BE with mark", "\xFE\xFF" + utf16Bytes(text, true)},
        {"UTF-8 with mark", "\xEF\xBB\xBF" + utf8Body},
        {"Windows-1252", cp1252Body},
    };
    for (const EncodingCase& c : cases) {
        XmlParseResult result;
        const XmlNode r = load(write("doc.xml", c.bytes), result, "r");
        EXPECT_EQ(result.error, XmlError::None) << c.name;
        EXPECT_EQ(result.line, 0) << c.name;
        EXPECT_EQ(utf8(r.attribute("name")), "caf\u00E9") << c.name;
        EXPECT_EQ(utf8(r.textAt(0)), "Gr\u00FC\u00DFe \u20AC") << c.name;
        EXPECT_TRUE(r.parent().isEmpty()) << c.name;
    }
}

TEST_F(XmlFileTest, Utf8WithoutMarkIsReadAsWindows1252) {
    XmlParseResult result;
    const XmlNode r = load(write("doc.xml", "<r>caf\xC3\xA9</r>"), result);
    EXPECT_EQ(result.error, XmlError::None);
    EXPECT_EQ(utf8(r.textAt(0)), "caf\u00C3\u00A9");
}

TEST_F(XmlFileTest, MalformedUtf8AfterTheMarkStillParses) {
    XmlParseResult result;
    const XmlNode r = load(write("doc.xml", "\xEF\xBB\xBF<r a='\xFF'>x\xE2\x82</r>"), result);
    EXPECT_EQ(result.error, XmlError::None);
    EXPECT_EQ(utf8(r.attribute("a")), "\uFFFD");
    EXPECT_EQ(utf8(r.textAt(0)), "x\uFFFD");
}

struct FileErrorCase {
    const char* name;
    std::string bytes;
    std::string_view requiredTag;
    XmlError error;
    int32_t line;
    int32_t column;
    bool treeReturned;
};

TEST_F(XmlFileTest, ReportsErrorsOfTheFileAndOfItsText) {
    const FileErrorCase cases[] = {
        {"empty file", "", {}, XmlError::EmptyFile, 0, 0, false},
        {"white space only", " \r\n\t ", {}, XmlError::NoElements, 2, 3, true},
        {"white space, tag required", " \r\n\t ", "r", XmlError::RequiredTagNotFound, 0, 0, false},
        {"error on line 3", "<r>\r\n<c>\r\n</r>", {}, XmlError::MissingEndTag, 3, 5, true},
        {"8-bit text ends at a zero byte", std::string("<r>\0</r>", 8), {}, XmlError::MissingEndTag, 1, 4, true},
        {"big-endian without mark", std::string("\0<\0r\0/\0>", 8), {}, XmlError::NoElements, 1, 1, true},
        {"a lone mark", "\xFF\xFE", {}, XmlError::NoElements, 1, 1, true},
        {"columns count UTF-16 units", "\xEF\xBB\xBF<r>\xF0\x9F\x98\x80\xC3\xA9<c></r>", {}, XmlError::MissingEndTag, 1, 14, true},
        {"Windows-1252 columns count characters", "<r>\xE9\x80<c></r>", {}, XmlError::MissingEndTag, 1, 13, true},
    };
    for (const FileErrorCase& c : cases) {
        XmlParseResult result;
        const XmlNode node = load(write("doc.xml", c.bytes), result, c.requiredTag);
        EXPECT_EQ(result.error, c.error) << c.name;
        EXPECT_EQ(result.line, c.line) << c.name;
        EXPECT_EQ(result.column, c.column) << c.name;
        EXPECT_EQ(node.isEmpty(), !c.treeReturned) << c.name;
    }
}

TEST_F(XmlFileTest, MissingFileAndDirectoryCannotBeOpened) {
    for (const std::string& path : {(directory / "missing.xml").string(), directory.string()}) {
        XmlParseResult result;
        EXPECT_TRUE(load(path, result).isEmpty()) << path;
        EXPECT_EQ(result.error, XmlError::CannotOpenFile) << path;
        EXPECT_EQ(result.line, 0) << path;
        EXPECT_EQ(result.column, 0) << path;
    }
    EXPECT_TRUE(XmlNode::parseFile(nullptr, {}, nullptr).isEmpty());
}

TEST_F(XmlFileTest, FileOfTwoGigabytesIsRefusedBeforeReading) {
    const std::string path = write("huge.xml", "<r>");
    std::error_code error;
    fs::resize_file(path, static_cast<uintmax_t>(XmlFile::maxSize) + 1, error);  // sparse: no disk used
    if (error)
        GTEST_SKIP() << "cannot make a sparse file here: " << error.message();
    XmlParseResult result;
    EXPECT_TRUE(load(path, result).isEmpty());
    EXPECT_EQ(result.error, XmlError::FileTooLarge);
    EXPECT_EQ(result.line, 0);
}

std::string asciiBytes(const std::string& text) {
    return std::string(text.begin(), text.end());
}

// Files take other paths through the parser than strings do: 8-bit text is read as bytes, and
// both widths are scanned in blocks where the length is known. Every path must build the same
// tree and report the same error at the same place.
TEST_F(XmlFileTest, EveryInputPathBuildsTheSameTree) {
    std::vector<std::string> documents = {
        "<?xml version='1.0'?>\n<r a=\"x &amp; y\" b=z c>\n  <c>t &lt;1&gt;<!-- n -->u</c><![CDATA[raw]]>\n</r>",
        "<a><b></a><c/>",
        "<r>AT&T</r>",
        "<a b=>",
        "<r><!-- open",
        "<!DOCTYPE d [ x ]><r><PRE> p </PRE></r></x>",
    };
    // References and stray "&" at every offset around the block boundaries.
    for (size_t before = 0; before < 40; before += 3) {
        const std::string padding(before, 'a');
        documents.push_back("<r>" + padding + "&amp;" + padding + "b</r>");
        documents.push_back("<r>" + padding + " & " + padding + "</r>");
        documents.push_back("<r>" + padding + "<c/>" + padding + "</r>");
    }
    for (const std::string& document : documents) {
        XmlParseResult expected;
        const std::string expectedTree = dump(XmlNode::parseString(document, {}, &expected));
        const std::pair<const char*, std::string> files[] = {
            {"8-bit", asciiBytes(document)},
            {"UTF-16", "\xFF\xFE" + utf16Bytes(std::u16string(document.begin(), document.end()), false)},
            {"UTF-8", "\xEF\xBB\xBF" + asciiBytes(document)},
        };
        for (const auto& [encoding, bytes] : files) {
            XmlParseResult result;
            const XmlNode node = load(write("doc.xml", bytes), result);
            EXPECT_EQ(dump(node), expectedTree) << encoding << ": " << utf8(document);
            EXPECT_EQ(result.error, expected.error) << encoding << ": " << utf8(document);
            EXPECT_EQ(result.line, expected.line) << encoding << ": " << utf8(document);
            EXPECT_EQ(result.column, expected.column) << encoding << ": " << utf8(document);
        }
    }
}

struct SampleCase {
    const char* file;
    const char* root;
};

TEST_F(XmlFileTest, ReadsTheSampleDocuments) {
    const SampleCase samples[] = {
        {"breast_cancer_analysisReport.xml", "ORB_AnalystReport"},
        {"breast_cancer_graphs.xml", "ORB_Charts"},
        {"wine_analysisReport.xml", "ORB_AnalystReport"},
        {"diabetes_graphs.xml", "ORB_Charts"},
    };
    for (const SampleCase& sample : samples) {
        XmlParseResult result;
        const std::string path = std::string(ANAREP_SOURCE_DIR) + "/bench/data/" + sample.file;
        const XmlNode root = load(path, result, sample.root);
        EXPECT_EQ(result.error, XmlError::None) << sample.file;
        EXPECT_EQ(utf8(root.name()), utf8(sample.root)) << sample.file;
        EXPECT_GT(root.childCount(), 0) << sample.file;
    }
}

}  // namespace
