// SPDX-License-Identifier: MIT
#include "Host/RelativeTimeRefresh.h"

#include "HostTestSupport.h"

#include <gtest/gtest.h>

using namespace quelm;
using quelm::host::nextRelativeTimeChange;

namespace {

constexpr Date now { 1'700'000'000 };

TimelineEntry runningEntry(std::vector<WidgetItem> items)
{
    TimelineEntry entry;
    entry.date = now;
    entry.appStatus = SharedStore::AppStatus::running;
    entry.snapshot.items = std::move(items);
    return entry;
}

// The views that mark the live texts lay out their text with the application's fonts.
class RelativeTimeRefresh : public ::testing::Test {
protected:
    void SetUp() override { test::hostApplication(); }
};

WidgetItem startedAgo(std::string id, double seconds)
{
    return WidgetItem { std::move(id), "svc", "node", true, std::nullopt, 3000, now.addingSeconds(-seconds) };
}

}

TEST_F(RelativeTimeRefresh, UnderAMinuteTheTextChangesEverySecond)
{
    const auto next = nextRelativeTimeChange(runningEntry({ startedAgo("a", 30) }), WidgetFamily::medium, now);
    ASSERT_TRUE(next);
    EXPECT_DOUBLE_EQ(next->secondsSince(now), 1);
}

TEST_F(RelativeTimeRefresh, AfterAMinuteItChangesOnTheNextWholeMinute)
{
    const auto next = nextRelativeTimeChange(runningEntry({ startedAgo("a", 5 * 60 + 10) }), WidgetFamily::large, now);
    ASSERT_TRUE(next);
    EXPECT_DOUBLE_EQ(next->secondsSince(now), 50);
}

TEST_F(RelativeTimeRefresh, TheSoonestChangeOfAllShownItemsWins)
{
    const TimelineEntry entry = runningEntry({ startedAgo("old", 3600 + 20), startedAgo("new", 42) });
    const auto next = nextRelativeTimeChange(entry, WidgetFamily::extraLarge, now);
    ASSERT_TRUE(next);
    EXPECT_DOUBLE_EQ(next->secondsSince(now), 1);
}

TEST_F(RelativeTimeRefresh, TheSmallFamilyShowsNoRelativeTimes)
{
    EXPECT_EQ(nextRelativeTimeChange(runningEntry({ startedAgo("a", 30) }), WidgetFamily::small, now), std::nullopt);
}

TEST_F(RelativeTimeRefresh, MessagesShowNoRelativeTimes)
{
    TimelineEntry entry = runningEntry({ startedAgo("a", 30) });
    entry.appStatus = SharedStore::AppStatus::notRunning;
    EXPECT_EQ(nextRelativeTimeChange(entry, WidgetFamily::medium, now), std::nullopt);
    entry.appStatus = SharedStore::AppStatus::noAccess;
    EXPECT_EQ(nextRelativeTimeChange(entry, WidgetFamily::medium, now), std::nullopt);
}

TEST_F(RelativeTimeRefresh, StoppedBusyAndUndatedItemsShowNoRelativeTime)
{
    WidgetItem undated = startedAgo("undated", 30);
    undated.startedAt.reset();
    WidgetItem stopping = startedAgo("stopping", 30);
    stopping.transition = WidgetItem::Transition::stopping;
    TimelineEntry entry = runningEntry({ WidgetItem { "stopped", "stopped", "node", false }, undated, stopping, startedAgo("pending", 30) });
    entry.pending = { { "pending", WidgetCommand::Action::stop } };
    EXPECT_EQ(nextRelativeTimeChange(entry, WidgetFamily::large, now), std::nullopt);
}

TEST_F(RelativeTimeRefresh, OnlyItemsTheLayoutShowsCount)
{
    // The medium family shows four rows: a fifth, freshly started item is not on the widget.
    std::vector<WidgetItem> items;
    for (const char* id : { "a", "b", "c", "d" })
        items.push_back(startedAgo(id, 3 * 60 + 30));
    WidgetItem hidden = startedAgo("z", 10);
    hidden.title = "zzz";
    hidden.category = "other";
    items.push_back(hidden);
    const auto next = nextRelativeTimeChange(runningEntry(items), WidgetFamily::medium, now);
    ASSERT_TRUE(next);
    EXPECT_DOUBLE_EQ(next->secondsSince(now), 30);
}

TEST_F(RelativeTimeRefresh, FollowsTheTextsTheViewsMarkLive)
{
    views::ViewNode root = views::ViewNode::vstack(0, {
        views::ViewNode::text("stopped", {}, Color::of(Color::Named::secondary)),
        views::ViewNode::text("5 min", {}, Color::of(Color::Named::secondary)),
        views::ViewNode::text("20 s", {}, Color::of(Color::Named::secondary)),
    });
    EXPECT_EQ(nextRelativeTimeChange(root, now), std::nullopt);

    root.children[1].as<views::node::Text>()->liveSince = now.addingSeconds(-(5 * 60 + 10));
    EXPECT_EQ(nextRelativeTimeChange(root, now), now.addingSeconds(50));
    root.children[2].as<views::node::Text>()->liveSince = now.addingSeconds(-20);
    EXPECT_EQ(nextRelativeTimeChange(root, now), now.addingSeconds(1));
}
