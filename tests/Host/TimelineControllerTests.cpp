// SPDX-License-Identifier: MIT
#include "Host/TimelineController.h"

#include "HostTestSupport.h"

#include <quelm/Uuid.h>
#include <quelm/WireFormat.h>

#include <gtest/gtest.h>

#include <vector>

using namespace quelm;
using namespace quelm::host;

namespace {

WidgetSnapshot snapshotWith(std::vector<WidgetItem> items)
{
    WidgetSnapshot snapshot;
    snapshot.items = std::move(items);
    snapshot.updatedAt = Date::now();
    return snapshot;
}

class TimelineControllerTest : public test::HostTest {
protected:
    void SetUp() override
    {
        store().writeSnapshot(snapshotWith({ WidgetItem { "a", "alpha", "node", true } }));
        store().touchHeartbeat(Date::now());
    }

    // A snapshot written before the commands of a test, which it therefore does not answer.
    void publishOlderSnapshot() const
    {
        WidgetSnapshot older = snapshotWith({ WidgetItem { "a", "alpha", "node", true }, WidgetItem { "b", "beta", "node", false } });
        older.updatedAt = Date::now().addingSeconds(-60);
        store().writeSnapshot(older);
    }

    // The entries a controller makes current, in order.
    static std::vector<TimelineEntry>& record(TimelineController& controller, std::vector<TimelineEntry>& into)
    {
        QObject::connect(&controller, &TimelineController::entryChanged, &controller, [&into](const TimelineEntry& entry) { into.push_back(entry); });
        return into;
    }
};

}

TEST_F(TimelineControllerTest, TheFirstTimelineComesFromTheProviderOffTheUiThread)
{
    TimelineController controller(TimelineProvider(), QuelmWidgetConfiguration(), WidgetFamily::medium);
    std::vector<TimelineEntry> entries;
    record(controller, entries);
    EXPECT_FALSE(controller.currentEntry());
    controller.reload();
    // Asked, not answered yet: the UI thread did not wait for the container.
    EXPECT_TRUE(controller.isLoading() || !entries.empty());
    ASSERT_TRUE(test::waitFor([&] { return !entries.empty(); }));
    EXPECT_EQ(entries.front().appStatus, SharedStore::AppStatus::running);
    ASSERT_EQ(entries.front().snapshot.items.size(), 1u);
    EXPECT_EQ(controller.currentEntry(), entries.front());
}

TEST_F(TimelineControllerTest, EachInstanceGetsItsOwnSortOrder)
{
    TimelineController byCategory(TimelineProvider(), QuelmWidgetConfiguration(WidgetSortOrder::category), WidgetFamily::medium);
    TimelineController byRecent(TimelineProvider(), QuelmWidgetConfiguration(WidgetSortOrder::recent), WidgetFamily::medium);
    byCategory.reload();
    byRecent.reload();
    ASSERT_TRUE(test::waitFor([&] { return byCategory.currentEntry() && byRecent.currentEntry(); }));
    EXPECT_EQ(byCategory.currentEntry()->sortOrder, WidgetSortOrder::category);
    EXPECT_EQ(byRecent.currentEntry()->sortOrder, WidgetSortOrder::recent);
    EXPECT_EQ(byCategory.currentEntry()->snapshot, byRecent.currentEntry()->snapshot);
}

TEST_F(TimelineControllerTest, AReloadShowsTheNewState)
{
    TimelineController controller(TimelineProvider(), QuelmWidgetConfiguration(), WidgetFamily::large);
    controller.reload();
    ASSERT_TRUE(test::waitFor([&] { return controller.currentEntry().has_value(); }));

    const WidgetSnapshot next = snapshotWith({ WidgetItem { "b", "beta", "docker", false } });
    store().writeSnapshot(next);
    controller.reload();
    ASSERT_TRUE(test::waitFor([&] { return controller.currentEntry()->snapshot == next; }));
}

TEST_F(TimelineControllerTest, RequestsMadeWhileLoadingEndOnTheLatestState)
{
    TimelineController controller(TimelineProvider(), QuelmWidgetConfiguration(), WidgetFamily::large);
    const WidgetSnapshot last = snapshotWith({ WidgetItem { "z", "zeta", "server", true } });
    controller.reload();
    controller.reload();
    store().writeSnapshot(last);
    controller.reload();
    ASSERT_TRUE(test::waitFor([&] { return controller.currentEntry() && controller.currentEntry()->snapshot == last && !controller.isLoading(); }));
}

