// SPDX-License-Identifier: MIT
#include "Rows/ItemRow.h"

#include "Look/WidgetGlyph.h"

#include <gtest/gtest.h>

#include <optional>

#include <map>

namespace quelm {
namespace {

using Transition = WidgetItem::Transition;
using Action = WidgetCommand::Action;

const Color primary = Color::of(Color::Named::primary);
const Color secondary = Color::of(Color::Named::secondary);
const Color nodeTint = Color::rgb(0.42, 0.80, 0.47);

// Stands for the view's translation table: English for the fixed texts.
std::string english(std::string_view key, std::optional<long long> = std::nullopt)
{
    static const std::map<std::string, std::string, std::less<>> table {
        { "Iniciando…", "Starting…" }, { "Parando…", "Stopping…" }, { "Parado", "Stopped" }
    };
    const auto found = table.find(key);
    return found == table.end() ? std::string(key) : found->second;
}

WidgetItem item(bool running, std::optional<Transition> transition = std::nullopt)
{
    WidgetItem result { "web", "Web", "node", running };
    result.transition = transition;
    return result;
}

TEST(ItemRowTests, StoppingItemWithPendingStartShowsStopping)
{
    const ItemRow row { item(true, Transition::stopping), Action::start };
    EXPECT_EQ(row.detail(), ItemRowDetail::fixed("Parando…"));
    EXPECT_EQ(row.button().symbol(), "play.fill");
    EXPECT_FALSE(row.button().enabled());
    EXPECT_EQ(row.titleColor(), secondary);
    EXPECT_EQ(row.glyph().color, secondary);
    // The record runs: the button would ask to stop it.
    EXPECT_FALSE(row.button().start());
}

TEST(ItemRowTests, StoppedItemWithPendingStartShowsStarting)
{
    const ItemRow row { item(false), Action::start };
    EXPECT_EQ(row.detail(), ItemRowDetail::fixed("Iniciando…"));
    EXPECT_EQ(row.button().symbol(), "stop.fill");
    EXPECT_FALSE(row.button().enabled());
    EXPECT_EQ(row.titleColor(), primary);
    const GlyphLook glyph = row.glyph();
    EXPECT_EQ(glyph.color, nodeTint);
    EXPECT_EQ(glyph.opacity, 1.0);
    EXPECT_EQ(glyph.halo, nodeTint.withAlpha(0.55));
    EXPECT_TRUE(row.button().start());
    EXPECT_EQ(row.button().id, "web");
}

TEST(ItemRowTests, EllipsisIsOneCharacter)
{
    EXPECT_EQ((ItemRow { item(false), Action::start }).detail().text.key, "Iniciando\u2026");
    EXPECT_EQ((ItemRow { item(true), Action::stop }).detail().text.key, "Parando\u2026");
}

TEST(ItemRowTests, TransitionWinsOverPending)
{
    EXPECT_EQ((ItemRow { item(false, Transition::starting), Action::stop }).detail(), ItemRowDetail::fixed("Iniciando…"));
    EXPECT_EQ((ItemRow { item(true, Transition::stopping), std::nullopt }).detail(), ItemRowDetail::fixed("Parando…"));
    EXPECT_EQ((ItemRow { item(true), Action::stop }).detail(), ItemRowDetail::fixed("Parando…"));
    const ItemRow starting { item(false, Transition::starting), Action::stop };
    EXPECT_EQ(starting.button().symbol(), "stop.fill");
    EXPECT_FALSE(starting.button().enabled());
    EXPECT_TRUE(starting.button().start());
}

TEST(ItemRowTests, RunningItemWithPortAndStartTimeShowsPortThenLiveTime)
{
    WidgetItem running = item(true);
    running.port = 8080;
    running.startedAt = Date(1'700'000'000);
    const ItemRow row { running };
    const ItemRowDetail detail = row.detail();
    ASSERT_TRUE(detail.isLive());
    EXPECT_EQ(detail.portPart, ":8080 · ");
    EXPECT_EQ(detail.startedAt, Date(1'700'000'000));
    EXPECT_EQ(detail.shown(english, "5 min"), ":8080 · 5 min");
    EXPECT_EQ(row.button().symbol(), "stop.fill");
    EXPECT_TRUE(row.button().enabled());
    EXPECT_FALSE(row.button().start());
    EXPECT_EQ(row.titleColor(), primary);
}

TEST(ItemRowTests, PortIsPlainDecimal)
{
    WidgetItem running = item(true);
    running.port = 65535;
    running.startedAt = Date(0);
    EXPECT_EQ(ItemRow { running }.detail().portPart, ":65535 · ");
    running.port = 0;
    EXPECT_EQ(ItemRow { running }.detail().portPart, ":0 · ");
}

TEST(ItemRowTests, RunningItemWithoutPortShowsOnlyTheLiveTime)
{
    WidgetItem running = item(true);
    running.startedAt = Date(1'700'000'000);
    const ItemRowDetail detail = ItemRow { running }.detail();
    ASSERT_TRUE(detail.isLive());
    EXPECT_EQ(detail.portPart, "");
    EXPECT_EQ(detail.shown(english, "2 hr"), "2 hr");
}

TEST(ItemRowTests, RunningItemWithoutStartTimeShowsStopped)
{
    WidgetItem running = item(true);
    running.port = 8080;
    const ItemRow row { running };
    EXPECT_EQ(row.detail(), ItemRowDetail::fixed("Parado"));
    // It still looks running.
    EXPECT_EQ(row.titleColor(), primary);
    EXPECT_EQ(row.button().symbol(), "stop.fill");
}

TEST(ItemRowTests, StoppedItemShowsStoppedEvenWithAStartTime)
{
    WidgetItem stopped = item(false);
    stopped.startedAt = Date(1'700'000'000);
    stopped.port = 3000;
    const ItemRow row { stopped };
    EXPECT_EQ(row.detail(), ItemRowDetail::fixed("Parado"));
    EXPECT_EQ(row.titleColor(), secondary);
    EXPECT_EQ(row.glyph(), (GlyphLook { "leaf.fill", secondary, 0.45, std::nullopt, 12 }));
    EXPECT_EQ(row.button().symbol(), "play.fill");
    EXPECT_TRUE(row.button().enabled());
    EXPECT_TRUE(row.button().start());
}

TEST(ItemRowTests, FixedDetailIsLocalised)
{
    EXPECT_EQ((ItemRow { item(false) }).detail().shown(english, "ignored"), "Stopped");
    EXPECT_EQ((ItemRow { item(false), Action::start }).detail().shown(english, "ignored"), "Starting…");
    EXPECT_EQ((ItemRow { item(false) }).detail().shown({}, "ignored"), "Parado");
}

TEST(ItemRowTests, CompactRowHasNoDetailLine)
{
    EXPECT_FALSE((ItemRow { item(true), std::nullopt, true }).showsDetail());
    EXPECT_TRUE((ItemRow { item(true), std::nullopt, false }).showsDetail());
}

TEST(ItemRowTests, GlyphIsTheCategoryGlyphInTheShownState)
{
    WidgetItem unknown { "x", "X", "Node", false };
    EXPECT_EQ((ItemRow { unknown, Action::start }).glyph(), (WidgetGlyph { "Node", true }.look()));
    EXPECT_EQ((ItemRow { unknown }).glyph(), (WidgetGlyph { "Node", false }.look()));
}

}
}
