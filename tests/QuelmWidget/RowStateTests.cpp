// SPDX-License-Identifier: MIT
#include "Rows/RowState.h"
#include "Rows/ToggleButton.h"

#include <gtest/gtest.h>

#include <optional>

namespace quelm {
namespace {

using Transition = WidgetItem::Transition;
using Action = WidgetCommand::Action;

const std::optional<Action> noPending;
const std::optional<Transition> noTransition;

// The whole shown-state table, for both values of the record's flag.
TEST(RowStateTests, TransitionWinsOverPendingWhichWinsOverTheFlag)
{
    for (const bool running : { false, true }) {
        SCOPED_TRACE(running);
        for (const auto pending : { noPending, std::optional(Action::start), std::optional(Action::stop) }) {
            EXPECT_EQ(RowState::of(Transition::starting, pending, running), (RowState { true, true, running }));
            EXPECT_EQ(RowState::of(Transition::stopping, pending, running), (RowState { false, true, running }));
        }
        EXPECT_EQ(RowState::of(noTransition, Action::start, running), (RowState { true, true, running }));
        EXPECT_EQ(RowState::of(noTransition, Action::stop, running), (RowState { false, true, running }));
        EXPECT_EQ(RowState::of(noTransition, noPending, running), (RowState { running, false, running }));
    }
}

TEST(RowStateTests, StartIsTheOppositeOfTheRecordNotOfTheShownState)
{
    EXPECT_TRUE(RowState::of(noTransition, Action::start, false).start());
    EXPECT_FALSE(RowState::of(noTransition, Action::stop, true).start());
    // Shown as running while the record is stopped: a tap would still ask to start.
    const RowState starting = RowState::of(Transition::starting, noPending, false);
    EXPECT_TRUE(starting.appearsRunning);
    EXPECT_TRUE(starting.start());
}

TEST(RowStateTests, ItemUsesItsTransitionAndRunningFlag)
{
    WidgetItem item { "a", "A", "node", true };
    EXPECT_EQ(RowState::of(item, noPending), (RowState { true, false, true }));
    item.transition = Transition::stopping;
    EXPECT_EQ(RowState::of(item, Action::start), (RowState { false, true, true }));
}

TEST(RowStateTests, GroupUsesIsActiveNotItsCounts)
{
    const WidgetGroup active("group:x", "X", 3, 0, true);
    EXPECT_EQ(RowState::of(active, noPending), (RowState { true, false, true }));
    const WidgetGroup inactive("group:x", "X", 3, 3, false);
    EXPECT_EQ(RowState::of(inactive, noPending), (RowState { false, false, false }));
    const WidgetGroup starting("group:x", "X", 3, 0, false, Transition::starting);
    EXPECT_EQ(RowState::of(starting, Action::stop), (RowState { true, true, false }));
}

TEST(RowStateTests, PendingActionLooksTheIdUp)
{
    const std::map<std::string, Action> pending { { "a", Action::start }, { "group:x", Action::stop } };
    EXPECT_EQ(pendingAction(pending, "a"), Action::start);
    EXPECT_EQ(pendingAction(pending, "group:x"), Action::stop);
    EXPECT_EQ(pendingAction(pending, "x"), std::nullopt);
    EXPECT_EQ(pendingAction({}, "a"), std::nullopt);
}

TEST(ToggleButtonTests, SymbolFollowsTheShownState)
{
    EXPECT_EQ(ToggleButton("a", false, true, false).symbol(), "stop.fill");
    EXPECT_EQ(ToggleButton("a", true, false, false).symbol(), "play.fill");
}

TEST(ToggleButtonTests, DisabledWhileBusy)
{
    EXPECT_TRUE(ToggleButton("a", false, false, false).enabled());
    EXPECT_FALSE(ToggleButton("a", false, false, true).enabled());
}

TEST(ToggleButtonTests, IntentAsksForTheOppositeOfTheRecord)
{
    const ToggleButton button("group:x", RowState { true, true, false });
    EXPECT_EQ(button.id, "group:x");
    EXPECT_TRUE(button.start());
    EXPECT_TRUE(button.appearsRunning);
    EXPECT_TRUE(button.busy);
    EXPECT_FALSE(ToggleButton("a", true, true, false).start());
}

TEST(ToggleButtonTests, Look)
{
    EXPECT_EQ(ToggleButton::size, 20);
    EXPECT_EQ(ToggleButton::symbolFontSize, 9);
    EXPECT_EQ(ToggleButton::circleFill, Color::of(Color::Named::secondaryFill));
}

}
}
