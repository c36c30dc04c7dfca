// SPDX-License-Identifier: MIT
#include <quelm/QuelmMark.h>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace quelm;
using Kind = Path::Element::Kind;

namespace {

constexpr double tolerance = 1e-3;

void expectNear(Point actual, double x, double y)
{
    EXPECT_NEAR(actual.x, x, tolerance);
    EXPECT_NEAR(actual.y, y, tolerance);
}

void expectRect(const Rect& actual, double x, double y, double width, double height)
{
    EXPECT_DOUBLE_EQ(actual.x, x);
    EXPECT_DOUBLE_EQ(actual.y, y);
    EXPECT_DOUBLE_EQ(actual.width, width);
    EXPECT_DOUBLE_EQ(actual.height, height);
}

double distance(Point a, Point b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

const Rect square100 { 0, 0, 100, 100 };

}

TEST(QuelmMark, ConstantsAreFractionsOfTheHalfWidth)
{
    EXPECT_EQ(QuelmMark::waist, 0.27);
    EXPECT_EQ(QuelmMark::tipRounding, 0.12);
    EXPECT_EQ(QuelmMark::sphereRadius, 0.25);
    EXPECT_EQ(QuelmMark::hairline, 0.045);
}

TEST(QuelmMark, StarIsOneClosedSubpathOfAMoveAndFourCurves)
{
    const Path star = QuelmMark::starPath(square100);
    const auto& elements = star.elements();
    ASSERT_EQ(elements.size(), 6u);
    EXPECT_EQ(elements[0].kind, Kind::move);
    for (int k = 1; k <= 4; ++k)
        EXPECT_EQ(elements[k].kind, Kind::curve) << k;
    EXPECT_EQ(elements[5].kind, Kind::close);
}

TEST(QuelmMark, StrokeWidthIsSixHundredthsOfTheWidth)
{
    EXPECT_DOUBLE_EQ(QuelmMark::strokeWidth(square100), 6);
    EXPECT_DOUBLE_EQ(QuelmMark::strokeWidth({ 0, 0, 250, 10 }), 15);
}

TEST(QuelmMark, HundredWideSquareFigures)
{
    const Path star = QuelmMark::starPath(square100);
    const auto& elements = star.elements();
    ASSERT_EQ(elements.size(), 6u);

    // Starts at tip 0, on the diagonal towards the maximum corner.
    expectNear(elements[0].to, 83.234, 83.234);
    // The first side ends at tip 1, pulled through the pinch on the vertical axis.
    expectNear(elements[1].to, 16.766, 83.234);
    expectNear(elements[1].control1, 50, 62.69);
    expectNear(elements[1].control2, 50, 62.69);
    // The remaining tips point to the other two corners and back to the first.
    expectNear(elements[2].to, 16.766, 16.766);
    expectNear(elements[3].to, 83.234, 16.766);
    expectNear(elements[4].to, 83.234, 83.234);
    // Pinches on the horizontal and vertical axes.
    expectNear(elements[2].control1, 37.31, 50);
    expectNear(elements[3].control1, 50, 37.31);
    expectNear(elements[4].control1, 62.69, 50);
}

TEST(QuelmMark, OuterRadiusIsHalfWidthLessHalfTheStroke)
{
    const Point centre { 50, 50 };
    const Path star = QuelmMark::starPath(square100);
    const auto& elements = star.elements();
    ASSERT_EQ(elements.size(), 6u);
    for (int k = 0; k <= 4; ++k)
        EXPECT_NEAR(distance(elements[k].to, centre), 47, 1e-9) << "tip " << k;
    for (int k = 1; k <= 4; ++k) {
        EXPECT_NEAR(distance(elements[k].control1, centre), 12.69, 1e-9) << "pinch " << k - 1;
        EXPECT_EQ(elements[k].control1, elements[k].control2) << "both controls are the pinch";
    }
}

TEST(QuelmMark, AnglesAreEvaluatedInDoublePrecisionRadians)
{
    constexpr double pi = std::numbers::pi;
    const Path star = QuelmMark::starPath(square100);
    const auto& elements = star.elements();
    ASSERT_EQ(elements.size(), 6u);
    const double outer = 47;
    const double inner = 47 * 0.27;
    for (int k = 0; k < 4; ++k) {
        const double b = pi / 2 + k * pi / 2;
        EXPECT_EQ(elements[k + 1].control1, (Point { 50 + inner * std::cos(b), 50 + inner * std::sin(b) })) << k;
    }
    // The cosine of 90° is not exactly zero: around the origin the first pinch is a hair off the axis.
    const Path centredStar = QuelmMark::starPath({ -50, -50, 100, 100 });
    const auto& centred = centredStar.elements();
    EXPECT_NE(centred[1].control1.x, 0.0);
    EXPECT_NEAR(centred[1].control1.x, 0.0, 1e-12);
    // Tip 4 lies at 405°: almost, not necessarily exactly, tip 0.
    const double a4 = pi / 4 + 4 * pi / 2;
    EXPECT_EQ(elements[4].to, (Point { 50 + outer * std::cos(a4), 50 + outer * std::sin(a4) }));
    EXPECT_NEAR(distance(elements[4].to, elements[0].to), 0, 1e-9);
}

TEST(QuelmMark, SphereAndHoleSquares)
{
    expectRect(QuelmMark::sphereRect(square100), 37.5, 37.5, 25, 25);
    expectRect(QuelmMark::holeRect(square100), 35.25, 35.25, 29.5, 29.5);
}

TEST(QuelmMark, HoleIsOneHairlineWiderThanTheSphere)
{
    const Rect rect { 3, 7, 240, 240 };
    const Rect hole = QuelmMark::holeRect(rect);
    const Rect sphere = QuelmMark::sphereRect(rect);
    EXPECT_DOUBLE_EQ(hole.width / 2 - sphere.width / 2, 120 * QuelmMark::hairline);
    EXPECT_DOUBLE_EQ(hole.midX(), sphere.midX());
    EXPECT_DOUBLE_EQ(hole.midY(), sphere.midY());
}

TEST(QuelmMark, HeightIsIgnoredAndFigureStaysCentred)
{
    // A 100-wide mark centred on (60, 40), whatever the height.
    const Rect wide { 10, 20, 100, 40 };
    const Rect sameCentreSquare { 10, -10, 100, 100 };

    EXPECT_EQ(QuelmMark::starPath(wide), QuelmMark::starPath(sameCentreSquare));
    EXPECT_DOUBLE_EQ(QuelmMark::strokeWidth(wide), 6);
    expectRect(QuelmMark::sphereRect(wide), 47.5, 27.5, 25, 25);
    expectRect(QuelmMark::holeRect(wide), 45.25, 25.25, 29.5, 29.5);

    const Path star = QuelmMark::starPath(wide);
    const auto& elements = star.elements();
    ASSERT_EQ(elements.size(), 6u);
    expectNear(elements[0].to, 93.234, 73.234);
    expectNear(elements[1].to, 26.766, 73.234);
    expectNear(elements[1].control1, 60, 52.69);
    // The figure extends beyond the rectangle's top and bottom.
    EXPECT_GT(elements[0].to.y, wide.y + wide.height);
    EXPECT_LT(elements[2].to.y, wide.y);
}

TEST(QuelmMark, ScalesWithTheWidth)
{
    const auto small = QuelmMark::starPath(square100).elements();
    const auto large = QuelmMark::starPath({ 0, 0, 200, 200 }).elements();
    ASSERT_EQ(small.size(), large.size());
    for (std::size_t i = 0; i + 1 < small.size(); ++i) {
        EXPECT_NEAR(large[i].to.x, small[i].to.x * 2, 1e-9);
        EXPECT_NEAR(large[i].to.y, small[i].to.y * 2, 1e-9);
    }
}

TEST(QuelmMark, ZeroWidthIsDegenerateAtTheCentre)
{
    const Rect rect { 10, 20, 0, 30 };
    const Point centre { 10, 35 };
    const Path star = QuelmMark::starPath(rect);
    const auto& elements = star.elements();
    ASSERT_EQ(elements.size(), 6u);
    EXPECT_EQ(elements[0].kind, Kind::move);
    for (int k = 0; k <= 4; ++k)
        EXPECT_EQ(elements[k].to, centre) << k;
    for (int k = 1; k <= 4; ++k) {
        EXPECT_EQ(elements[k].control1, centre) << k;
        EXPECT_EQ(elements[k].control2, centre) << k;
    }
    EXPECT_EQ(elements[5].kind, Kind::close);

    EXPECT_EQ(QuelmMark::strokeWidth(rect), 0);
    EXPECT_EQ(QuelmMark::sphereRect(rect), (Rect { 10, 35, 0, 0 }));
    EXPECT_EQ(QuelmMark::holeRect(rect), (Rect { 10, 35, 0, 0 }));
}

TEST(Path, RecordsElementsInOrder)
{
    Path path;
    EXPECT_TRUE(path.elements().empty());
    path.moveTo({ 1, 2 });
    path.curveTo({ 3, 4 }, { 5, 6 }, { 7, 8 });
    path.close();
    ASSERT_EQ(path.elements().size(), 3u);
    EXPECT_EQ(path.elements()[0], (Path::Element { .kind = Kind::move, .to = { 1, 2 } }));
    EXPECT_EQ(path.elements()[1], (Path::Element { .kind = Kind::curve, .to = { 7, 8 }, .control1 = { 3, 4 }, .control2 = { 5, 6 } }));
    EXPECT_EQ(path.elements()[2].kind, Kind::close);

    Path copy = path;
    copy.close();
    EXPECT_NE(copy, path) << "a copy is independent of its source";
}
