// SPDX-License-Identifier: MIT
#include "Look/WidgetGlass.h"

#include "Look/WidgetGlyph.h"

#include <gtest/gtest.h>

namespace quelm {
namespace {

const Color orange = Color::of(Color::Named::orange);
const Color secondary = Color::of(Color::Named::secondary);
const Color nodeTint = Color::rgb(0.42, 0.80, 0.47);
const Color serverTint = Color::rgb(0.55, 0.62, 0.98);
const Color dockerTint = Color::rgb(0.35, 0.68, 0.95);

WidgetItem item(std::string id, std::string category, bool running)
{
    return WidgetItem { std::move(id), "Title", std::move(category), running };
}

WidgetSession session(std::string id, WidgetSession::State state)
{
    return WidgetSession { std::move(id), "Title", "project", state };
}

TEST(WidgetGlassTests, NothingRunningAndNoApprovalGivesNoGlows)
{
    EXPECT_TRUE(WidgetGlass::glows(WidgetSnapshot::empty).empty());

    WidgetSnapshot snapshot;
    snapshot.items = { item("a", "node", false), item("b", "server", false) };
    snapshot.sessions = { session("s", WidgetSession::State::working), session("t", WidgetSession::State::waitingForInput) };
    snapshot.groups = { WidgetGroup("group:g", "G", 3, 3, true) };
    EXPECT_TRUE(WidgetGlass::glows(snapshot).empty());
    EXPECT_TRUE(WidgetGlass::glowLayers(WidgetGlass::glows(snapshot)).empty());
}

TEST(WidgetGlassTests, TwoApprovalSessionsGiveOneOrange)
{
    WidgetSnapshot snapshot;
    snapshot.sessions = {
        session("a", WidgetSession::State::working),
        session("b", WidgetSession::State::needsApproval),
        session("c", WidgetSession::State::needsApproval),
    };
    EXPECT_EQ(WidgetGlass::glows(snapshot), std::vector<Color> { orange });
}

TEST(WidgetGlassTests, RunningCategoriesGoInRankOrderNotSnapshotOrder)
{
    WidgetSnapshot snapshot;
    snapshot.items = { item("a", "server", true), item("b", "node", true) };
    EXPECT_EQ(WidgetGlass::glows(snapshot), (std::vector<Color> { nodeTint, serverTint }));
}

TEST(WidgetGlassTests, DuplicateCategoriesGiveOneGlowAndStoppedItemsNone)
{
    WidgetSnapshot snapshot;
    snapshot.items = { item("a", "node", true), item("b", "node", true), item("c", "docker", false), item("d", "node", false) };
    EXPECT_EQ(WidgetGlass::glows(snapshot), std::vector<Color> { nodeTint });
}

TEST(WidgetGlassTests, ApprovalComesFirstAndOnlyTwoGlowsArePainted)
{
    WidgetSnapshot snapshot;
    snapshot.items = { item("a", "server", true), item("b", "node", true) };
    snapshot.sessions = { session("s", WidgetSession::State::needsApproval) };
    const auto glows = WidgetGlass::glows(snapshot);
    EXPECT_EQ(glows, (std::vector<Color> { orange, nodeTint, serverTint }));

    const auto layers = WidgetGlass::glowLayers(glows);
    ASSERT_EQ(layers.size(), 2u);
    EXPECT_EQ(layers[0], (RadialGlow { orange, 0.34, GlassCorner::bottomTrailing, 0, 190 }));
    EXPECT_EQ(layers[1], (RadialGlow { nodeTint, 0.25, GlassCorner::bottomLeading, 0, 280 }));
}

TEST(WidgetGlassTests, TwoUnknownCategoriesGiveTwoSecondaryGlowsInFirstAppearanceOrder)
{
    WidgetSnapshot snapshot;
    snapshot.items = { item("a", "python", true), item("b", "Node", true), item("c", "python", true) };
    EXPECT_EQ(WidgetGlass::glows(snapshot), (std::vector<Color> { secondary, secondary }));
}

TEST(WidgetGlassTests, UnknownCategoriesFollowEveryKnownOne)
{
    WidgetSnapshot snapshot;
    snapshot.items = { item("a", "", true), item("b", "server", true), item("c", "docker", true) };
    EXPECT_EQ(WidgetGlass::glows(snapshot), (std::vector<Color> { dockerTint, serverTint, secondary }));
}

TEST(WidgetGlassTests, ListIsNotCut)
{
    WidgetSnapshot snapshot;
    for (const char* category : { "server", "database", "kubernetes", "docker", "node", "x", "y" })
        snapshot.items.push_back(item(category, category, true));
    snapshot.sessions = { session("s", WidgetSession::State::needsApproval) };
    const auto glows = WidgetGlass::glows(snapshot);
    ASSERT_EQ(glows.size(), 8u);
    EXPECT_EQ(glows[0], orange);
    EXPECT_EQ(glows[1], WidgetGlyph::tint("node"));
    EXPECT_EQ(glows[5], WidgetGlyph::tint("server"));
    EXPECT_EQ(glows[7], secondary);
}

TEST(WidgetGlassTests, OneGlowGivesOneLayerAtTheBottomTrailingCorner)
{
    const auto layers = WidgetGlass::glowLayers({ serverTint });
    ASSERT_EQ(layers.size(), 1u);
    EXPECT_EQ(layers[0], (RadialGlow { serverTint, 0.34, GlassCorner::bottomTrailing, 0, 190 }));
}

TEST(WidgetGlassTests, AnyPositionPastTheFirstTakesTheSecondRow)
{
    EXPECT_EQ(WidgetGlass::glowLayer(orange, 0), (RadialGlow { orange, 0.34, GlassCorner::bottomTrailing, 0, 190 }));
    EXPECT_EQ(WidgetGlass::glowLayer(orange, 1), (RadialGlow { orange, 0.25, GlassCorner::bottomLeading, 0, 280 }));
    EXPECT_EQ(WidgetGlass::glowLayer(orange, 7), (RadialGlow { orange, 0.25, GlassCorner::bottomLeading, 0, 280 }));
}

TEST(WidgetGlassTests, FixedLayers)
{
    EXPECT_EQ(WidgetGlass::base.top, Color::rgb(0.12, 0.12, 0.12));
    EXPECT_EQ(WidgetGlass::base.bottom, Color::rgb(0.05, 0.05, 0.05));
    EXPECT_EQ(WidgetGlass::highlight, (RadialGlow { Color::of(Color::Named::white), 0.10, GlassCorner::topLeading, 0, 220 }));
    EXPECT_EQ(WidgetGlass::borderLineWidth, 1);
    EXPECT_EQ(WidgetGlass::borderMiterLimit, 10);
    EXPECT_EQ(WidgetGlass::borderGradient.top, Color::of(Color::Named::white).withAlpha(0.18));
    EXPECT_EQ(WidgetGlass::borderGradient.bottom, Color::of(Color::Named::white).withAlpha(0.03));
    EXPECT_EQ(WidgetGlass::maximumGlowLayers, 2u);
}

}
}
