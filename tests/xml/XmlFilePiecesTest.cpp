// Files read in pieces, with the ASCII check made piece by piece: a byte that is not ASCII, or a
// zero, wherever it lies (the first piece, a later one, right at a piece's edge, the last byte),
// after a byte-order mark or without one, must read as the whole file checked at once reads.

#include "xml/XmlNode.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

// The text of the root element of a file holding bytes.
std::string textOfFile(const std::string& bytes) {
    const auto path = std::filesystem::temp_directory_path() / ("anarep-pieces-" + std::to_string(getpid()) + ".xml");
    std::ofstream(path, std::ios::binary) << bytes;
    XmlParseResult result;
    const XmlNode root = XmlNode::parseFile(path.c_str(), "", &result);
    std::filesystem::remove(path);
    return std::to_string(static_cast<int>(result.error)) + ":" + std::string(root.textAt(0));
}

TEST(XmlFilePiecesTest, EveryPlaceOfAnOtherByteReadsAsWhole) {
    constexpr size_t piece = size_t{1} << 19;
    const std::string open = "<a>";
    for (const size_t filler : {size_t{10}, piece - 5, piece - 4, piece - 3, piece, piece + 1, 3 * piece + 7}) {
        const std::string ascii(filler, 'x');
        for (const bool mark : {false, true}) {
            const std::string start = (mark ? "\xEF\xBB\xBF" : "") + open;
            // All ASCII.
            EXPECT_EQ(textOfFile(start + ascii + "y</a>"), "0:" + ascii + "y");
            // One accented letter at the end of the filler: Windows-1252 without the mark, broken
            // UTF-8 with it.
            EXPECT_EQ(textOfFile(start + ascii + "\xE9</a>"), "0:" + ascii + (mark ? "\xEF\xBF\xBD" : "\xC3\xA9"));
            // Valid UTF-8 after the mark, two Windows-1252 letters without it.
            EXPECT_EQ(textOfFile(start + ascii + "\xC3\xA9</a>"), "0:" + ascii + (mark ? "\xC3\xA9" : "\xC3\x83\xC2\xA9"));
            // A zero ends the text: the element is left open.
            const std::string cut = textOfFile(start + ascii + std::string(1, '\0') + "z</a>");
            EXPECT_EQ(cut.substr(cut.find(':')), ":" + ascii) << filler;
        }
    }
}

}  // namespace
