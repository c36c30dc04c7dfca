// SPDX-License-Identifier: MIT
#include "Layout/TitleCollator.h"
#include "Widget/WidgetFamily.h"
#include "Look/WidgetGlyph.h"
#include "Layout/WidgetLayout.h"
#include "Widget/WidgetSortOrder.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace quelm;
using quelm::test::ScopedEnvironment;
using State = WidgetSession::State;

namespace {

constexpr std::array allFamilies {
    WidgetFamily::small,
    WidgetFamily::medium,
    WidgetFamily::large,
    WidgetFamily::extraLarge,
};

WidgetItem item(std::string id, std::string title = {}, std::string category = "node", bool running = true,
    std::optional<Date> startedAt = std::nullopt)
{
    if (title.empty())
        title = id;
    return WidgetItem { std::move(id), std::move(title), std::move(category), running, std::nullopt, std::nullopt, startedAt };
}

WidgetSession session(std::string id, State state = State::working)
{
    return WidgetSession { id, "title " + id, "project", state };
}

WidgetGroup group(std::string id)
{
    return WidgetGroup("group:" + id, "Group " + id, 2, 1, false);
}

// A snapshot with the given numbers of sessions (all in `state`), groups and running node items
// whose titles keep their snapshot order ("item 1", "item 2", … compared numerically).
WidgetSnapshot snapshotOf(int sessions, int groups, int items, State state = State::working)
{
    WidgetSnapshot snapshot;
    for (int i = 1; i <= sessions; ++i)
        snapshot.sessions.push_back(session("s" + std::to_string(i), state));
    for (int i = 1; i <= groups; ++i)
        snapshot.groups.push_back(group(std::to_string(i)));
    for (int i = 1; i <= items; ++i)
        snapshot.items.push_back(item("i" + std::to_string(i), "item " + std::to_string(i)));
    snapshot.updatedAt = Date(1000);
    return snapshot;
}

template<class T>
std::vector<std::string> ids(const std::vector<T>& list)
{
    std::vector<std::string> result;
    for (const auto& element : list)
        result.push_back(element.id);
    return result;
}

std::vector<std::string> sortedIDs(std::vector<WidgetItem> items, WidgetSortOrder order)
{
    WidgetSnapshot snapshot;
    snapshot.items = std::move(items);
    // Extra large without sessions and groups shows up to 14 items.
    return ids(WidgetLayout(snapshot, WidgetFamily::extraLarge, order).items);
}

using Ids = std::vector<std::string>;

// Every test pins the collation locale; Brazilian Portuguese is the widget's own language.
class WidgetLayoutTest : public testing::Test {
protected:
    ScopedEnvironment m_locale { "LC_ALL", "pt_BR.UTF-8" };
};

}

// ---- Category rank -----------------------------------------------------------------------------

TEST(WidgetGlyphRank, RanksTheKnownCategoriesAndNinetyNineForAnythingElse)
{
    EXPECT_EQ(WidgetGlyph::rank("node"), 0);
    EXPECT_EQ(WidgetGlyph::rank("docker"), 1);
    EXPECT_EQ(WidgetGlyph::rank("kubernetes"), 2);
    EXPECT_EQ(WidgetGlyph::rank("database"), 3);
    EXPECT_EQ(WidgetGlyph::rank("server"), 4);
    EXPECT_EQ(WidgetGlyph::rank(""), 99);
    EXPECT_EQ(WidgetGlyph::rank("Node"), 99);
    EXPECT_EQ(WidgetGlyph::rank("python"), 99);
}

// ---- Selection by family -------------------------------------------------------------------------

TEST_F(WidgetLayoutTest, AnEmptySnapshotGivesThreeEmptyListsForEveryFamily)
{
    for (const auto family : allFamilies) {
        for (const auto order : WidgetSortOrderInfo::allCases) {
            const WidgetLayout layout(WidgetSnapshot::empty, family, order);
            EXPECT_TRUE(layout.sessions.empty()) << rawValue(family);
            EXPECT_TRUE(layout.groups.empty()) << rawValue(family);
            EXPECT_TRUE(layout.items.empty()) << rawValue(family);
        }
    }
}

