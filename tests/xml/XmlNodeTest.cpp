#include "XmlTestSupport.h"

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
    XmlNode root = parse(u"<doc><ROW id='1'/><item/><row id='2' ID='two' flag/><Row id='3'/>"
                         u"<a b c='1' d=''/>t1<!--c-->t2<![CDATA[raw]]></doc>");
};

TEST_F(XmlNodeTest, EmptyNodeAnswersEveryQueryWithNothing) {
    const XmlNode empty;
    int32_t cursor = 0;
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_EQ(empty.name(), nullptr);
    EXPECT_FALSE(empty.isDeclaration());
    EXPECT_EQ(empty.childCount(), 0);
    EXPECT_EQ(empty.childCountNamed(u"row"), 0);
    EXPECT_TRUE(empty.childAt(0).isEmpty());
    EXPECT_TRUE(empty.childNamed(u"row", &cursor).isEmpty());
    EXPECT_TRUE(empty.childNamedNth(u"row", -1).isEmpty());
    EXPECT_TRUE(empty.parent().isEmpty());
    EXPECT_EQ(empty.attributeCount(), 0);
    EXPECT_EQ(empty.attribute(u"id", &cursor), nullptr);
    EXPECT_EQ(empty.attributeNameAt(0), nullptr);
    EXPECT_EQ(empty.attributeValueAt(0), nullptr);
    EXPECT_EQ(empty.textCount(), 0);
    EXPECT_EQ(empty.textAt(0), nullptr);
    EXPECT_EQ(empty.clearCount(), 0);
    EXPECT_EQ(empty.clearAt(0), nullptr);
    EXPECT_EQ(empty.orderCount(), 0);
    EXPECT_EQ(empty.orderAt(0), -1);
    EXPECT_EQ(cursor, 0);
    EXPECT_TRUE(XmlNode::emptyNode().isEmpty());
}

TEST_F(XmlNodeTest, ChainedLookupsThroughMissingElementsEndEmpty) {
    EXPECT_EQ(root.childNamed(u"missing").childNamed(u"deeper").attribute(u"x"), nullptr);
    EXPECT_EQ(parseIntOr(root.childNamed(u"missing").attribute(u"x"), 7), 7);
}

TEST_F(XmlNodeTest, IndicesOutsideTheRangeAnswerNothing) {
    const XmlNode a = root.childNamed(u"a");
    EXPECT_TRUE(root.childAt(-1).isEmpty());
    EXPECT_TRUE(root.childAt(root.childCount()).isEmpty());
    EXPECT_EQ(a.textAt(0), nullptr);
    EXPECT_EQ(a.attributeNameAt(-1), nullptr);
    EXPECT_EQ(a.attributeValueAt(a.attributeCount()), nullptr);
    EXPECT_EQ(root.clearAt(root.clearCount()), nullptr);
    EXPECT_EQ(root.orderAt(-1), -1);
    EXPECT_EQ(root.orderAt(root.orderCount()), -1);
}

TEST_F(XmlNodeTest, NamesMatchIgnoringAsciiCaseOnly) {
    EXPECT_EQ(root.childCountNamed(u"row"), 3);
    EXPECT_EQ(utf8(root.childNamed(u"rOw").attribute(u"id")), "1");
    EXPECT_EQ(utf8(root.childNamedNth(u"row", 1).attribute(u"Id")), "2");
    EXPECT_EQ(root.childCountNamed(u"ro"), 0);
    EXPECT_EQ(root.childCountNamed(u"rows"), 0);
    EXPECT_EQ(root.childCountNamed(nullptr), 0);

    const XmlNode accented = parse(u"<r><\u00C9t\u00E9/></r>");
    EXPECT_EQ(accented.childCountNamed(u"\u00C9t\u00E9"), 1);
    EXPECT_EQ(accented.childCountNamed(u"\u00E9t\u00E9"), 0);
    EXPECT_EQ(accented.childCountNamed(u"\u00C9T\u00C9"), 0);
}

