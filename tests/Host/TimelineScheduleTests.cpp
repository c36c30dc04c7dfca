// SPDX-License-Identifier: MIT
#include "Host/TimelineSchedule.h"

#include <quelm/Uuid.h>

#include <gtest/gtest.h>

using namespace quelm;
using quelm::host::TimelineSchedule;
using quelm::host::pendingLapse;
using quelm::host::showSameState;

namespace {

constexpr Date made { 1'700'000'000 };

TimelineEntry entryAt(Date date, TimelineEntry::PendingActions pending = {})
{
    TimelineEntry entry;
    entry.date = date;
    entry.appStatus = SharedStore::AppStatus::running;
    entry.pending = std::move(pending);
    return entry;
}

// What the provider makes: the entry, and with pending commands its copy 20 s later without them.
Timeline providerTimeline(bool pending)
{
    Timeline timeline;
    timeline.entries.push_back(entryAt(made, pending ? TimelineEntry::PendingActions { { "c", WidgetCommand::Action::start } } : TimelineEntry::PendingActions {}));
    if (pending)
        timeline.entries.push_back(entryAt(made.addingSeconds(20)));
    timeline.reloadAfter = made.addingSeconds(1800);
    return timeline;
}

}

TEST(TimelineSchedule, OneEntryIsShownUntilTheReload)
{
    const TimelineSchedule schedule = TimelineSchedule::at(providerTimeline(false), made.addingSeconds(5));
    EXPECT_EQ(schedule.current, 0u);
    EXPECT_EQ(schedule.nextEntry, std::nullopt);
    EXPECT_EQ(schedule.nextChange(), made.addingSeconds(1800));
    EXPECT_FALSE(schedule.reloadDue(made.addingSeconds(5)));
}

TEST(TimelineSchedule, ThePendingEntryIsShownUntilTheClearedOneIsDue)
{
    const Timeline timeline = providerTimeline(true);
    const TimelineSchedule early = TimelineSchedule::at(timeline, made);
    EXPECT_EQ(early.current, 0u);
    EXPECT_EQ(early.nextEntry, made.addingSeconds(20));
    EXPECT_EQ(early.nextChange(), made.addingSeconds(20));

    const TimelineSchedule justBefore = TimelineSchedule::at(timeline, made.addingSeconds(19.999));
    EXPECT_EQ(justBefore.current, 0u);
}

TEST(TimelineSchedule, TheClearedEntryTakesOverAtItsDate)
{
    const Timeline timeline = providerTimeline(true);
    const TimelineSchedule at = TimelineSchedule::at(timeline, made.addingSeconds(20));
    EXPECT_EQ(at.current, 1u);
    EXPECT_EQ(at.nextEntry, std::nullopt);
    EXPECT_EQ(at.nextChange(), made.addingSeconds(1800));
    EXPECT_TRUE(timeline.entries[*at.current].pending.empty());
}

TEST(TimelineSchedule, TheReloadIsDueAtThePolicyDate)
{
    const Timeline timeline = providerTimeline(true);
    const TimelineSchedule late = TimelineSchedule::at(timeline, made.addingSeconds(1800));
    EXPECT_TRUE(late.reloadDue(made.addingSeconds(1800)));
    EXPECT_FALSE(late.reloadDue(made.addingSeconds(1799.5)));
    EXPECT_EQ(late.current, 1u);
}

TEST(TimelineSchedule, AReloadDueBeforeTheNextEntryComesFirst)
{
    Timeline timeline = providerTimeline(true);
    timeline.reloadAfter = made.addingSeconds(10);
    EXPECT_EQ(TimelineSchedule::at(timeline, made).nextChange(), made.addingSeconds(10));
}

TEST(TimelineSchedule, ATimelineFromTheFutureShowsItsEarliestEntry)
{
    const Timeline timeline = providerTimeline(true);
    const TimelineSchedule schedule = TimelineSchedule::at(timeline, made.addingSeconds(-3));
    EXPECT_EQ(schedule.current, 0u);
    EXPECT_EQ(schedule.nextEntry, made.addingSeconds(20));
}

TEST(TimelineSchedule, EntriesOutOfOrderStillTakeOverByDate)
{
    Timeline timeline;
    timeline.entries = { entryAt(made.addingSeconds(60)), entryAt(made), entryAt(made.addingSeconds(30)) };
    timeline.reloadAfter = made.addingSeconds(1800);
    EXPECT_EQ(TimelineSchedule::at(timeline, made.addingSeconds(10)).current, 1u);
    EXPECT_EQ(TimelineSchedule::at(timeline, made.addingSeconds(10)).nextEntry, made.addingSeconds(30));
    EXPECT_EQ(TimelineSchedule::at(timeline, made.addingSeconds(45)).current, 2u);
    EXPECT_EQ(TimelineSchedule::at(timeline, made.addingSeconds(45)).nextEntry, made.addingSeconds(60));
    EXPECT_EQ(TimelineSchedule::at(timeline, made.addingSeconds(90)).current, 0u);
}

TEST(TimelineSchedule, OfEntriesWithTheSameDateTheLastIsShown)
{
    Timeline timeline;
    timeline.entries = { entryAt(made), entryAt(made) };
    timeline.reloadAfter = made.addingSeconds(1800);
    EXPECT_EQ(TimelineSchedule::at(timeline, made).current, 1u);
}

TEST(TimelineSchedule, AnEmptyTimelineShowsNothingAndWaitsForTheReload)
{
    Timeline timeline;
    timeline.reloadAfter = made.addingSeconds(1800);
    const TimelineSchedule schedule = TimelineSchedule::at(timeline, made);
    EXPECT_EQ(schedule.current, std::nullopt);
    EXPECT_EQ(schedule.nextChange(), made.addingSeconds(1800));
}

TEST(TimelineSchedule, EntriesThatDifferOnlyInTheirDateShowTheSameState)
{
    EXPECT_TRUE(showSameState(entryAt(made), entryAt(made.addingSeconds(30))));
    EXPECT_FALSE(showSameState(entryAt(made), entryAt(made, { { "c", WidgetCommand::Action::stop } })));
    TimelineEntry recent = entryAt(made);
    recent.sortOrder = WidgetSortOrder::recent;
    EXPECT_FALSE(showSameState(entryAt(made), recent));
    TimelineEntry closed = entryAt(made);
    closed.appStatus = SharedStore::AppStatus::notRunning;
    EXPECT_FALSE(showSameState(entryAt(made), closed));
    TimelineEntry other = entryAt(made);
    other.snapshot.items.push_back(WidgetItem { "x", "x", "node", true });
    EXPECT_FALSE(showSameState(entryAt(made), other));
}

TEST(TimelineSchedule, ThePendingMarksLapseWithTheOldestShownCommand)
{
    const TimelineEntry entry = entryAt(made, { { "a", WidgetCommand::Action::start }, { "b", WidgetCommand::Action::stop } });
    const PendingCommands commands {
        { "a", WidgetCommand("a", WidgetCommand::Action::start, Uuid::random(), made.addingSeconds(-5)) },
        { "b", WidgetCommand("b", WidgetCommand::Action::stop, Uuid::random(), made.addingSeconds(-12)) },
        // Not shown by the entry: it does not count.
        { "c", WidgetCommand("c", WidgetCommand::Action::stop, Uuid::random(), made.addingSeconds(-19)) },
    };
    EXPECT_EQ(pendingLapse(entry, commands, 20), made.addingSeconds(8));
}

TEST(TimelineSchedule, AnEntryWithoutPendingMarksHasNothingToLapse)
{
    const PendingCommands commands { { "a", WidgetCommand("a", WidgetCommand::Action::start, Uuid::random(), made) } };
    EXPECT_EQ(pendingLapse(entryAt(made), commands, 20), std::nullopt);
    EXPECT_EQ(pendingLapse(entryAt(made, { { "z", WidgetCommand::Action::start } }), commands, 20), std::nullopt);
}