TEST_F(WidgetLayoutTest, SmallWithTwoSessionsNeedingApprovalFiveGroupsAndFourItems)
{
    const WidgetLayout layout(snapshotOf(2, 5, 4, State::needsApproval), WidgetFamily::small, WidgetSortOrder::category);
    EXPECT_EQ(ids(layout.sessions), (Ids { "s1" }));
    EXPECT_EQ(ids(layout.groups), (Ids { "group:1", "group:2" }));
    EXPECT_TRUE(layout.items.empty());
}

TEST_F(WidgetLayoutTest, SmallWithOnlyWorkingSessionsShowsNoSessionAndThreeSlots)
{
    const WidgetLayout layout(snapshotOf(3, 1, 4, State::working), WidgetFamily::small, WidgetSortOrder::category);
    EXPECT_TRUE(layout.sessions.empty());
    EXPECT_EQ(ids(layout.groups), (Ids { "group:1" }));
    EXPECT_EQ(ids(layout.items), (Ids { "i1", "i2" }));
}

TEST_F(WidgetLayoutTest, SmallDoesNotCountWaitingForInputAsAttention)
{
    const WidgetLayout layout(snapshotOf(2, 0, 5, State::waitingForInput), WidgetFamily::small, WidgetSortOrder::category);
    EXPECT_TRUE(layout.sessions.empty());
    EXPECT_EQ(ids(layout.items), (Ids { "i1", "i2", "i3" }));
}

TEST_F(WidgetLayoutTest, SmallShowsTheFirstSessionNeedingApprovalWhereverItIs)
{
    WidgetSnapshot snapshot = snapshotOf(0, 0, 5);
    snapshot.sessions = { session("w", State::working), session("q", State::waitingForInput),
        session("a1", State::needsApproval), session("a2", State::needsApproval) };
    const WidgetLayout layout(snapshot, WidgetFamily::small, WidgetSortOrder::category);
    EXPECT_EQ(ids(layout.sessions), (Ids { "a1" }));
    EXPECT_EQ(ids(layout.items), (Ids { "i1", "i2" }));
}

TEST_F(WidgetLayoutTest, SmallGroupsAreUnlimitedAndCrowdOutItems)
{
    const WidgetLayout layout(snapshotOf(0, 5, 4), WidgetFamily::small, WidgetSortOrder::category);
    EXPECT_EQ(ids(layout.groups), (Ids { "group:1", "group:2", "group:3" }));
    EXPECT_TRUE(layout.items.empty());
}

TEST_F(WidgetLayoutTest, MediumWithFiveSessionsOneGroupAndSixItems)
{
    WidgetSnapshot snapshot = snapshotOf(5, 1, 6);
    snapshot.sessions[0].state = State::needsApproval;
    snapshot.sessions[2].state = State::waitingForInput;
    const WidgetLayout layout(snapshot, WidgetFamily::medium, WidgetSortOrder::category);
    EXPECT_EQ(ids(layout.sessions), (Ids { "s1", "s2", "s3" }));
    EXPECT_EQ(ids(layout.groups), (Ids { "group:1" }));
    EXPECT_EQ(ids(layout.items), (Ids { "i1", "i2", "i3" }));
}

TEST_F(WidgetLayoutTest, MediumSessionsDoNotShrinkItsFourSlots)
{
    const WidgetLayout layout(snapshotOf(3, 0, 6), WidgetFamily::medium, WidgetSortOrder::category);
    EXPECT_EQ(layout.sessions.size(), 3u);
    EXPECT_EQ(ids(layout.items), (Ids { "i1", "i2", "i3", "i4" }));
}

TEST_F(WidgetLayoutTest, MediumGroupsAreUnlimited)
{
    const WidgetLayout layout(snapshotOf(1, 6, 6), WidgetFamily::medium, WidgetSortOrder::category);
    EXPECT_EQ(ids(layout.groups), (Ids { "group:1", "group:2", "group:3", "group:4" }));
    EXPECT_TRUE(layout.items.empty());
}

