// SPDX-License-Identifier: MIT
#include "ViewsTestSupport.h"

#include "Views/LayoutEngine.h"
#include "Views/Typography.h"

using namespace quelm;
using namespace quelm::test;
using views::Font;
using views::FontWeight;
using views::ViewNode;
namespace node = views::node;

namespace {

class LayoutEngineTest : public ViewsTest {
protected:
    const views::Typography& typography = views::Typography::standard();
    views::LayoutEngine engine;
    const Font font { 11.5, FontWeight::medium };
    const Color color = Color::of(Color::Named::primary);
};

ViewNode fixedBox(double width, double height)
{
    return std::move(ViewNode { node::Mark {} }).framed(width, height);
}

}

TEST_F(LayoutEngineTest, InterIsTheTypeface)
{
    EXPECT_TRUE(typography.isInter()) << "fonts-inter is a build dependency; found " << typography.family().toStdString();
}

TEST_F(LayoutEngineTest, TextTakesItsNaturalWidthAndOneLine)
{
    ViewNode text = ViewNode::text("postgres", font, color);
    const views::Size size = engine.measure(text, 500);
    EXPECT_NEAR(size.width, typography.width("postgres", font), 1e-9);
    EXPECT_NEAR(size.height, typography.lineHeight(font), 1e-9);
    EXPECT_GT(size.height, font.size);
    EXPECT_LT(size.height, font.size * 1.5);
}

TEST_F(LayoutEngineTest, LineHeightScalesWithTheSize)
{
    const double perPoint = typography.lineHeight({ 10, FontWeight::medium }) / 10;
    EXPECT_NEAR(typography.lineHeight({ 11.5, FontWeight::medium }), 11.5 * perPoint, 1e-9);
    EXPECT_NEAR(typography.lineHeight({ 9.5, FontWeight::medium }), 9.5 * perPoint, 1e-9);
    EXPECT_LT(typography.ascent({ 10, FontWeight::medium }), typography.lineHeight({ 10, FontWeight::medium }));
}

TEST_F(LayoutEngineTest, TooLongTextIsCutWithAnEllipsis)
{
    ViewNode text = ViewNode::text("a rather long title for such a narrow place", font, color);
    engine.layout(text, { 0, 0, 60, 20 });
    const std::string& shown = text.as<node::Text>()->shown;
    EXPECT_TRUE(shown.ends_with("…"));
    EXPECT_LE(typography.width(shown, font), 60.001);

    ViewNode fits = ViewNode::text("ok", font, color);
    engine.layout(fits, { 0, 0, 60, 20 });
    EXPECT_EQ(fits.as<node::Text>()->shown, "ok");
}

TEST_F(LayoutEngineTest, HorizontalStackGivesSpacersWhatIsLeft)
{
    ViewNode row = ViewNode::hstack(5, views::CrossAlignment::center, { fixedBox(10, 10), ViewNode::spacer(), fixedBox(20, 30) });
    engine.layout(row, { 0, 0, 100, 30 });
    EXPECT_EQ(row.children[0].frame, (views::Frame { 0, 10, 10, 10 })) << "centred across";
    EXPECT_EQ(row.children[1].frame, (views::Frame { 15, 0, 60, 30 }));
    EXPECT_EQ(row.children[2].frame, (views::Frame { 80, 0, 20, 30 }));
    EXPECT_EQ(engine.measure(row, 100), (views::Size { 100, 30 }));
}

TEST_F(LayoutEngineTest, SpacerKeepsItsMinimumWhenSpaceRunsShort)
{
    ViewNode row = ViewNode::hstack(0, views::CrossAlignment::start,
        { ViewNode::text("a long long long long long long text", font, color), ViewNode::spacer(4), fixedBox(20, 20) });
    engine.layout(row, { 0, 0, 80, 20 });
    EXPECT_NEAR(row.children[0].frame.width, 56, 1e-9);
    EXPECT_NEAR(row.children[1].frame.width, 4, 1e-9);
    EXPECT_NEAR(row.children[2].frame.x, 60, 1e-9);
}

TEST_F(LayoutEngineTest, NarrowerTextKeepsItsWidthWhenTwoCompete)
{
    ViewNode row = ViewNode::hstack(0, views::CrossAlignment::start,
        { ViewNode::text("a very very very very long one", font, color), ViewNode::text("short", font, color) });
    const double shortWidth = typography.width("short", font);
    engine.layout(row, { 0, 0, 100, 20 });
    EXPECT_NEAR(row.children[1].frame.width, shortWidth, 1e-9);
    EXPECT_NEAR(row.children[0].frame.width, 100 - shortWidth, 1e-9);
}

TEST_F(LayoutEngineTest, VerticalStackStacksWithSpacingAndSharesSpareHeightAmongSpacers)
{
    ViewNode column = ViewNode::vstack(6, { fixedBox(10, 10), fixedBox(30, 20), ViewNode::spacer() });
    engine.layout(column, { 5, 5, 100, 100 });
    EXPECT_EQ(column.children[0].frame, (views::Frame { 5, 5, 10, 10 }));
    EXPECT_EQ(column.children[1].frame, (views::Frame { 5, 21, 30, 20 }));
    EXPECT_EQ(column.children[2].frame, (views::Frame { 5, 47, 100, 58 }));
    EXPECT_EQ(engine.measure(column, 100), (views::Size { 30, 42 }));
}

TEST_F(LayoutEngineTest, CentredStackCentresItsChildren)
{
    ViewNode column = ViewNode::stack(views::Axis::vertical, 0, views::CrossAlignment::center, { fixedBox(10, 10), fixedBox(40, 10) });
    engine.layout(column, { 0, 0, 40, 20 });
    EXPECT_EQ(column.children[0].frame.x, 15);
    EXPECT_EQ(column.children[1].frame.x, 0);
}

TEST_F(LayoutEngineTest, DividerRunsAlongItsNeighbours)
{
    ViewNode row = ViewNode::hstack(10, views::CrossAlignment::start,
        { std::move(ViewNode::vstack(0, { fixedBox(10, 50) })).fillingWidth(), ViewNode::divider(), fixedBox(30, 20) });
    const views::Size size = engine.measure(row, 200);
    EXPECT_EQ(size, (views::Size { 200, 50 }));
    engine.layout(row, { 0, 0, size.width, size.height });
    EXPECT_EQ(row.children[0].frame.width, 149);
    EXPECT_EQ(row.children[1].frame, (views::Frame { 159, 0, 1, 50 }));
}

TEST_F(LayoutEngineTest, FillingChildrenShareTheWidthEqually)
{
    ViewNode row = ViewNode::hstack(14, views::CrossAlignment::start,
        { std::move(ViewNode::vstack(0, { fixedBox(10, 10) })).fillingWidth(),
            std::move(ViewNode::vstack(0, { fixedBox(80, 10) })).fillingWidth() });
    engine.layout(row, { 0, 0, 214, 10 });
    EXPECT_EQ(row.children[0].frame.width, 100);
    EXPECT_EQ(row.children[1].frame.x, 114);
    EXPECT_EQ(row.children[1].frame.width, 100);
}

TEST_F(LayoutEngineTest, PaddingInsetsTheChild)
{
    ViewNode section = std::move(ViewNode::wrapping(node::Section { "x" }, fixedBox(10, 10))).padded({ 3, 0, 0, 0 });
    EXPECT_EQ(engine.measure(section, 50).height, 13);
    engine.layout(section, { 0, 0, 50, 13 });
    EXPECT_EQ(section.children[0].frame.y, 3);
}