TEST_F(XmlNodeTest, ChildCursorVisitsEveryMatchInDocumentOrder) {
    std::vector<std::string> ids;
    int32_t cursor = 0;
    for (XmlNode row = root.childNamed(u"row", &cursor); !row.isEmpty(); row = root.childNamed(u"row", &cursor))
        ids.push_back(utf8(row.attribute(u"id")));
    EXPECT_EQ(ids, (std::vector<std::string>{"1", "2", "3"}));
    EXPECT_EQ(cursor, 4);
}

TEST_F(XmlNodeTest, ChildCursorStaysWhenNothingMatches) {
    int32_t cursor = 2;
    EXPECT_TRUE(root.childNamed(u"item", &cursor).isEmpty());
    EXPECT_EQ(cursor, 2);
    cursor = -5;
    EXPECT_EQ(utf8(root.childNamed(u"item", &cursor).name()), "item");
    EXPECT_EQ(cursor, 2);
}

TEST_F(XmlNodeTest, ChildNamedNthCountsMatchesOrTakesTheLast) {
    EXPECT_EQ(utf8(root.childNamedNth(u"row", 0).attribute(u"id")), "1");
    EXPECT_EQ(utf8(root.childNamedNth(u"row", 2).attribute(u"id")), "3");
    EXPECT_EQ(utf8(root.childNamedNth(u"row", -1).attribute(u"id")), "3");
    EXPECT_EQ(utf8(root.childNamedNth(u"row", -7).attribute(u"id")), "3");
    EXPECT_TRUE(root.childNamedNth(u"row", 3).isEmpty());
    EXPECT_TRUE(root.childNamedNth(u"nothing", -1).isEmpty());
}

TEST_F(XmlNodeTest, AttributeCursorTellsValuelessFromMissing) {
    const XmlNode a = root.childNamed(u"a");
    int32_t cursor = 0;
    EXPECT_EQ(a.attribute(u"b"), nullptr);
    EXPECT_EQ(utf8(a.attribute(u"c")), "1");
    EXPECT_EQ(a.attribute(u"B", &cursor), nullptr);
    EXPECT_EQ(cursor, 1);
    EXPECT_EQ(a.attribute(u"zz", &cursor), nullptr);
    EXPECT_EQ(cursor, 1);
    EXPECT_EQ(utf8(a.attribute(u"d")), "");
}

TEST_F(XmlNodeTest, RepeatedAttributeNamesAreReadInTurnWithOneCursor) {
    const XmlNode row = root.childNamedNth(u"row", 1);
    int32_t cursor = 0;
    EXPECT_EQ(utf8(row.attribute(u"id", &cursor)), "2");
    EXPECT_EQ(utf8(row.attribute(u"id", &cursor)), "two");
    EXPECT_EQ(row.attribute(u"id", &cursor), nullptr);
    EXPECT_EQ(cursor, 2);
    EXPECT_EQ(utf8(row.attributeNameAt(2)), "flag");
    EXPECT_EQ(row.attributeValueAt(2), nullptr);
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
        XmlNode document = parse(u"<r><c k='v'><g>deep</g></c><other/></r>");
        child = document.childNamed(u"c");
        EXPECT_EQ(utf8(child.parent().name()), "r");
    }
    EXPECT_TRUE(child.parent().isEmpty());
    EXPECT_EQ(utf8(child.attribute(u"k")), "v");
    EXPECT_EQ(utf8(child.childNamed(u"g").textAt(0)), "deep");
    EXPECT_EQ(child.data()->refCount, 1);
}

TEST(XmlNodeLifetimeTest, GrandchildHeldAfterRootKeepsOnlyItself) {
    XmlNode grandchild;
    {
        const XmlNode document = parse(u"<r><c><g/></c></r>");
        grandchild = document.childAt(0).childAt(0);
    }
    EXPECT_EQ(utf8(grandchild.name()), "g");
    EXPECT_TRUE(grandchild.parent().isEmpty());
}

TEST(XmlNodeLifetimeTest, CopiesAndAssignmentsCountEveryHolder) {
    const XmlNode document = parse(u"<r><c/></r>");
    XmlNode child = document.childAt(0);
    XmlNodeData* data = child.data();
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
    XmlNode node = parse(u"<r><c><g/></c></r>");
    node = node.childAt(0);
    EXPECT_EQ(utf8(node.name()), "c");
    EXPECT_EQ(node.childCount(), 1);
    XmlNode other = parse(u"<r><c/></r>");
    other = std::move(node);
    EXPECT_EQ(utf8(other.childAt(0).name()), "g");
}

