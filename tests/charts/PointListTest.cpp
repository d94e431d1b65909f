#include "charts/PointList.h"

#include "ChartTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using ChartTest::base64Doubles;
using ChartTest::indices;
using ChartTest::pointXs;

std::string pointListOf(const QString& curves, bool coarse = false, int yPrecision = 16) {
    const XmlNode root = ChartTest::parse("<ORB_Charts><c>" + curves + "</c></ORB_Charts>");
    return buildPointList(root.childNamed("c"), "ROC", coarse, yPrecision);
}

std::string pointList(const std::vector<double>& x, const std::vector<double>& y,
                      bool coarse = false, int yPrecision = 16) {
    return pointListOf(ChartTest::curve("ROC", x, y), coarse, yPrecision);
}

// 0, step, 2 step, ... below end, then last.
std::vector<double> stepped(int step, int end, int last) {
    std::vector<double> xs;
    for (int i = 0; i < end; i += step)
        xs.push_back(i);
    xs.push_back(last);
    return xs;
}

TEST(PointListTest, ThinsWithTheAccumulatedStep) {
    std::vector<double> upTo498 = indices(499);
    upTo498.push_back(500);
    const struct {
        int n;
        bool coarse;
        std::vector<double> expected;
    } cases[] = {
        {1, false, {0, 0}},           {2, false, {0, 1}},
        {500, false, indices(500)},   {501, false, upTo498},
        {1000, false, stepped(2, 998, 999)},
        {100, true, stepped(10, 90, 99)},
        {5, true, {0, 4}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(pointXs(pointList(indices(c.n), indices(c.n), c.coarse)), c.expected)
            << "n = " << c.n << (c.coarse ? " coarse" : " fine");
}

TEST(PointListTest, LargeCurvesKeepAboutFiveHundredPoints) {
    EXPECT_EQ(pointXs(pointList(indices(1001), indices(1001))).size(), 501u);
    EXPECT_EQ(pointXs(pointList(indices(100000), indices(100000))).size(), 500u);
    EXPECT_EQ(pointXs(pointList(indices(100000), indices(100000), true)).size(), 50u);
}

TEST(PointListTest, FormatsLikePrintf) {
    const double inf = std::numeric_limits<double>::infinity();
    const struct {
        double x, y;
        bool coarse;
        int yPrecision;
        std::string point;  // a curve of one point writes it twice
    } cases[] = {
        {1.5, -2.25, false, 16, "[1.5,-2.25]"},
        {0.5, 123.456, true, 2, "[ 0.50,123.46]"},
        {0.125, 0.375, true, 2, "[ 0.12, 0.38]"},  // exact halves round to even
        {-0.0, -1.5, true, 2, "[-0.00,-1.50]"},
        {-0.001, 1234.5, true, 2, "[-0.00,1234.50]"},
        {100.0 / 3, 45.678, false, 2, "[33.33333333333334,46]"},
        {0.1, 0.012345, false, 2, "[0.1,0.012]"},
        {12, 100, false, 2, "[12,1e+02]"},
        {1e-5, 1e16, false, 16, "[1e-05,1e+16]"},
        {std::nan(""), inf, false, 16, "[null,null]"},
        {-inf, std::nan(""), true, 2, "[null,null]"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(pointList({c.x}, {c.y}, c.coarse, c.yPrecision), c.point + "," + c.point);
}

TEST(PointListTest, BytesBeyondAMultipleOfEightAreIgnored) {
    EXPECT_EQ(pointListOf("<ROC><x>" + base64Doubles({1, 2}, 4) + "</x><y>" +
                          base64Doubles({3, 4, 5}, 7) + "</y></ROC>"),
              "[1,3],[2,4]");
}

TEST(PointListTest, CurveNameIgnoresCaseAndBase64MayBeWrapped) {
    QString x = base64Doubles({1, 2, 3});
    x.insert(8, "\n   \t");
    EXPECT_EQ(pointListOf("<roc><X>\n  " + x + "\n  </X><Y>" + base64Doubles({4, 5, 6}) + "\r\n</Y></roc>"),
              "[1,4],[2,5],[3,6]");
}

TEST(PointListTest, PaddingFollowedByWhiteSpaceStillCounts) {
    // Blanks after the "=" hide the padding from the length computation: the decoder reports
    // a truncated text although all 8 bytes are there.
    const QString one = base64Doubles({5});
    ASSERT_TRUE(one.endsWith('='));
    EXPECT_EQ(pointListOf("<ROC><x>" + one + "\n   </x><y>  " + one + "  </y></ROC>"), "[5,5],[5,5]");
}

TEST(PointListTest, UnusableCurvesGiveAnEmptyList) {
    const QString two = base64Doubles({1, 2});
    const QString one = base64Doubles({1});
    const QString cases[] = {
        "<Other><x>" + two + "</x><y>" + two + "</y></Other>",
        "<ROC><y>" + two + "</y></ROC>",
        "<ROC><x>" + two + "</x></ROC>",
        "<ROC><x></x><y>" + two + "</y></ROC>",
        "<ROC><x>" + two + "</x><y>  </y></ROC>",
        "<ROC><x>QUJD</x><y>" + two + "</y></ROC>",               // under 8 bytes
        "<ROC><x>" + two + "</x><y>" + one + "</y></ROC>",        // y shorter than x
        "<ROC><x>" + two + "*</x><y>" + two + "</y></ROC>",       // bad characters
        "<ROC><x>" + two + "</x><y>" + two + "#</y></ROC>",
        "<ROC><x>" + two + "</x><y>" + two.left(16) + "</y></ROC>",  // y ends inside a value
        // Texts that promise two values but whose data stops at the "=" after one.
        "<ROC><x>" + one + "AAAAAAAAAAAA</x><y>" + two + "</y></ROC>",
        "<ROC><x>" + two + "</x><y>" + one + "AAAAAAAAAAAA</y></ROC>",
    };
    for (const QString& c : cases)
        EXPECT_EQ(pointListOf(c), "") << c.toStdString();
    EXPECT_EQ(buildPointList(XmlNode(), "ROC", false, 2), "");
}

}  // namespace
