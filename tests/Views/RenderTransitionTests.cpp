// SPDX-License-Identifier: MIT
#include "Views/RenderTransition.h"

#include "ViewsTestSupport.h"

using namespace quelm;
using namespace quelm::test;
using views::RenderTransition;
using Kind = RenderTransition::Kind;
using Direction = RenderTransition::Direction;

namespace {

class RenderTransitionTest : public ViewsTest {};

// The header's count: the trailing text of the first horizontal stack.
const views::ViewNode& headerCount(const views::ViewNode& root)
{
    for (const views::ViewNode* node : all<views::node::Text>(root)) {
        const auto& text = *node->as<views::node::Text>();
        if (text.text.find("rodando") != std::string::npos && text.numeric)
            return *node;
    }
    throw std::runtime_error("no header count");
}

const views::ViewNode& buttonSymbol(const views::ViewNode& root, const std::string& id)
{
    for (const views::ViewNode* node : all<views::node::Button>(root)) {
        if (node->as<views::node::Button>()->itemID == id)
            return node->children.at(0);
    }
    throw std::runtime_error("no button for " + id);
}

std::vector<RenderTransition::Region> regionsOf(const RenderTransition& transition, Kind kind)
{
    std::vector<RenderTransition::Region> found;
    for (const auto& region : transition.regions()) {
        if (region.kind == kind)
            found.push_back(region);
    }
    return found;
}

WidgetSnapshot twoItems(bool firstRunning, bool secondRunning)
{
    WidgetSnapshot snapshot;
    snapshot.items = { item("a", firstRunning), item("b", secondRunning) };
    return snapshot;
}

}

TEST_F(RenderTransitionTest, TheSameStateAnimatesNothingSpecially)
{
    const auto first = render(runningEntry(twoItems(true, false)), WidgetFamily::large);
    const auto second = render(runningEntry(twoItems(true, false)), WidgetFamily::large);
    EXPECT_TRUE(RenderTransition::between(first.root, second.root).isEmpty());
}

TEST_F(RenderTransitionTest, AGrowingRunningCountRollsUpAtTheHeaderCount)
{
    const auto before = render(runningEntry(twoItems(true, false)), WidgetFamily::medium);
    const auto after = render(runningEntry(twoItems(true, true)), WidgetFamily::medium);
    const auto rolls = regionsOf(RenderTransition::between(before.root, after.root), Kind::roll);
    ASSERT_EQ(rolls.size(), 1u);
    EXPECT_EQ(rolls[0].direction, Direction::up);
    EXPECT_TRUE(contains(rolls[0].frame, headerCount(before.root).frame));
    EXPECT_TRUE(contains(rolls[0].frame, headerCount(after.root).frame));
    EXPECT_NEAR(rolls[0].frame.y, headerCount(after.root).frame.y, 0.001);
    EXPECT_NEAR(rolls[0].frame.height, headerCount(after.root).frame.height, 0.001);
}

TEST_F(RenderTransitionTest, AShrinkingRunningCountRollsDown)
{
    const auto before = render(runningEntry(twoItems(true, true)), WidgetFamily::small);
    const auto after = render(runningEntry(twoItems(true, false)), WidgetFamily::small);
    const auto rolls = regionsOf(RenderTransition::between(before.root, after.root), Kind::roll);
    ASSERT_EQ(rolls.size(), 1u);
    EXPECT_EQ(rolls[0].direction, Direction::down);
}

TEST_F(RenderTransitionTest, AButtonGoingFromPlayToStopIsReplacedAtItsSymbol)
{
    const auto before = render(runningEntry(twoItems(true, false)), WidgetFamily::medium);
    const auto after = render(runningEntry(twoItems(true, true)), WidgetFamily::medium);
    ASSERT_EQ(buttonSymbol(before.root, "b").as<views::node::Symbol>()->symbol, "play.fill");
    ASSERT_EQ(buttonSymbol(after.root, "b").as<views::node::Symbol>()->symbol, "stop.fill");

    const auto replaced = regionsOf(RenderTransition::between(before.root, after.root), Kind::replace);
    ASSERT_EQ(replaced.size(), 1u) << "only b's button changed its symbol";
    EXPECT_EQ(replaced[0].frame, buttonSymbol(after.root, "b").frame);
    EXPECT_EQ(replaced[0].bleed, 0);
}