// ---- building operations ----

TEST(XmlNodeBuildTest, ArraysGrowPastTheirBlocksAndAfterTrimming) {
    XmlNode node = XmlNode::createNode(xmlCopyString(u"r", 1), nullptr, false);
    for (int i = 0; i < 120; ++i) {
        node.addChild(xmlCopyString(u"c", 1), false);
        node.addText(xmlCopyString(u"t", 1));
        node.addAttribute(xmlCopyString(u"a", 1), nullptr);
    }
    node.trim();
    node.addChild(xmlCopyString(u"last", 4), false);
    node.addText(xmlCopyString(u"end", 3));
    node.addClearSection(xmlCopyString(u"x", 1), u"<!--", u"-->");
    EXPECT_EQ(node.childCount(), 121);
    EXPECT_EQ(node.textCount(), 121);
    EXPECT_EQ(node.attributeCount(), 120);
    EXPECT_EQ(node.orderCount(), 243);
    EXPECT_EQ(utf8(node.childAt(120).name()), "last");
    EXPECT_EQ(node.orderAt(242), (0 << 2) | XmlClearItem);
    EXPECT_EQ(node.orderAt(241), (120 << 2) | XmlTextItem);
}

TEST(XmlNodeBuildTest, ParsedElementTakesMoreAttributesAndChildren) {
    XmlNode a = parse(u"<a x='1' y/>");
    a.addAttribute(xmlCopyString(u"z", 1), xmlCopyString(u"3", 1));
    a.addChild(xmlCopyString(u"c", 1), false);
    ASSERT_EQ(a.attributeCount(), 3);
    EXPECT_EQ(utf8(a.attribute(u"x")), "1");
    EXPECT_EQ(a.attributeValueAt(1), nullptr);
    EXPECT_EQ(utf8(a.attribute(u"z")), "3");
    EXPECT_EQ(utf8(a.childAt(0).name()), "c");
}

TEST(XmlNodeBuildTest, ListsEmptiedByDeletionTakeNewEntries) {
    XmlNode node = XmlNode::createNode(xmlCopyString(u"r", 1), nullptr, false);
    node.addClearSection(xmlCopyString(u"c", 1), u"<!--", u"-->");
    node.deleteClearSection(0);
    EXPECT_EQ(node.orderCount(), 0);
    node.addText(xmlCopyString(u"t", 1));
    node.addClearSection(xmlCopyString(u"d", 1), u"<!--", u"-->");
    EXPECT_EQ(node.orderAt(0), (0 << 2) | XmlTextItem);
    EXPECT_EQ(node.orderAt(1), (0 << 2) | XmlClearItem);
    EXPECT_EQ(utf8(node.clearAt(0)->value), "d");
}

TEST(XmlNodeBuildTest, DeletingAClearSectionRenumbersTheLaterOnes) {
    XmlNode node = XmlNode::createNode(xmlCopyString(u"r", 1), nullptr, false);
    node.addClearSection(xmlCopyString(u"a", 1), u"<!--", u"-->");
    node.addText(xmlCopyString(u"t", 1));
    node.addClearSection(xmlCopyString(u"b", 1), u"<!--", u"-->");
    node.addClearSection(xmlCopyString(u"c", 1), u"<!--", u"-->");
    node.addClearSection(nullptr, u"<!--", u"-->");
    node.deleteClearSection(1);
    ASSERT_EQ(node.clearCount(), 2);
    EXPECT_EQ(utf8(node.clearAt(1)->value), "c");
    ASSERT_EQ(node.orderCount(), 3);
    EXPECT_EQ(node.orderAt(0), (0 << 2) | XmlClearItem);
    EXPECT_EQ(node.orderAt(1), (0 << 2) | XmlTextItem);
    EXPECT_EQ(node.orderAt(2), (1 << 2) | XmlClearItem);
    node.deleteClearSection(0);
    node.deleteClearSection(0);
    EXPECT_EQ(node.data()->clears, nullptr);
    EXPECT_EQ(node.orderCount(), 1);
}

