// SPDX-License-Identifier: MIT
#include "Timeline/TimelineEntry.h"
#include "Timeline/TimelineProvider.h"
#include "Widget/QuelmWidgetConfiguration.h"
#include "Timeline/Timeline.h"
#include "Timeline/TimelineContext.h"

#include "TestSupport.h"

#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>
#include <quelm/Uuid.h>

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

using namespace quelm;
using quelm::test::ScopedEnvironment;
using quelm::test::TemporaryDirectory;
using quelm::test::writeFile;
using AppStatus = SharedStore::AppStatus;
using Action = WidgetCommand::Action;

namespace {

constexpr Date fixedNow { 1'700'000'000.25 };

// Read before main, so before any test can have built the sample.
const Date processStart = Date::now();

WidgetSnapshot liveSnapshot(Date updatedAt)
{
    WidgetSnapshot snapshot;
    snapshot.items = {
        WidgetItem { "api", "api", "node", true, std::nullopt, 8080, updatedAt.addingSeconds(-30) },
        WidgetItem { "db", "db", "database", false },
    };
    snapshot.groups = { WidgetGroup("group:g", "G", 2, 1, false) };
    snapshot.sessions = { WidgetSession { "s", "S", "p", WidgetSession::State::working } };
    snapshot.language = "en";
    snapshot.updatedAt = updatedAt;
    return snapshot;
}

WidgetCommand command(std::string itemID, Action action, Date issuedAt)
{
    return WidgetCommand(std::move(itemID), action, Uuid::random(), issuedAt);
}

// The container redirected to a temporary directory by XDG_DATA_HOME; the time fixed.
class ProviderTest : public testing::Test {
protected:
    ProviderTest()
        : m_dataHome("XDG_DATA_HOME", m_directory.path().string())
    {
    }

    SharedStore store() const
    {
        auto store = SharedStore::forAppGroup(SharedConstants::appGroupIdentifier);
        if (!store)
            throw std::runtime_error("no store under XDG_DATA_HOME");
        return *store;
    }

    TimelineProvider provider() const
    {
        return TimelineProvider([this] { return now; });
    }

    Date now = fixedNow;
    const TimelineContext context { WidgetFamily::medium, false };
    const TimelineContext previewContext { WidgetFamily::medium, true };

private:
    TemporaryDirectory m_directory;
    ScopedEnvironment m_dataHome;
};

}

// ---- Named constants -------------------------------------------------------------------------

TEST(ProviderConstants, PendingLastsTwentySecondsAndTimelinesHalfAnHour)
{
    EXPECT_EQ(TimelineProvider::maximumPendingAge, 20.0);
    EXPECT_EQ(TimelineProvider::pendingClearDelay, 20.0);
    EXPECT_EQ(TimelineProvider::refreshInterval, 1800.0);
}

// ---- No reachable container ------------------------------------------------------------------

TEST(ProviderWithoutContainer, GivesOneNoAccessEntryAndReloadsAfterThirtyMinutes)
{
    ScopedEnvironment noDataHome("XDG_DATA_HOME", std::nullopt);
    ScopedEnvironment noHome("HOME", std::nullopt);
    ASSERT_FALSE(SharedStore::forAppGroup(SharedConstants::appGroupIdentifier));

    const TimelineProvider provider([] { return fixedNow; });
    const Timeline timeline = provider.timeline(QuelmWidgetConfiguration(), { WidgetFamily::small, false });

    ASSERT_EQ(timeline.entries.size(), 1u);
    const TimelineEntry& entry = timeline.entries.front();
    EXPECT_EQ(entry.appStatus, AppStatus::noAccess);
    EXPECT_EQ(entry.snapshot, WidgetSnapshot::empty);
    EXPECT_TRUE(entry.pending.empty());
    EXPECT_EQ(entry.date, fixedNow);
    EXPECT_EQ(entry.sortOrder, WidgetSortOrder::category);
    EXPECT_EQ(timeline.reloadAfter, fixedNow.addingSeconds(1800));
}

TEST(ProviderWithoutContainer, StillCarriesTheConfiguredSortOrder)
{
    ScopedEnvironment noDataHome("XDG_DATA_HOME", std::nullopt);
    ScopedEnvironment noHome("HOME", std::nullopt);
    const TimelineProvider provider([] { return fixedNow; });
    const QuelmWidgetConfiguration recent(WidgetSortOrder::recent);

    const Timeline timeline = provider.timeline(recent, {});
    ASSERT_EQ(timeline.entries.size(), 1u);
    EXPECT_EQ(timeline.entries[0].sortOrder, WidgetSortOrder::recent);
    EXPECT_EQ(timeline.entries[0].appStatus, AppStatus::noAccess);

    const TimelineEntry entry = provider.snapshot(recent, {});
    EXPECT_EQ(entry.appStatus, AppStatus::noAccess);
    EXPECT_EQ(entry.snapshot, WidgetSnapshot::empty);
    EXPECT_EQ(entry.sortOrder, WidgetSortOrder::recent);
}

TEST(ProviderWithoutContainer, ARelativeDataHomeWithoutHomeIsNoContainerEither)
{
    ScopedEnvironment relativeDataHome("XDG_DATA_HOME", "relative/data");
    ScopedEnvironment noHome("HOME", std::nullopt);
    const TimelineProvider provider([] { return fixedNow; });
    EXPECT_EQ(provider.timeline({}, {}).entries.at(0).appStatus, AppStatus::noAccess);
}

// ---- Live entries ----------------------------------------------------------------------------

TEST_F(ProviderTest, BeforeTheAppHasEverRunGivesTheEmptySnapshotAndNotRunning)
{
    const Timeline timeline = provider().timeline({}, context);
    ASSERT_EQ(timeline.entries.size(), 1u);
    EXPECT_EQ(timeline.entries[0].snapshot, WidgetSnapshot::empty);
    EXPECT_EQ(timeline.entries[0].appStatus, AppStatus::notRunning);
    EXPECT_TRUE(timeline.entries[0].pending.empty());
    // Reading creates nothing.
    EXPECT_FALSE(std::filesystem::exists(store().root()));
}

TEST_F(ProviderTest, ReadsTheSnapshotAndTheHeartbeat)
{
    const auto snapshot = liveSnapshot(now.addingSeconds(-5));
    store().writeSnapshot(snapshot);
    store().touchHeartbeat(now.addingSeconds(-10));

    const Timeline timeline = provider().timeline({}, context);
    ASSERT_EQ(timeline.entries.size(), 1u);
    EXPECT_EQ(timeline.entries[0].snapshot, snapshot);
    EXPECT_EQ(timeline.entries[0].appStatus, AppStatus::running);
    EXPECT_EQ(timeline.entries[0].date, now);
    EXPECT_EQ(timeline.reloadAfter, now.addingSeconds(1800));
}

TEST_F(ProviderTest, JudgesTheHeartbeatAtTheInjectedTime)
{
    store().writeSnapshot(liveSnapshot(now));
    store().touchHeartbeat(now.addingSeconds(-89.9));
    EXPECT_EQ(provider().timeline({}, context).entries[0].appStatus, AppStatus::running);

    store().touchHeartbeat(now.addingSeconds(-90));
    EXPECT_EQ(provider().timeline({}, context).entries[0].appStatus, AppStatus::notRunning);
}

TEST_F(ProviderTest, AStaleSnapshotStaysReadableAfterTheAppHasQuit)
{
    const auto snapshot = liveSnapshot(now.addingSeconds(-3600));
    store().writeSnapshot(snapshot);
    store().touchHeartbeat(now.addingSeconds(-3600));
    const TimelineEntry entry = provider().snapshot({}, context);
    EXPECT_EQ(entry.snapshot, snapshot);
    EXPECT_EQ(entry.appStatus, AppStatus::notRunning);
}

TEST_F(ProviderTest, AnUndecodableSnapshotReadsAsEmptyWithoutError)
{
    std::filesystem::create_directories(store().root());
    writeFile(store().root() / "snapshot.json", "{\"items\": [");
    store().touchHeartbeat(now);
    const Timeline timeline = provider().timeline({}, context);
    ASSERT_EQ(timeline.entries.size(), 1u);
    EXPECT_EQ(timeline.entries[0].snapshot, WidgetSnapshot::empty);
    EXPECT_EQ(timeline.entries[0].appStatus, AppStatus::running);
}

TEST_F(ProviderTest, AContainerThatIsAFileReadsAsEmptyWithoutError)
{
    std::filesystem::create_directories(store().root().parent_path());
    writeFile(store().root(), "not a directory");
    const Timeline timeline = provider().timeline({}, context);
    ASSERT_EQ(timeline.entries.size(), 1u);
    EXPECT_EQ(timeline.entries[0].snapshot, WidgetSnapshot::empty);
    EXPECT_EQ(timeline.entries[0].appStatus, AppStatus::notRunning);
    EXPECT_TRUE(timeline.entries[0].pending.empty());
}

TEST_F(ProviderTest, NoPendingCommandsGiveExactlyOneEntry)
{
    store().writeSnapshot(liveSnapshot(now.addingSeconds(-1)));
    store().touchHeartbeat(now);
    const Timeline timeline = provider().timeline(QuelmWidgetConfiguration(WidgetSortOrder::recent), context);
    ASSERT_EQ(timeline.entries.size(), 1u);
    EXPECT_TRUE(timeline.entries[0].pending.empty());
    EXPECT_EQ(timeline.entries[0].sortOrder, WidgetSortOrder::recent);
    EXPECT_EQ(timeline.reloadAfter, now.addingSeconds(1800));
}

TEST_F(ProviderTest, OnePendingStopGivesASecondEntryWithoutPendingTwentySecondsLater)
{
    const auto snapshot = liveSnapshot(now.addingSeconds(-30));
    store().writeSnapshot(snapshot);
    store().touchHeartbeat(now.addingSeconds(-2));
    store().markPending(command("api", Action::stop, now.addingSeconds(-3)));

    const Timeline timeline = provider().timeline(QuelmWidgetConfiguration(WidgetSortOrder::recent), context);
    ASSERT_EQ(timeline.entries.size(), 2u);

    const TimelineEntry& first = timeline.entries[0];
    EXPECT_EQ(first.date, now);
    EXPECT_EQ(first.pending, (TimelineEntry::PendingActions { { "api", Action::stop } }));
    EXPECT_EQ(first.snapshot, snapshot);
    EXPECT_EQ(first.appStatus, AppStatus::running);
    EXPECT_EQ(first.sortOrder, WidgetSortOrder::recent);

    const TimelineEntry& second = timeline.entries[1];
    EXPECT_EQ(second.date, now.addingSeconds(20));
    EXPECT_TRUE(second.pending.empty());
    EXPECT_EQ(second.snapshot, first.snapshot);
    EXPECT_EQ(second.appStatus, first.appStatus);
    EXPECT_EQ(second.sortOrder, first.sortOrder);

    // The policy does not change with pending commands.
    EXPECT_EQ(timeline.reloadAfter, now.addingSeconds(1800));
}

TEST_F(ProviderTest, PendingKeepsOnlyTheActionOfEachItemOrGroup)
{
    store().writeSnapshot(liveSnapshot(now.addingSeconds(-30)));
    store().markPending(command("api", Action::stop, now.addingSeconds(-1)));
    store().markPending(command("db", Action::start, now.addingSeconds(-2)));
    store().markPending(command("group:g", Action::start, now.addingSeconds(-3)));

    const TimelineEntry entry = provider().snapshot({}, context);
    EXPECT_EQ(entry.pending,
        (TimelineEntry::PendingActions { { "api", Action::stop }, { "db", Action::start }, { "group:g", Action::start } }));
}

TEST_F(ProviderTest, ACommandTwentySecondsOldOrOlderIsNeverPending)
{
    store().writeSnapshot(liveSnapshot(now.addingSeconds(-100)));
    store().markPending(command("api", Action::stop, now.addingSeconds(-20)));
    store().markPending(command("db", Action::start, now.addingSeconds(-45)));

    const Timeline timeline = provider().timeline({}, context);
    ASSERT_EQ(timeline.entries.size(), 1u);
    EXPECT_TRUE(timeline.entries[0].pending.empty());
}

TEST_F(ProviderTest, ACommandJustYoungerThanTwentySecondsIsPending)
{
    store().writeSnapshot(liveSnapshot(now.addingSeconds(-100)));
    store().markPending(command("api", Action::start, now.addingSeconds(-19.9)));
    const Timeline timeline = provider().timeline({}, context);
    ASSERT_EQ(timeline.entries.size(), 2u);
    EXPECT_EQ(timeline.entries[0].pending, (TimelineEntry::PendingActions { { "api", Action::start } }));
}

TEST_F(ProviderTest, ACommandAnsweredByTheSnapshotIsNotPending)
{
    const Date issued = now.addingSeconds(-5);
    store().markPending(command("api", Action::stop, issued));
    store().markPending(command("db", Action::start, issued.addingSeconds(-1)));
    store().writeSnapshot(liveSnapshot(issued)); // written at the very instant of "api"'s command

    const Timeline timeline = provider().timeline({}, context);
    ASSERT_EQ(timeline.entries.size(), 1u);
    EXPECT_TRUE(timeline.entries[0].pending.empty());
}

TEST_F(ProviderTest, WithoutASnapshotEveryYoungCommandIsPending)
{
    // The empty snapshot dates from the distant past, so it answers nothing. (markPending does
    // not create the container; the app's first writeSnapshot does.)
    std::filesystem::create_directories(store().root());
    store().markPending(command("api", Action::start, now.addingSeconds(-1)));
    const TimelineEntry entry = provider().snapshot({}, context);
    EXPECT_EQ(entry.snapshot, WidgetSnapshot::empty);
    EXPECT_EQ(entry.pending, (TimelineEntry::PendingActions { { "api", Action::start } }));
}

TEST_F(ProviderTest, ACommandIssuedAfterNowIsPending)
{
    store().writeSnapshot(liveSnapshot(now.addingSeconds(-10)));
    store().markPending(command("api", Action::stop, now.addingSeconds(60)));
    EXPECT_EQ(provider().timeline({}, context).entries.size(), 2u);
}

TEST_F(ProviderTest, AHandWrittenPendingFileIsRead)
{
    std::filesystem::create_directories(store().root());
    const auto id = Uuid::random().string();
    writeFile(store().root() / "pending.json",
        R"({"web":{"id":")" + id + R"(","itemID":"web","action":"stop","issuedAt":)"
            + std::to_string(now.secondsSince1970() - 1) + "}}");
    EXPECT_EQ(provider().snapshot({}, context).pending, (TimelineEntry::PendingActions { { "web", Action::stop } }));
}

TEST_F(ProviderTest, ADamagedPendingFileMeansNothingIsPending)
{
    std::filesystem::create_directories(store().root());
    writeFile(store().root() / "pending.json", "[]");
    EXPECT_EQ(provider().timeline({}, context).entries.size(), 1u);
    writeFile(store().root() / "pending.json", "garbage");
    EXPECT_EQ(provider().timeline({}, context).entries.size(), 1u);
}

TEST_F(ProviderTest, ReadsTheContainerAfreshOnEveryCall)
{
    const TimelineProvider provider = this->provider();
    EXPECT_EQ(provider.snapshot({}, context).snapshot, WidgetSnapshot::empty);
    const auto snapshot = liveSnapshot(now.addingSeconds(-1));
    store().writeSnapshot(snapshot);
    EXPECT_EQ(provider.snapshot({}, context).snapshot, snapshot);
    EXPECT_EQ(provider.timeline({}, context).entries[0].snapshot, snapshot);
}

TEST_F(ProviderTest, ReadsTheClockForEachEntry)
{
    TimelineProvider provider([this] { return now; });
    EXPECT_EQ(provider.timeline({}, context).entries[0].date, fixedNow);
    now = fixedNow.addingSeconds(100);
    const Timeline later = provider.timeline({}, context);
    EXPECT_EQ(later.entries[0].date, now);
    EXPECT_EQ(later.reloadAfter, now.addingSeconds(1800));
}

TEST_F(ProviderTest, TheDefaultClockIsTheCurrentTime)
{
    const TimelineProvider provider;
    const Date before = Date::now();
    const Timeline timeline = provider.timeline({}, context);
    const Date after = Date::now();
    ASSERT_EQ(timeline.entries.size(), 1u);
    EXPECT_LE(before, timeline.entries[0].date);
    EXPECT_GE(after, timeline.entries[0].date);
    EXPECT_GE(timeline.reloadAfter, before.addingSeconds(1800));
    EXPECT_LE(timeline.reloadAfter, after.addingSeconds(1800));
}

TEST_F(ProviderTest, SnapshotCopiesTheConfiguredSortOrderIntoTheLiveEntry)
{
    store().writeSnapshot(liveSnapshot(now));
    EXPECT_EQ(provider().snapshot(QuelmWidgetConfiguration(WidgetSortOrder::recent), context).sortOrder, WidgetSortOrder::recent);
    EXPECT_EQ(provider().snapshot(QuelmWidgetConfiguration(), context).sortOrder, WidgetSortOrder::category);
}

TEST_F(ProviderTest, SnapshotOfALiveEntryHasTheLiveDateStatusAndPending)
{
    store().writeSnapshot(liveSnapshot(now.addingSeconds(-30)));
    store().touchHeartbeat(now);
    store().markPending(command("db", Action::start, now.addingSeconds(-1)));
    const TimelineEntry entry = provider().snapshot({}, context);
    EXPECT_EQ(entry.date, now);
    EXPECT_EQ(entry.appStatus, AppStatus::running);
    EXPECT_EQ(entry.pending, (TimelineEntry::PendingActions { { "db", Action::start } }));
}

// ---- Preview and placeholder -----------------------------------------------------------------

TEST_F(ProviderTest, APreviewReturnsTheSampleEvenWhenARealSnapshotExists)
{
    store().writeSnapshot(liveSnapshot(now));
    store().touchHeartbeat(now);
    store().markPending(command("api", Action::stop, now));

    const TimelineEntry preview = provider().snapshot(QuelmWidgetConfiguration(WidgetSortOrder::recent), previewContext);
    TimelineEntry expected = TimelineEntry::sample();
    expected.sortOrder = WidgetSortOrder::recent;
    EXPECT_EQ(preview, expected);

    EXPECT_EQ(provider().snapshot(QuelmWidgetConfiguration(), previewContext), TimelineEntry::sample());
}

TEST_F(ProviderTest, ThePlaceholderIsAlwaysTheSampleSortedByCategory)
{
    store().writeSnapshot(liveSnapshot(now));
    for (const auto family : { WidgetFamily::small, WidgetFamily::medium, WidgetFamily::large, WidgetFamily::extraLarge }) {
        for (const bool isPreview : { false, true }) {
            const TimelineEntry placeholder = provider().placeholder({ family, isPreview });
            EXPECT_EQ(placeholder, TimelineEntry::sample());
            EXPECT_EQ(placeholder.sortOrder, WidgetSortOrder::category);
        }
    }
}

TEST(ProviderPlaceholder, NeedsNoContainer)
{
    ScopedEnvironment noDataHome("XDG_DATA_HOME", std::nullopt);
    ScopedEnvironment noHome("HOME", std::nullopt);
    const TimelineProvider provider;
    EXPECT_EQ(provider.placeholder({}), TimelineEntry::sample());
    EXPECT_EQ(provider.snapshot(QuelmWidgetConfiguration(), { WidgetFamily::large, true }), TimelineEntry::sample());
}

// ---- The sample --------------------------------------------------------------------------------

TEST(EntrySample, IsTheInventedStateOfFiveItemsAGroupAndTwoSessions)
{
    const TimelineEntry& sample = TimelineEntry::sample();
    const Date built = sample.date;
    EXPECT_TRUE(sample.pending.empty());
    EXPECT_EQ(sample.appStatus, AppStatus::running);
    EXPECT_EQ(sample.sortOrder, WidgetSortOrder::category);

    const WidgetSnapshot& snapshot = sample.snapshot;
    EXPECT_FALSE(snapshot.language.has_value());
    EXPECT_EQ(snapshot.updatedAt, built);

    const std::vector<WidgetItem> items {
        { "a", "my-api (dev)", "node", true, std::nullopt, 3000, built.addingSeconds(-5400) },
        { "b", "web (dev)", "node", true, std::nullopt, 5173, built.addingSeconds(-600) },
        { "c", "postgres", "database", false, std::nullopt, std::nullopt, std::nullopt },
        { "d", "py-svc (uvicorn)", "server", true, std::nullopt, 8000, built.addingSeconds(-60) },
        { "e", "cache (shop)", "docker", false, std::nullopt, std::nullopt, std::nullopt },
    };
    EXPECT_EQ(snapshot.items, items);

    ASSERT_EQ(snapshot.groups.size(), 1u);
    const WidgetGroup& group = snapshot.groups[0];
    EXPECT_EQ(group.id, "group:x");
    EXPECT_EQ(group.name, "Trabalho");
    EXPECT_EQ(group.memberCount, 3);
    EXPECT_EQ(group.runningCount, 2);
    EXPECT_FALSE(group.transition.has_value());
    EXPECT_TRUE(group.isActive);

    const std::vector<WidgetSession> sessions {
        { "s1", "Ajustar o widget", "quelm", WidgetSession::State::needsApproval },
        { "s2", "Migração do banco", "my-api", WidgetSession::State::working },
    };
    EXPECT_EQ(snapshot.sessions, sessions);
}

TEST(EntrySample, IsDatedWhenFirstBuilt)
{
    const Date built = TimelineEntry::sample().date;
    // Built by this or an earlier test of this process, at the time of building.
    EXPECT_GE(built, processStart);
    EXPECT_LE(built, Date::now());
}

TEST(EntrySample, IsBuiltOnceAndSharedByEveryThread)
{
    std::vector<const TimelineEntry*> seen(8, nullptr);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < seen.size(); ++i)
        threads.emplace_back([&seen, i] { seen[i] = &TimelineEntry::sample(); });
    for (auto& thread : threads)
        thread.join();
    for (const TimelineEntry* entry : seen)
        EXPECT_EQ(entry, &TimelineEntry::sample());
    const Date date = TimelineEntry::sample().date;
    EXPECT_EQ(TimelineEntry::sample().date, date);
}

TEST(EntrySample, ACopyIsIndependent)
{
    TimelineEntry copy = TimelineEntry::sample();
    copy.sortOrder = WidgetSortOrder::recent;
    copy.snapshot.items.clear();
    EXPECT_EQ(TimelineEntry::sample().sortOrder, WidgetSortOrder::category);
    EXPECT_EQ(TimelineEntry::sample().snapshot.items.size(), 5u);
}

TEST(EntryDefaults, AreTheEmptySnapshotAndCategory)
{
    const TimelineEntry entry;
    EXPECT_EQ(entry.snapshot, WidgetSnapshot::empty);
    EXPECT_TRUE(entry.pending.empty());
    EXPECT_EQ(entry.sortOrder, WidgetSortOrder::category);
}