TEST_F(TimelineControllerTest, AChangedConfigurationDropsTheTimelineAskedBefore)
{
    TimelineController controller(TimelineProvider(), QuelmWidgetConfiguration(WidgetSortOrder::category), WidgetFamily::large);
    std::vector<TimelineEntry> entries;
    record(controller, entries);
    controller.reload();
    controller.setConfiguration(QuelmWidgetConfiguration(WidgetSortOrder::recent));
    ASSERT_TRUE(test::waitFor([&] { return !entries.empty() && !controller.isLoading(); }));
    for (const TimelineEntry& entry : entries)
        EXPECT_EQ(entry.sortOrder, WidgetSortOrder::recent);
    EXPECT_EQ(controller.configuration().sortOrder, WidgetSortOrder::recent);
}

TEST_F(TimelineControllerTest, APendingCommandShowsFirstAndItsClearedCopyIsScheduled)
{
    const WidgetCommand command("a", WidgetCommand::Action::stop, Uuid::random(), Date::now());
    store().enqueue(command);
    store().markPending(command);
    TimelineController controller(TimelineProvider(), QuelmWidgetConfiguration(), WidgetFamily::medium);
    controller.reload();
    ASSERT_TRUE(test::waitFor([&] { return controller.currentEntry().has_value(); }));
    EXPECT_EQ(controller.currentEntry()->pending, (TimelineEntry::PendingActions { { "a", WidgetCommand::Action::stop } }));
}

TEST_F(TimelineControllerTest, AReloadIsDueWhenTheOldestPendingMarkLapsesNotLater)
{
    // Marked 15 s ago, say before a heartbeat made the host reload: 5 s of busy are left, not 20.
    publishOlderSnapshot();
    const Date issued = Date::now().addingSeconds(-15);
    const WidgetCommand older("a", WidgetCommand::Action::stop, Uuid::random(), issued);
    const WidgetCommand newer("b", WidgetCommand::Action::start, Uuid::random(), issued.addingSeconds(3));
    for (const WidgetCommand& command : { older, newer }) {
        store().enqueue(command);
        store().markPending(command);
    }
    TimelineController controller(TimelineProvider(), QuelmWidgetConfiguration(), WidgetFamily::medium);
    controller.reload();
    ASSERT_TRUE(test::waitFor([&] { return controller.currentEntry().has_value(); }));
    ASSERT_EQ(controller.currentEntry()->pending.size(), 2u);
    ASSERT_TRUE(controller.reloadDate());
    EXPECT_NEAR(controller.reloadDate()->secondsSince(issued), TimelineProvider::maximumPendingAge, 0.01);
}

TEST_F(TimelineControllerTest, AMarkNearItsAgeStopsShowingWhenItLapses)
{
    publishOlderSnapshot();
    const WidgetCommand command("a", WidgetCommand::Action::stop, Uuid::random(), Date::now().addingSeconds(-TimelineProvider::maximumPendingAge + 1));
    store().enqueue(command);
    store().markPending(command);
    TimelineController controller(TimelineProvider(), QuelmWidgetConfiguration(), WidgetFamily::medium);
    controller.reload();
    ASSERT_TRUE(test::waitFor([&] { return controller.currentEntry().has_value(); }));
    ASSERT_FALSE(controller.currentEntry()->pending.empty());
    // The mark lapses about a second from now; the timeline's own cleared entry would come 20 s on.
    ASSERT_TRUE(test::waitFor([&] { return controller.currentEntry()->pending.empty(); }));
}

TEST_F(TimelineControllerTest, WithoutPendingMarksTheReloadIsThePolicys)
{
    TimelineController controller(TimelineProvider(), QuelmWidgetConfiguration(), WidgetFamily::medium);
    controller.reload();
    ASSERT_TRUE(test::waitFor([&] { return controller.currentEntry().has_value(); }));
    ASSERT_TRUE(controller.reloadDate());
    EXPECT_GT(controller.reloadDate()->secondsSince(controller.currentEntry()->date), TimelineProvider::refreshInterval - 1);
}

TEST_F(TimelineControllerTest, WithoutAContainerTheWidgetHasNoAccess)
{
    test::ScopedEnvironment data("XDG_DATA_HOME", std::nullopt);
    test::ScopedEnvironment home("HOME", std::nullopt);
    TimelineController controller(TimelineProvider(), QuelmWidgetConfiguration(), WidgetFamily::medium);
    controller.reload();
    ASSERT_TRUE(test::waitFor([&] { return controller.currentEntry().has_value(); }));
    EXPECT_EQ(controller.currentEntry()->appStatus, SharedStore::AppStatus::noAccess);
}