TEST_F(WidgetLayoutTest, LargeWithOneSessionFourGroupsAndTenItems)
{
    const WidgetLayout layout(snapshotOf(1, 4, 10), WidgetFamily::large, WidgetSortOrder::category);
    EXPECT_EQ(ids(layout.sessions), (Ids { "s1" }));
    EXPECT_EQ(ids(layout.groups), (Ids { "group:1", "group:2" }));
    EXPECT_EQ(ids(layout.items), (Ids { "i1", "i2", "i3", "i4" }));
}

TEST_F(WidgetLayoutTest, LargeShowsTwoSessionsOfAnyStateAndCountsThem)
{
    WidgetSnapshot snapshot = snapshotOf(4, 0, 10);
    snapshot.sessions[1].state = State::needsApproval;
    const WidgetLayout layout(snapshot, WidgetFamily::large, WidgetSortOrder::category);
    EXPECT_EQ(ids(layout.sessions), (Ids { "s1", "s2" }));
    EXPECT_TRUE(layout.groups.empty());
    EXPECT_EQ(layout.items.size(), 5u);
}

TEST_F(WidgetLayoutTest, LargeWithoutSessionsHasSevenSlots)
{
    const WidgetLayout layout(snapshotOf(0, 1, 10), WidgetFamily::large, WidgetSortOrder::category);
    EXPECT_EQ(ids(layout.groups), (Ids { "group:1" }));
    EXPECT_EQ(ids(layout.items), (Ids { "i1", "i2", "i3", "i4", "i5", "i6" }));
}

TEST_F(WidgetLayoutTest, AnyOtherFamilyGetsTheLargeLayout)
{
    const auto snapshot = snapshotOf(3, 4, 10);
    const WidgetLayout other(snapshot, static_cast<WidgetFamily>(42), WidgetSortOrder::category);
    EXPECT_EQ(other, WidgetLayout(snapshot, WidgetFamily::large, WidgetSortOrder::category));
}

TEST_F(WidgetLayoutTest, ExtraLargeAloneWithItemsShowsFourteen)
{
    const WidgetLayout layout(snapshotOf(0, 0, 20), WidgetFamily::extraLarge, WidgetSortOrder::category);
    EXPECT_TRUE(layout.sessions.empty());
    EXPECT_TRUE(layout.groups.empty());
    ASSERT_EQ(layout.items.size(), 14u);
    EXPECT_EQ(layout.items.front().id, "i1");
    EXPECT_EQ(layout.items.back().id, "i14");
}

TEST_F(WidgetLayoutTest, ExtraLargeWithOneGroupShowsSevenItems)
{
    const WidgetLayout layout(snapshotOf(0, 1, 20), WidgetFamily::extraLarge, WidgetSortOrder::category);
    EXPECT_EQ(ids(layout.groups), (Ids { "group:1" }));
    EXPECT_EQ(ids(layout.items), (Ids { "i1", "i2", "i3", "i4", "i5", "i6", "i7" }));
}

TEST_F(WidgetLayoutTest, ExtraLargeWithOneSessionShowsSevenItems)
{
    const WidgetLayout layout(snapshotOf(1, 0, 20), WidgetFamily::extraLarge, WidgetSortOrder::category);
    EXPECT_EQ(ids(layout.sessions), (Ids { "s1" }));
    EXPECT_EQ(layout.items.size(), 7u);
}

TEST_F(WidgetLayoutTest, ExtraLargeCapsSessionsGroupsAndItemsSeparately)
{
    const WidgetLayout layout(snapshotOf(6, 5, 20), WidgetFamily::extraLarge, WidgetSortOrder::category);
    EXPECT_EQ(ids(layout.sessions), (Ids { "s1", "s2", "s3", "s4" }));
    EXPECT_EQ(ids(layout.groups), (Ids { "group:1", "group:2", "group:3" }));
    EXPECT_EQ(layout.items.size(), 7u);
}

