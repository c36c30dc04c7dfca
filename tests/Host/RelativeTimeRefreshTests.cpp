#include "RelativeTimeRefresh.h"

#include <gtest/gtest.h>

using namespace quelm;
using quelm::host::nextRelativeTimeChange;

namespace {

constexpr Date now { 1'700'000'000 };

Entry runningEntry(std::vector<WidgetItem> items)
{
    Entry entry;
    entry.date = now;
    entry.appStatus = SharedStore::AppStatus::running;
    entry.snapshot.items = std::move(items);
    return entry;
}

WidgetItem startedAgo(std::string id, double seconds)
{
    return WidgetItem { std::move(id), "svc", "node", true, std::nullopt, 3000, now.addingSeconds(-seconds) };
}

}

TEST(RelativeTimeRefresh, UnderAMinuteTheTextChangesEverySecond)
{
    const auto next = nextRelativeTimeChange(runningEntry({ startedAgo("a", 30) }), WidgetFamily::systemMedium, now);
    ASSERT_TRUE(next);
    EXPECT_DOUBLE_EQ(next->secondsSince(now), 1);
}

TEST(RelativeTimeRefresh, AfterAMinuteItChangesOnTheNextWholeMinute)
{
    const auto next = nextRelativeTimeChange(runningEntry({ startedAgo("a", 5 * 60 + 10) }), WidgetFamily::systemLarge, now);
    ASSERT_TRUE(next);
    EXPECT_DOUBLE_EQ(next->secondsSince(now), 50);
}

TEST(RelativeTimeRefresh, TheSoonestChangeOfAllShownItemsWins)
{
    const Entry entry = runningEntry({ startedAgo("old", 3600 + 20), startedAgo("new", 42) });
    const auto next = nextRelativeTimeChange(entry, WidgetFamily::systemExtraLarge, now);
    ASSERT_TRUE(next);
    EXPECT_DOUBLE_EQ(next->secondsSince(now), 1);
}

TEST(RelativeTimeRefresh, TheSmallFamilyShowsNoRelativeTimes)
{
    EXPECT_EQ(nextRelativeTimeChange(runningEntry({ startedAgo("a", 30) }), WidgetFamily::systemSmall, now), std::nullopt);
}

TEST(RelativeTimeRefresh, MessagesShowNoRelativeTimes)
{
    Entry entry = runningEntry({ startedAgo("a", 30) });
    entry.appStatus = SharedStore::AppStatus::notRunning;
    EXPECT_EQ(nextRelativeTimeChange(entry, WidgetFamily::systemMedium, now), std::nullopt);
    entry.appStatus = SharedStore::AppStatus::noAccess;
    EXPECT_EQ(nextRelativeTimeChange(entry, WidgetFamily::systemMedium, now), std::nullopt);
}

TEST(RelativeTimeRefresh, StoppedBusyAndUndatedItemsShowNoRelativeTime)
{
    WidgetItem undated = startedAgo("undated", 30);
    undated.startedAt.reset();
    WidgetItem stopping = startedAgo("stopping", 30);
    stopping.transition = WidgetItem::Transition::stopping;
    Entry entry = runningEntry({ WidgetItem { "stopped", "stopped", "node", false }, undated, stopping, startedAgo("pending", 30) });
    entry.pending = { { "pending", WidgetCommand::Action::stop } };
    EXPECT_EQ(nextRelativeTimeChange(entry, WidgetFamily::systemLarge, now), std::nullopt);
}

TEST(RelativeTimeRefresh, OnlyItemsTheLayoutShowsCount)
{
    // The medium family shows four rows: a fifth, freshly started item is not on the widget.
    std::vector<WidgetItem> items;
    for (const char* id : { "a", "b", "c", "d" })
        items.push_back(startedAgo(id, 3 * 60 + 30));
    WidgetItem hidden = startedAgo("z", 10);
    hidden.title = "zzz";
    hidden.category = "other";
    items.push_back(hidden);
    const auto next = nextRelativeTimeChange(runningEntry(items), WidgetFamily::systemMedium, now);
    ASSERT_TRUE(next);
    EXPECT_DOUBLE_EQ(next->secondsSince(now), 30);
}
