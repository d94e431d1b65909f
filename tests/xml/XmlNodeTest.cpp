#include "XmlTestSupport.h"
#include "xml/XmlNumbers.h"
#include "xml/XmlRecord.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

using XmlTest::parse;
using XmlTest::utf8;

namespace {

class XmlNodeTest : public ::testing::Test {
protected:
    XmlNode root = parse("<doc><ROW id='1'/><item/><row id='2' ID='two' flag/><Row id='3'/>"
                         "<a b c='1' d=''/>t1<!--c-->t2<![CDATA[raw]]></doc>");
};

TEST_F(XmlNodeTest, EmptyNodeAnswersEveryQueryWithNothing) {
    const XmlNode empty;
    int32_t cursor = 0;
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_EQ(empty.name().data(), nullptr);
    EXPECT_FALSE(empty.isDeclaration());
    EXPECT_EQ(empty.childCount(), 0);
    EXPECT_EQ(empty.childCountNamed("row"), 0);
    EXPECT_TRUE(empty.childAt(0).isEmpty());
    EXPECT_TRUE(empty.childNamed("row", &cursor).isEmpty());
    EXPECT_TRUE(empty.childNamedNth("row", -1).isEmpty());
    EXPECT_TRUE(empty.parent().isEmpty());
    EXPECT_EQ(empty.attributeCount(), 0);
    EXPECT_EQ(empty.attribute("id", &cursor).data(), nullptr);
    EXPECT_EQ(empty.attributeNameAt(0).data(), nullptr);
    EXPECT_EQ(empty.attributeValueAt(0).data(), nullptr);
    EXPECT_EQ(empty.textCount(), 0);
    EXPECT_EQ(empty.textAt(0).data(), nullptr);
    EXPECT_EQ(empty.clearCount(), 0);
    EXPECT_EQ(empty.clearAt(0), nullptr);
    EXPECT_EQ(empty.orderCount(), 0);
    EXPECT_EQ(empty.orderAt(0), -1);
    EXPECT_EQ(cursor, 0);
    EXPECT_TRUE(XmlNode::emptyNode().isEmpty());
}

TEST_F(XmlNodeTest, ChainedLookupsThroughMissingElementsEndEmpty) {
    EXPECT_EQ(root.childNamed("missing").childNamed("deeper").attribute("x").data(), nullptr);
    EXPECT_EQ(parseIntOr(root.childNamed("missing").attribute("x"), 7), 7);
}

TEST_F(XmlNodeTest, IndicesOutsideTheRangeAnswerNothing) {
    const XmlNode a = root.childNamed("a");
    EXPECT_TRUE(root.childAt(-1).isEmpty());
    EXPECT_TRUE(root.childAt(root.childCount()).isEmpty());
    EXPECT_EQ(a.textAt(0).data(), nullptr);
    EXPECT_EQ(a.attributeNameAt(-1).data(), nullptr);
    EXPECT_EQ(a.attributeValueAt(a.attributeCount()).data(), nullptr);
    EXPECT_EQ(root.clearAt(root.clearCount()), nullptr);
    EXPECT_EQ(root.orderAt(-1), -1);
    EXPECT_EQ(root.orderAt(root.orderCount()), -1);
}

TEST_F(XmlNodeTest, NamesMatchIgnoringAsciiCaseOnly) {
    EXPECT_EQ(root.childCountNamed("row"), 3);
    EXPECT_EQ(utf8(root.childNamed("rOw").attribute("id")), "1");
    EXPECT_EQ(utf8(root.childNamedNth("row", 1).attribute("Id")), "2");
    EXPECT_EQ(root.childCountNamed("ro"), 0);
    EXPECT_EQ(root.childCountNamed("rows"), 0);
    EXPECT_EQ(root.childCountNamed(std::string_view()), 0);

    const XmlNode accented = parse("<r><\u00C9t\u00E9/></r>");
    EXPECT_EQ(accented.childCountNamed("\u00C9t\u00E9"), 1);
    EXPECT_EQ(accented.childCountNamed("\u00E9t\u00E9"), 0);
    EXPECT_EQ(accented.childCountNamed("\u00C9T\u00C9"), 0);
}

TEST_F(XmlNodeTest, ChildCursorVisitsEveryMatchInDocumentOrder) {
    std::vector<std::string> ids;
    int32_t cursor = 0;
    for (XmlNode row = root.childNamed("row", &cursor); !row.isEmpty(); row = root.childNamed("row", &cursor))
        ids.push_back(utf8(row.attribute("id")));
    EXPECT_EQ(ids, (std::vector<std::string>{"1", "2", "3"}));
    EXPECT_EQ(cursor, 4);
}

TEST_F(XmlNodeTest, ChildCursorStaysWhenNothingMatches) {
    int32_t cursor = 2;
    EXPECT_TRUE(root.childNamed("item", &cursor).isEmpty());
    EXPECT_EQ(cursor, 2);
    cursor = -5;
    EXPECT_EQ(utf8(root.childNamed("item", &cursor).name()), "item");
    EXPECT_EQ(cursor, 2);
}

TEST_F(XmlNodeTest, ChildNamedNthCountsMatchesOrTakesTheLast) {
    EXPECT_EQ(utf8(root.childNamedNth("row", 0).attribute("id")), "1");
    EXPECT_EQ(utf8(root.childNamedNth("row", 2).attribute("id")), "3");
    EXPECT_EQ(utf8(root.childNamedNth("row", -1).attribute("id")), "3");
    EXPECT_EQ(utf8(root.childNamedNth("row", -7).attribute("id")), "3");
    EXPECT_TRUE(root.childNamedNth("row", 3).isEmpty());
    EXPECT_TRUE(root.childNamedNth("nothing", -1).isEmpty());
}

TEST_F(XmlNodeTest, AttributeCursorTellsValuelessFromMissing) {
    const XmlNode a = root.childNamed("a");
    int32_t cursor = 0;
    EXPECT_EQ(a.attribute("b").data(), nullptr);
    EXPECT_EQ(utf8(a.attribute("c")), "1");
    EXPECT_EQ(a.attribute("B", &cursor).data(), nullptr);
    EXPECT_EQ(cursor, 1);
    EXPECT_EQ(a.attribute("zz", &cursor).data(), nullptr);
    EXPECT_EQ(cursor, 1);
    EXPECT_EQ(utf8(a.attribute("d")), "");
}

TEST_F(XmlNodeTest, RepeatedAttributeNamesAreReadInTurnWithOneCursor) {
    const XmlNode row = root.childNamedNth("row", 1);
    int32_t cursor = 0;
    EXPECT_EQ(utf8(row.attribute("id", &cursor)), "2");
    EXPECT_EQ(utf8(row.attribute("id", &cursor)), "two");
    EXPECT_EQ(row.attribute("id", &cursor).data(), nullptr);
    EXPECT_EQ(cursor, 2);
    EXPECT_EQ(utf8(row.attributeNameAt(2)), "flag");
    EXPECT_EQ(row.attributeValueAt(2).data(), nullptr);
}

TEST_F(XmlNodeTest, OrderListInterleavesChildrenTextsAndClears) {
    // The comment between t1 and t2 was merged away; the CDATA section stays.
    ASSERT_EQ(root.textCount(), 1);
    EXPECT_EQ(utf8(root.textAt(0)), "t1t2");
    ASSERT_EQ(root.clearCount(), 1);
    EXPECT_EQ(utf8(root.clearAt(0)->value), "raw");
    std::vector<int32_t> order;
    for (int32_t i = 0; i < root.orderCount(); ++i)
        order.push_back(root.orderAt(i));
    EXPECT_EQ(order, (std::vector<int32_t>{0, 4, 8, 12, 16, 2, 3}));
}

// ---- reference counts ----

TEST(XmlNodeLifetimeTest, ChildOutlivesItsRootDetachedWithItsSubtree) {
    XmlNode child;
    {
        XmlNode document = parse("<r><c k='v'><g>deep</g></c><other/></r>");
        child = document.childNamed("c");
        EXPECT_EQ(utf8(child.parent().name()), "r");
    }
    EXPECT_TRUE(child.parent().isEmpty());
    EXPECT_EQ(utf8(child.attribute("k")), "v");
    EXPECT_EQ(utf8(child.childNamed("g").textAt(0)), "deep");
    EXPECT_EQ(XmlTree::data(child)->refCount, 1);
}

TEST(XmlNodeLifetimeTest, GrandchildHeldAfterRootKeepsOnlyItself) {
    XmlNode grandchild;
    {
        const XmlNode document = parse("<r><c><g/></c></r>");
        grandchild = document.childAt(0).childAt(0);
    }
    EXPECT_EQ(utf8(grandchild.name()), "g");
    EXPECT_TRUE(grandchild.parent().isEmpty());
}

TEST(XmlNodeLifetimeTest, CopiesAndAssignmentsCountEveryHolder) {
    const XmlNode document = parse("<r><c/></r>");
    XmlNode child = document.childAt(0);
    XmlNodeData* data = XmlTree::data(child);
    EXPECT_EQ(data->refCount, 2);  // the parent's entry and this handle
    {
        XmlNode copy = child;
        XmlNode assigned;
        assigned = copy;
        EXPECT_EQ(data->refCount, 4);
        assigned = assigned;
        EXPECT_EQ(data->refCount, 4);
        XmlNode moved = std::move(copy);
        EXPECT_TRUE(copy.isEmpty());  // NOLINT(bugprone-use-after-move): moved-from is empty
        EXPECT_EQ(data->refCount, 4);
    }
    EXPECT_EQ(data->refCount, 2);
    child = XmlNode();
    EXPECT_EQ(data->refCount, 1);
}

TEST(XmlNodeLifetimeTest, AssigningAChildToItsOnlyRootHandleKeepsTheChild) {
    XmlNode node = parse("<r><c><g/></c></r>");
    node = node.childAt(0);
    EXPECT_EQ(utf8(node.name()), "c");
    EXPECT_EQ(node.childCount(), 1);
    XmlNode other = parse("<r><c/></r>");
    other = std::move(node);
    EXPECT_EQ(utf8(other.childAt(0).name()), "g");
}

// ---- growth ----

TEST(XmlNodeGrowthTest, ArraysGrowPastTheirBlocks) {
    std::string text = "<r>";
    for (int i = 0; i < 120; ++i)
        text += "<c/>t<![CDATA[x]]>";
    const XmlNode node = parse(text + "<last/>end</r>");
    EXPECT_EQ(node.childCount(), 121);
    EXPECT_EQ(node.textCount(), 121);
    EXPECT_EQ(node.clearCount(), 120);
    EXPECT_EQ(node.orderCount(), 362);
    EXPECT_EQ(utf8(node.childAt(120).name()), "last");
    EXPECT_EQ(node.orderAt(361), (120 << 2) | XmlTextItem);
    EXPECT_EQ(node.orderAt(359), (119 << 2) | XmlClearItem);
}

// ---- typed readers ----

struct IntCase {
    std::string_view text;
    int32_t expected;
};

TEST(XmlReaderTest, ParseIntOrReadsLikeTheCLibraryAndClamps) {
    const IntCase cases[] = {
        {{}, 7},
        {"", 7},
        {"abc", 0},
        {" 42x", 42},
        {"\t\n\v\f\r-17", -17},
        {"+8", 8},
        {"- 8", 0},
        {"0012", 12},
        {"3.9", 3},
        {"2147483647", 2147483647},
        {"2147483648", 2147483647},
        {"-2147483648", -2147483647 - 1},
        {"-2147483649", -2147483647 - 1},
        {"99999999999999999999999999", 2147483647},
        {"\u0661\u0662", 0},  // Arabic-Indic digits are no digits here
    };
    for (const IntCase& c : cases)
        EXPECT_EQ(parseIntOr(c.text, 7), c.expected) << utf8(c.text);
}

struct DoubleCase {
    std::string_view text;
    double expected;
};

TEST(XmlReaderTest, ParseDoubleOrReadsTheLongestDecimalPrefix) {
    const double inf = std::numeric_limits<double>::infinity();
    const DoubleCase cases[] = {
        {{}, 1.5},
        {"", 1.5},
        {"abc", 1.5},
        {".", 1.5},
        {"-", 1.5},
        {"2.5e3", 2500.0},
        {"  -0.25", -0.25},
        {"+.5", 0.5},
        {"5.", 5.0},
        {"1e", 1.0},
        {"1e+", 1.0},
        {"1E-2x", 0.01},
        {"3,5", 3.0},
        {"0x1p3", 0.0},
        {"inf", 1.5},
        {"nan", 1.5},
        {"1e400", inf},
        {"-1e400", -inf},
        {"1e-400", 0.0},
        {"1e99999999999999999999", inf},
        {"0e99999999999999999999", 0.0},
        {"0.1", 0.1},
        {"0.30000000000000004", 0.30000000000000004},
        {"2.2250738585072011e-308", 2.2250738585072011e-308},
        {"9007199254740993", 9007199254740992.0},  // ties to even
        {"4.9e-324", 4.9e-324},
    };
    for (const DoubleCase& c : cases)
        EXPECT_EQ(parseDoubleOr(c.text, 1.5), c.expected) << utf8(c.text);
}

TEST(XmlReaderTest, ParseDoubleOrRoundsLongMantissasCorrectly) {
    // 0.1 written with 300 more digits than a double holds still rounds to the nearest double.
    std::string text = "0.1";
    text.append(300, '0');
    text += "1";
    EXPECT_EQ(parseDoubleOr(text, 0.0), 0.1);
    std::string large = "1";
    large.append(400, '0');
    EXPECT_EQ(parseDoubleOr(large, 0.0), std::numeric_limits<double>::infinity());
}

TEST(XmlReaderTest, ParseDoubleOrIgnoresTheProcessLocale) {
    const char* previous = std::setlocale(LC_NUMERIC, nullptr);
    const std::string saved = previous != nullptr ? previous : "C";
    if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8") == nullptr && std::setlocale(LC_NUMERIC, "fr_FR.UTF-8") == nullptr)
        GTEST_SKIP() << "no locale with a decimal comma installed";
    const double value = parseDoubleOr("2.5", 0.0);
    std::setlocale(LC_NUMERIC, saved.c_str());
    EXPECT_EQ(value, 2.5);
}

}  // namespace