TEST_F(WidgetLayoutTest, ExtraLargeWithFewItemsShowsThemAll)
{
    const WidgetLayout layout(snapshotOf(0, 0, 3), WidgetFamily::extraLarge, WidgetSortOrder::category);
    EXPECT_EQ(ids(layout.items), (Ids { "i1", "i2", "i3" }));
}

TEST_F(WidgetLayoutTest, SessionsAndGroupsKeepSnapshotOrder)
{
    WidgetSnapshot snapshot = snapshotOf(0, 0, 0);
    snapshot.sessions = { session("zeta"), session("alpha"), session("mid") };
    snapshot.groups = { group("z"), group("a") };
    const WidgetLayout layout(snapshot, WidgetFamily::medium, WidgetSortOrder::category);
    EXPECT_EQ(ids(layout.sessions), (Ids { "zeta", "alpha", "mid" }));
    EXPECT_EQ(ids(layout.groups), (Ids { "group:z", "group:a" }));
}

TEST_F(WidgetLayoutTest, ItemsAreTheSortedHeadNotTheSnapshotHead)
{
    WidgetSnapshot snapshot;
    snapshot.items = { item("stopped1", "a", "node", false), item("stopped2", "b", "node", false),
        item("run-server", "c", "server", true), item("run-node", "d", "node", true) };
    const WidgetLayout layout(snapshot, WidgetFamily::small, WidgetSortOrder::category);
    EXPECT_EQ(ids(layout.items), (Ids { "run-node", "run-server", "stopped1" }));
}

TEST_F(WidgetLayoutTest, KeepsWholeRecords)
{
    WidgetSnapshot snapshot = snapshotOf(1, 1, 0, State::needsApproval);
    snapshot.items = { WidgetItem { "x", "X", "docker", true, WidgetItem::Transition::stopping, 80, Date(5) } };
    snapshot.groups[0] = WidgetGroup("group:g", "G", 3, 3, true, WidgetItem::Transition::starting);
    const WidgetLayout layout(snapshot, WidgetFamily::large, WidgetSortOrder::recent);
    EXPECT_EQ(layout.items, snapshot.items);
    EXPECT_EQ(layout.groups, snapshot.groups);
    EXPECT_EQ(layout.sessions, snapshot.sessions);
}

// ---- Item order ----------------------------------------------------------------------------------

TEST_F(WidgetLayoutTest, UnderCategoryAStoppedNodeComesAfterARunningServer)
{
    const auto before = WidgetLayout::order(WidgetSortOrder::category);
    const auto node = item("n", "node app", "node", false);
    const auto server = item("s", "server app", "server", true);
    EXPECT_TRUE(before(server, node));
    EXPECT_FALSE(before(node, server));
    EXPECT_EQ(sortedIDs({ node, server }, WidgetSortOrder::category), (Ids { "s", "n" }));
}

TEST_F(WidgetLayoutTest, UnderCategoryRanksOrderItemsOfTheSameRunningState)
{
    const std::vector items {
        item("other", "a", "python"), item("server", "a", "server"), item("database", "a", "database"),
        item("kubernetes", "a", "kubernetes"), item("docker", "a", "docker"), item("node", "a", "node"),
    };
    EXPECT_EQ(sortedIDs(items, WidgetSortOrder::category),
        (Ids { "node", "docker", "kubernetes", "database", "server", "other" }));
}

TEST_F(WidgetLayoutTest, UnderCategoryUnknownCategoriesTieAndFallThroughToTheTitle)
{
    const std::vector items { item("1", "zulu", "python"), item("2", "alpha", ""), item("3", "mike", "Node") };
    EXPECT_EQ(sortedIDs(items, WidgetSortOrder::category), (Ids { "2", "3", "1" }));
}