// ---- typed readers ----

struct IntCase {
    const char16_t* text;
    int32_t expected;
};

TEST(XmlReaderTest, ParseIntOrReadsLikeTheCLibraryAndClamps) {
    const IntCase cases[] = {
        {nullptr, 7},
        {u"", 7},
        {u"abc", 0},
        {u" 42x", 42},
        {u"\t\n\v\f\r-17", -17},
        {u"+8", 8},
        {u"- 8", 0},
        {u"0012", 12},
        {u"3.9", 3},
        {u"2147483647", 2147483647},
        {u"2147483648", 2147483647},
        {u"-2147483648", -2147483647 - 1},
        {u"-2147483649", -2147483647 - 1},
        {u"99999999999999999999999999", 2147483647},
        {u"\u0661\u0662", 0},  // Arabic-Indic digits are no digits here
    };
    for (const IntCase& c : cases)
        EXPECT_EQ(parseIntOr(c.text, 7), c.expected) << utf8(c.text);
}

struct DoubleCase {
    const char16_t* text;
    double expected;
};

TEST(XmlReaderTest, ParseDoubleOrReadsTheLongestDecimalPrefix) {
    const double inf = std::numeric_limits<double>::infinity();
    const DoubleCase cases[] = {
        {nullptr, 1.5},
        {u"", 1.5},
        {u"abc", 1.5},
        {u".", 1.5},
        {u"-", 1.5},
        {u"2.5e3", 2500.0},
        {u"  -0.25", -0.25},
        {u"+.5", 0.5},
        {u"5.", 5.0},
        {u"1e", 1.0},
        {u"1e+", 1.0},
        {u"1E-2x", 0.01},
        {u"3,5", 3.0},
        {u"0x1p3", 0.0},
        {u"inf", 1.5},
        {u"nan", 1.5},
        {u"1e400", inf},
        {u"-1e400", -inf},
        {u"1e-400", 0.0},
        {u"1e99999999999999999999", inf},
        {u"0e99999999999999999999", 0.0},
        {u"0.1", 0.1},
        {u"0.30000000000000004", 0.30000000000000004},
        {u"2.2250738585072011e-308", 2.2250738585072011e-308},
        {u"9007199254740993", 9007199254740992.0},  // ties to even
        {u"4.9e-324", 4.9e-324},
    };
    for (const DoubleCase& c : cases)
        EXPECT_EQ(parseDoubleOr(c.text, 1.5), c.expected) << utf8(c.text);
}

TEST(XmlReaderTest, ParseDoubleOrRoundsLongMantissasCorrectly) {
    // 0.1 written with 300 more digits than a double holds still rounds to the nearest double.
    std::u16string text = u"0.1";
    text.append(300, u'0');
    text += u"1";
    EXPECT_EQ(parseDoubleOr(text.c_str(), 0.0), 0.1);
    std::u16string large = u"1";
    large.append(400, u'0');
    EXPECT_EQ(parseDoubleOr(large.c_str(), 0.0), std::numeric_limits<double>::infinity());
}

TEST(XmlReaderTest, ParseDoubleOrIgnoresTheProcessLocale) {
    const char* previous = std::setlocale(LC_NUMERIC, nullptr);
    const std::string saved = previous != nullptr ? previous : "C";
    if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8") == nullptr && std::setlocale(LC_NUMERIC, "fr_FR.UTF-8") == nullptr)
        GTEST_SKIP() << "no locale with a decimal comma installed";
    const double value = parseDoubleOr(u"2.5", 0.0);
    std::setlocale(LC_NUMERIC, saved.c_str());
    EXPECT_EQ(value, 2.5);
}

TEST(XmlReaderTest, TextOrKeepsEmptyTextAndReplacesNull) {
    const char16_t* empty = u"";
    const char16_t* fallback = u"fb";
    EXPECT_EQ(textOr(empty, fallback), empty);
    EXPECT_EQ(textOr(nullptr, fallback), fallback);
    EXPECT_EQ(textOr(nullptr, nullptr), nullptr);
}

}  // namespace