TEST_F(RenderTransitionTest, AGroupDetailRollsInsideItsRow)
{
    WidgetSnapshot before;
    before.items = { item("x", true) };
    before.groups = { WidgetGroup("g", "Grupo", 3, 1, true) };
    WidgetSnapshot after = before;
    after.groups = { WidgetGroup("g", "Grupo", 3, 2, true) };
    const auto first = render(runningEntry(before), WidgetFamily::large);
    const auto second = render(runningEntry(after), WidgetFamily::large);
    ASSERT_TRUE(showsText(first.root, "Grupo · 1 de 3")) << testing::PrintToString(shownTexts(first.root));
    ASSERT_TRUE(showsText(second.root, "Grupo · 2 de 3"));

    const auto rolls = regionsOf(RenderTransition::between(first.root, second.root), Kind::roll);
    ASSERT_EQ(rolls.size(), 1u) << "the header count stays";
    EXPECT_EQ(rolls[0].direction, Direction::up);
    const views::ViewNode* row = rowOf(second.root, "g");
    ASSERT_NE(row, nullptr);
    EXPECT_TRUE(contains(row->frame, rolls[0].frame));
    EXPECT_TRUE(regionsOf(RenderTransition::between(first.root, second.root), Kind::replace).empty());
}

TEST_F(RenderTransitionTest, ASessionGlyphChangingItsSymbolIsReplacedWithItsHalo)
{
    WidgetSnapshot before;
    before.sessions = { WidgetSession { "s", "Título", "quelm", WidgetSession::State::working } };
    WidgetSnapshot after;
    after.sessions = { WidgetSession { "s", "Título", "quelm", WidgetSession::State::needsApproval } };
    const auto first = render(runningEntry(before), WidgetFamily::large);
    const auto second = render(runningEntry(after), WidgetFamily::large);

    const auto replaced = regionsOf(RenderTransition::between(first.root, second.root), Kind::replace);
    ASSERT_EQ(replaced.size(), 1u);
    const views::ViewNode* glyph = all<views::node::Symbol>(*rowOf(second.root, "s")).at(0);
    EXPECT_EQ(replaced[0].frame, glyph->frame) << "the new frame, exactly";
    EXPECT_GT(replaced[0].bleed, 0) << "the working glyph has a halo";
}

TEST_F(RenderTransitionTest, AnotherRowInTheSamePlaceOnlyFades)
{
    WidgetSnapshot before;
    before.items = { item("a", false) };
    WidgetSnapshot after;
    after.items = { item("z", true) };
    const auto first = render(runningEntry(before), WidgetFamily::medium);
    const auto second = render(runningEntry(after), WidgetFamily::medium);
    const auto transition = RenderTransition::between(first.root, second.root);
    EXPECT_TRUE(regionsOf(transition, Kind::replace).empty()) << "z's stop button is not a's play button";
    EXPECT_EQ(regionsOf(transition, Kind::roll).size(), 1u) << "the header still counts up";
}

TEST_F(RenderTransitionTest, TheBackgroundsBlankOnlyTheAnimatedNodes)
{
    const auto before = render(runningEntry(twoItems(true, false)), WidgetFamily::medium);
    const auto after = render(runningEntry(twoItems(true, true)), WidgetFamily::medium);
    const auto transition = RenderTransition::between(before.root, after.root);
    ASSERT_EQ(transition.regions().size(), 2u);

    const views::ViewNode background = transition.nextBackground(after.root);
    EXPECT_EQ(all<views::node::Text>(background).size() + 1, all<views::node::Text>(after.root).size());
    EXPECT_EQ(all<views::node::Symbol>(background).size() + 1, all<views::node::Symbol>(after.root).size());
    EXPECT_EQ(buttonSymbol(background, "b").frame, buttonSymbol(after.root, "b").frame) << "nothing is laid out again";
    EXPECT_TRUE(buttonSymbol(background, "b").is<views::node::Spacer>());
    EXPECT_TRUE(buttonSymbol(transition.previousBackground(before.root), "b").is<views::node::Spacer>());
    EXPECT_TRUE(buttonSymbol(transition.previousBackground(before.root), "a").is<views::node::Symbol>());
}

TEST(RenderTransitionDirection, FollowsTheFirstNumberThatDiffers)
{
    EXPECT_EQ(RenderTransition::rollDirection("2 rodando", "3 rodando"), Direction::up);
    EXPECT_EQ(RenderTransition::rollDirection("10 rodando", "9 rodando"), Direction::down);
    EXPECT_EQ(RenderTransition::rollDirection("Grupo · 2 de 3", "Grupo · 1 de 3"), Direction::down);
    EXPECT_EQ(RenderTransition::rollDirection("Grupo · 2 de 3", "Grupo · 2 de 4"), Direction::up);
    EXPECT_EQ(RenderTransition::rollDirection("Grupo · 3 itens", "Grupo · tudo rodando"), Direction::up);
    EXPECT_EQ(RenderTransition::rollDirection("99999999999999999999999", "100000000000000000000000"), Direction::up);
    EXPECT_EQ(RenderTransition::rollDirection("007", "6"), Direction::down);
}