TEST_F(WidgetLayoutTest, UnderCategoryStartTimeIsNotConsulted)
{
    const std::vector items { item("old", "b", "node", true, Date(10)), item("new", "a", "node", true, Date(5000)),
        item("none", "c", "node", true) };
    EXPECT_EQ(sortedIDs(items, WidgetSortOrder::category), (Ids { "new", "old", "none" }));
    EXPECT_EQ(sortedIDs({ items[1], items[0] }, WidgetSortOrder::category), (Ids { "new", "old" }));
    EXPECT_EQ(sortedIDs({ item("x", "b", "node", true, Date(5000)), item("y", "a", "node", true, Date(10)) }, WidgetSortOrder::category),
        (Ids { "y", "x" }));
}

TEST_F(WidgetLayoutTest, UnderRecentAnItemWithoutStartComesAfterEveryStartedOne)
{
    const std::vector items {
        item("never", "a", "node", true),
        item("old", "z", "server", true, Date(-1e9)),
        item("new", "m", "docker", true, Date(2000)),
        item("stopped", "a", "node", false, Date(9000)),
    };
    EXPECT_EQ(sortedIDs(items, WidgetSortOrder::recent), (Ids { "new", "old", "never", "stopped" }));
    const auto before = WidgetLayout::order(WidgetSortOrder::recent);
    EXPECT_TRUE(before(items[1], items[0]));
    EXPECT_FALSE(before(items[0], items[1]));
}

TEST_F(WidgetLayoutTest, UnderRecentTheLaterStartComesFirstAndRankIsNotConsulted)
{
    const std::vector items { item("node", "a", "node", true, Date(100)), item("server", "b", "server", true, Date(200)),
        item("unknown", "c", "zzz", true, Date(300)) };
    EXPECT_EQ(sortedIDs(items, WidgetSortOrder::recent), (Ids { "unknown", "server", "node" }));
}

TEST_F(WidgetLayoutTest, UnderRecentRunningStillComesFirst)
{
    const std::vector items { item("stopped", "a", "node", false, Date(900)), item("running", "b", "node", true) };
    EXPECT_EQ(sortedIDs(items, WidgetSortOrder::recent), (Ids { "running", "stopped" }));
}

TEST_F(WidgetLayoutTest, UnderRecentEqualStartsFallThroughToTheTitle)
{
    const std::vector items { item("b", "beta", "node", true, Date(100)), item("a", "alpha", "server", true, Date(100)),
        item("n2", "zulu", "node", true), item("n1", "mike", "node", true, Date::distantPast()) };
    EXPECT_EQ(sortedIDs(items, WidgetSortOrder::recent), (Ids { "a", "b", "n1", "n2" }));
}

TEST_F(WidgetLayoutTest, TitlesCompareDigitRunsByValue)
{
    const std::vector items { item("10", "svc 10"), item("2", "svc 2"), item("1", "svc 1"), item("100", "svc 100"),
        item("9", "svc 9") };
    EXPECT_EQ(sortedIDs(items, WidgetSortOrder::category), (Ids { "1", "2", "9", "10", "100" }));
    const auto before = WidgetLayout::order(WidgetSortOrder::category);
    EXPECT_TRUE(before(item("x", "svc 2"), item("y", "svc 10")));
    EXPECT_FALSE(before(item("y", "svc 10"), item("x", "svc 2")));
}

TEST_F(WidgetLayoutTest, TitlesCompareCaseInsensitively)
{
    // Byte order would put "Beta" before "alpha".
    EXPECT_EQ(sortedIDs({ item("B", "Beta"), item("a", "alpha"), item("C", "CHARLIE") }, WidgetSortOrder::category),
        (Ids { "a", "B", "C" }));
}

TEST_F(WidgetLayoutTest, TitlesDifferingOnlyInCaseTieAndKeepSnapshotOrder)
{
    EXPECT_EQ(sortedIDs({ item("1", "API"), item("2", "api"), item("3", "Api") }, WidgetSortOrder::category), (Ids { "1", "2", "3" }));
    EXPECT_EQ(sortedIDs({ item("3", "Api"), item("1", "API"), item("2", "api") }, WidgetSortOrder::category), (Ids { "3", "1", "2" }));
    const auto before = WidgetLayout::order(WidgetSortOrder::category);
    EXPECT_FALSE(before(item("1", "API"), item("2", "api")));
    EXPECT_FALSE(before(item("2", "api"), item("1", "API")));
}

