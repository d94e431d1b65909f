#include "charts/PointList.h"

#include "ChartTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using ChartTest::curve;
using ChartTest::indices;
using ChartTest::parse;
using ChartTest::pointXs;

std::string pointListOf(const QString& curves, bool coarse = false, int yPrecision = 16) {
    const XmlNode root = parse(QStringLiteral("<ORB_Charts><c>") + curves +
                               QStringLiteral("</c></ORB_Charts>"));
    return buildPointList(root.childNamed(u"c"), u"ROC", coarse, yPrecision);
}

std::string pointList(const std::vector<double>& x, const std::vector<double>& y,
                      bool coarse = false, int yPrecision = 16) {
    return pointListOf(curve(QStringLiteral("ROC"), x, y), coarse, yPrecision);
}

// Points 0, step, 2 step, ..., up to but excluding `end`, then `last`.
std::vector<double> stepped(int step, int end, int last) {
    std::vector<double> xs;
    for (int i = 0; i < end; i += step)
        xs.push_back(i);
    xs.push_back(last);
    return xs;
}

struct ThinningCase {
    int n;
    bool coarse;
    std::vector<double> expected;
};

TEST(PointListTest, ThinsWithTheAccumulatedStep) {
    std::vector<double> upTo498 = indices(499);
    upTo498.push_back(500);
    const ThinningCase cases[] = {
        {1, false, {0, 0}},
        {2, false, {0, 1}},
        {500, false, indices(500)},
        {501, false, upTo498},
        {1000, false, stepped(2, 998, 999)},
        {100, true, stepped(10, 90, 99)},
        {5, true, {0, 4}},
    };
    for (const ThinningCase& c : cases) {
        const std::vector<double> xs = pointXs(pointList(indices(c.n), indices(c.n), c.coarse));
        EXPECT_EQ(xs, c.expected) << "n = " << c.n << (c.coarse ? " coarse" : " fine");
    }
}

TEST(PointListTest, LargeCurvesKeepAboutFiveHundredPoints) {
    EXPECT_EQ(pointXs(pointList(indices(1001), indices(1001))).size(), 501u);
    EXPECT_EQ(pointXs(pointList(indices(100000), indices(100000))).size(), 500u);
    EXPECT_EQ(pointXs(pointList(indices(100000), indices(100000), true)).size(), 50u);
}

TEST(PointListTest, OnePointIsWrittenTwice) {
    EXPECT_EQ(pointList({1.5}, {-2.25}), "[1.5,-2.25],[1.5,-2.25]");
}

struct FormatCase {
    double x;
    double y;
    bool coarse;
    int yPrecision;
    const char* expected;  // one point, written twice
};

TEST(PointListTest, FormatsLikePrintf) {
    const double inf = std::numeric_limits<double>::infinity();
    const FormatCase cases[] = {
        {0.5, 123.456, true, 2, "[ 0.50,123.46]"},
        {0.125, 0.375, true, 2, "[ 0.12, 0.38]"},  // exact halves round to even
        {-0.0, -1.5, true, 2, "[-0.00,-1.50]"},
        {-0.001, 1234.5, true, 2, "[-0.00,1234.50]"},
        {100.0 / 3, 45.678, false, 2, "[33.33333333333334,46]"},
        {0.1, 0.012345, false, 2, "[0.1,0.012]"},
        {12, 100, false, 2, "[12,1e+02]"},
        {1e-5, 1e16, false, 16, "[1e-05,1e+16]"},
        {9.082164000000001, 0.5, false, 16, "[9.082164000000001,0.5]"},
        {std::nan(""), inf, false, 16, "[null,null]"},
        {-inf, std::nan(""), true, 2, "[null,null]"},
    };
    for (const FormatCase& c : cases) {
        const std::string point = c.expected;
        EXPECT_EQ(pointList({c.x}, {c.y}, c.coarse, c.yPrecision), point + "," + point)
            << c.expected;
    }
}

TEST(PointListTest, BytesBeyondAMultipleOfEightAreIgnored) {
    const QString xml = QStringLiteral("<ROC><x>%1</x><y>%2</y></ROC>")
                            .arg(ChartTest::base64Doubles({1, 2}, 4),
                                 ChartTest::base64Doubles({3, 4, 5}, 7));
    EXPECT_EQ(pointListOf(xml), "[1,3],[2,4]");
}

TEST(PointListTest, CurveNameIgnoresCaseAndBase64MayBeWrapped) {
    QString x = ChartTest::base64Doubles({1, 2, 3});
    x.insert(8, QStringLiteral("\n   \t"));
    const QString xml = QStringLiteral("<roc><X>\n  %1\n  </X><Y>%2\r\n</Y></roc>")
                            .arg(x, ChartTest::base64Doubles({4, 5, 6}));
    EXPECT_EQ(pointListOf(xml), "[1,4],[2,5],[3,6]");
}

TEST(PointListTest, PaddingFollowedByWhiteSpaceStillCounts) {
    // One double is 8 bytes: base64 ends in "=", and the blanks after it hide the padding
    // from the length computation, so the decode reports truncation after all 8 bytes.
    const QString one = ChartTest::base64Doubles({5});
    ASSERT_TRUE(one.endsWith(u'='));
    const QString xml = QStringLiteral("<ROC><x>%1\n   </x><y>  %2  </y></ROC>").arg(one, one);
    EXPECT_EQ(pointListOf(xml), "[5,5],[5,5]");
}

struct UnusableCase {
    const char* about;
    QString xml;
};

TEST(PointListTest, UnusableCurvesGiveAnEmptyList) {
    const QString two = ChartTest::base64Doubles({1, 2});
    const QString one = ChartTest::base64Doubles({1});
    const UnusableCase cases[] = {
        {"no curve", QStringLiteral("<Other><x>%1</x><y>%1</y></Other>").arg(two)},
        {"no x", QStringLiteral("<ROC><y>%1</y></ROC>").arg(two)},
        {"no y", QStringLiteral("<ROC><x>%1</x></ROC>").arg(two)},
        {"empty x", QStringLiteral("<ROC><x></x><y>%1</y></ROC>").arg(two)},
        {"blank y", QStringLiteral("<ROC><x>%1</x><y>  </y></ROC>").arg(two)},
        {"x under 8 bytes", QStringLiteral("<ROC><x>QUJD</x><y>%1</y></ROC>").arg(two)},
        {"y shorter than x", QStringLiteral("<ROC><x>%1</x><y>%2</y></ROC>").arg(two, one)},
        {"bad character in x", QStringLiteral("<ROC><x>%1*</x><y>%1</y></ROC>").arg(two)},
        {"bad character in y", QStringLiteral("<ROC><x>%1</x><y>%1#</y></ROC>").arg(two)},
        {"y truncated inside a value",
         QStringLiteral("<ROC><x>%1</x><y>%2</y></ROC>").arg(two, two.left(16))},
        // The text promises two values but its data stops at the first "=" after one.
        {"x padded early, more after", QStringLiteral("<ROC><x>%1AAAAAAAAAAAA</x><y>%2</y></ROC>")
                                           .arg(one, two)},
        {"y padded early, more after", QStringLiteral("<ROC><x>%1</x><y>%2AAAAAAAAAAAA</y></ROC>")
                                           .arg(two, one)},
    };
    for (const UnusableCase& c : cases)
        EXPECT_EQ(pointListOf(c.xml), "") << c.about;
}

TEST(PointListTest, EmptyParentGivesAnEmptyList) {
    EXPECT_EQ(buildPointList(XmlNode(), u"ROC", false, 2), "");
}

}  // namespace