TEST_F(WidgetLayoutTest, AccentedLettersSortWithTheirBaseLetter)
{
    // Byte order would put "Água" and "éclair" after "zebra".
    const std::vector items { item("zebra", "zebra"), item("agua", "Água"), item("abacate", "abacate"), item("eclair", "éclair"),
        item("fig", "figo") };
    EXPECT_EQ(sortedIDs(items, WidgetSortOrder::category), (Ids { "abacate", "agua", "eclair", "fig", "zebra" }));
}

TEST_F(WidgetLayoutTest, AccentsAreNotIgnored)
{
    // Secondary strength: "cafe" and "café" differ (unaccented first), but the accent weighs
    // less than any later letter.
    EXPECT_EQ(sortedIDs({ item("2", "café"), item("1", "cafe"), item("3", "cafeteria") }, WidgetSortOrder::category),
        (Ids { "1", "2", "3" }));
    const auto before = WidgetLayout::order(WidgetSortOrder::category);
    EXPECT_TRUE(before(item("1", "cafe"), item("2", "café")));
    EXPECT_FALSE(before(item("2", "café"), item("1", "cafe")));
}

TEST_F(WidgetLayoutTest, ItemsTiedOnAllThreeRulesKeepSnapshotOrder)
{
    std::vector<WidgetItem> items;
    for (int i = 0; i < 12; ++i)
        items.push_back(item("tie" + std::to_string(i), "same", "docker", true, Date(5)));
    items.insert(items.begin() + 5, item("first", "a", "node", true));
    for (const auto order : WidgetSortOrderInfo::allCases) {
        const Ids sorted = sortedIDs(items, order);
        const Ids expected = order == WidgetSortOrder::category
            ? Ids { "first", "tie0", "tie1", "tie2", "tie3", "tie4", "tie5", "tie6", "tie7", "tie8", "tie9", "tie10", "tie11" }
            : Ids { "tie0", "tie1", "tie2", "tie3", "tie4", "tie5", "tie6", "tie7", "tie8", "tie9", "tie10", "tie11", "first" };
        EXPECT_EQ(sorted, expected) << rawValue(order);
    }
}

TEST_F(WidgetLayoutTest, TheOrderIsIrreflexive)
{
    for (const auto order : WidgetSortOrderInfo::allCases) {
        const auto before = WidgetLayout::order(order);
        const auto x = item("x", "Title 3", "docker", true, Date(7));
        EXPECT_FALSE(before(x, x));
    }
}

// The layout sorts with precomputed collation keys and keeps only the head it can show; it must
// agree with a stable sort of all items by `order` on any input.
TEST_F(WidgetLayoutTest, AgreesWithAStableSortByOrderOnRandomSnapshots)
{
    std::mt19937 random(20240601);
    const std::vector<std::string> titles { "svc 1", "svc 2", "svc 10", "Svc 2", "api", "API", "Água", "agua", "café", "cafe",
        "zebra", "Zebra", "é", "e", "", "my-api (dev)", "web (dev)", "x 007", "x 7", "ß", "ss" };
    const std::vector<std::string> categories { "node", "docker", "kubernetes", "database", "server", "python", "" };
    for (int round = 0; round < 200; ++round) {
        WidgetSnapshot snapshot;
        const int count = std::uniform_int_distribution<int>(0, 40)(random);
        for (int i = 0; i < count; ++i) {
            std::optional<Date> started;
            if (random() % 3)
                started = Date(static_cast<double>(random() % 5));
            snapshot.items.push_back(item("i" + std::to_string(i), titles[random() % titles.size()],
                categories[random() % categories.size()], random() % 2 == 0, started));
        }
        const int sessions = static_cast<int>(random() % 4);
        for (int i = 0; i < sessions; ++i)
            snapshot.sessions.push_back(session("s" + std::to_string(i), static_cast<State>(random() % 3)));
        const int groups = static_cast<int>(random() % 5);
        for (int i = 0; i < groups; ++i)
            snapshot.groups.push_back(group(std::to_string(i)));

        for (const auto order : WidgetSortOrderInfo::allCases) {
            std::vector<WidgetItem> reference = snapshot.items;
            std::stable_sort(reference.begin(), reference.end(), WidgetLayout::order(order));
            for (const auto family : allFamilies) {
                const WidgetLayout layout(snapshot, family, order);
                ASSERT_LE(layout.items.size(), reference.size());
                ASSERT_TRUE(std::equal(layout.items.begin(), layout.items.end(), reference.begin()))
                    << "round " << round << ", " << rawValue(family) << ", " << rawValue(order);
            }
        }
    }
}

TEST_F(WidgetLayoutTest, LayoutsCanBeComputedOnSeveralThreadsAtOnce)
{
    const auto snapshot = snapshotOf(2, 2, 200);
    const WidgetLayout expected(snapshot, WidgetFamily::extraLarge, WidgetSortOrder::category);
    std::vector<std::thread> threads;
    std::vector<int> mismatches(4, 0);
    for (std::size_t t = 0; t < mismatches.size(); ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 50; ++i) {
                if (!(WidgetLayout(snapshot, WidgetFamily::extraLarge, WidgetSortOrder::category) == expected))
                    ++mismatches[t];
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches, std::vector<int>(4, 0));
}

// ---- The collator --------------------------------------------------------------------------------

TEST(TitleCollator, TakesTheLocaleFromLcAllThenLcCollateThenLang)
{
    ScopedEnvironment all("LC_ALL", "sv_SE.UTF-8");
    ScopedEnvironment collate("LC_COLLATE", "de_DE.UTF-8");
    ScopedEnvironment lang("LANG", "pt_BR.UTF-8");
    EXPECT_EQ(TitleCollator::environmentLocale(), "sv_SE.UTF-8");
    {
        ScopedEnvironment emptyAll("LC_ALL", "");
        EXPECT_EQ(TitleCollator::environmentLocale(), "de_DE.UTF-8");
        ScopedEnvironment noCollate("LC_COLLATE", std::nullopt);
        EXPECT_EQ(TitleCollator::environmentLocale(), "pt_BR.UTF-8");
        ScopedEnvironment noLang("LANG", std::nullopt);
        EXPECT_EQ(TitleCollator::environmentLocale(), "C");
    }
}

TEST(TitleCollator, TurnsPosixNamesIntoIcuLocaleIDs)
{
    EXPECT_EQ(TitleCollator("pt_BR.UTF-8").localeID(), "pt_BR");
    EXPECT_EQ(TitleCollator("de_DE@euro").localeID(), "de_DE");
    EXPECT_EQ(TitleCollator("sv_SE").localeID(), "sv_SE");
    EXPECT_EQ(TitleCollator("C").localeID(), "");
    EXPECT_EQ(TitleCollator("C.UTF-8").localeID(), "");
    EXPECT_EQ(TitleCollator("POSIX").localeID(), "");
    EXPECT_EQ(TitleCollator("").localeID(), "");
}

TEST(TitleCollator, FollowsTheLocaleForLettersWithDiacritics)
{
    // Swedish sorts ö after z; Portuguese sorts it with o.
    EXPECT_GT(TitleCollator("sv_SE.UTF-8").compare("öga", "zebra"), 0);
    EXPECT_LT(TitleCollator("pt_BR.UTF-8").compare("öga", "zebra"), 0);
}

TEST(TitleCollator, TheLayoutFollowsTheEnvironmentsLocale)
{
    const std::vector items { item("z", "zebra"), item("o", "öga") };
    {
        ScopedEnvironment locale("LC_ALL", "sv_SE.UTF-8");
        EXPECT_EQ(sortedIDs(items, WidgetSortOrder::category), (Ids { "z", "o" }));
    }
    {
        ScopedEnvironment locale("LC_ALL", "en_US.UTF-8");
        EXPECT_EQ(sortedIDs(items, WidgetSortOrder::category), (Ids { "o", "z" }));
    }
}

TEST(TitleCollator, AnUnknownLocaleStillOrdersSensibly)
{
    for (const char* name : { "C", "xx_YY.UTF-8", "", "not a locale" }) {
        const TitleCollator collator(name);
        EXPECT_LT(collator.compare("alpha", "Beta"), 0) << name;
        EXPECT_LT(collator.compare("svc 2", "svc 10"), 0) << name;
        EXPECT_LT(collator.compare("Água", "zebra"), 0) << name;
        EXPECT_EQ(collator.compare("API", "api"), 0) << name;
        EXPECT_NE(collator.compare("cafe", "café"), 0) << name;
    }
}

TEST(TitleCollator, IsAConsistentThreeWayComparison)
{
    const TitleCollator collator("pt_BR.UTF-8");
    const std::vector<std::string> titles { "svc 1", "svc 2", "svc 10", "Svc 2", "api", "API", "Água", "agua", "café", "cafe",
        "zebra", "", "x 007", "x 7", "ß", "ss", "\xff\xfe invalid", "日本", "ǅ", "a\u0301" };
    const auto sign = [](int value) { return (value > 0) - (value < 0); };
    for (const auto& a : titles) {
        EXPECT_EQ(collator.compare(a, a), 0) << '"' << a << '"';
        for (const auto& b : titles) {
            EXPECT_EQ(sign(collator.compare(a, b)), -sign(collator.compare(b, a))) << '"' << a << "\" vs \"" << b << '"';
            for (const auto& c : titles) {
                if (collator.compare(a, b) < 0 && collator.compare(b, c) < 0) {
                    EXPECT_LT(collator.compare(a, c), 0) << '"' << a << "\" < \"" << b << "\" < \"" << c << '"';
                }
            }
        }
    }
}

TEST(TitleCollator, CurrentIsRebuiltWhenTheEnvironmentChanges)
{
    ScopedEnvironment first("LC_ALL", "sv_SE.UTF-8");
    const auto swedish = TitleCollator::current();
    EXPECT_EQ(swedish->localeID(), "sv_SE");
    EXPECT_EQ(TitleCollator::current(), swedish); // reused while the locale stays
    ScopedEnvironment second("LC_ALL", "pt_BR.UTF-8");
    EXPECT_EQ(TitleCollator::current()->localeID(), "pt_BR");
    EXPECT_EQ(swedish->localeID(), "sv_SE"); // an instance in use never changes
}

TEST(TitleCollator, EachThreadHasItsOwn)
{
    ScopedEnvironment locale("LC_ALL", "pt_BR.UTF-8");
    const auto mine = TitleCollator::current();
    std::shared_ptr<const TitleCollator> theirs;
    std::thread([&] { theirs = TitleCollator::current(); }).join();
    EXPECT_NE(mine, theirs);
    EXPECT_EQ(theirs->localeID(), "pt_BR");
}

TEST(TitleCollator, TitlesAlikeBeyondWhatIsCollatedGoByTheirBytes)
{
    const TitleCollator collator("pt_BR.UTF-8");
    const std::string body(1 << 20, 'x');
    EXPECT_LT(collator.compare(body + "a", body + "b"), 0);
    EXPECT_GT(collator.compare(body + "b", body + "a"), 0);
    EXPECT_EQ(collator.compare(body, body), 0);
    // Within the collated start the collator still rules: case does not count, numbers do.
    EXPECT_EQ(collator.compare("Alpha" + body, "alpha" + body), 0);
    EXPECT_LT(collator.compare("svc 2" + body, "svc 10" + body), 0);
    // The cut never falls inside a character.
    std::string accented;
    while (accented.size() < TitleCollator::longestCollatedBytes + 8)
        accented += "é";
    EXPECT_EQ(quelm::detail::collatedHead(accented).size() % 2, 0u);
    EXPECT_EQ(collator.compare(accented + "a", accented + "b") < 0, true);
}
