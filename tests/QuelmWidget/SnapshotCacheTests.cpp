// SPDX-License-Identifier: MIT
#include "Timeline/SnapshotCache.h"

#include "TestSupport.h"

#include <quelm/SharedStore.h>
#include <quelm/Uuid.h>
#include <quelm/WidgetCommand.h>

#include <gtest/gtest.h>

#include <filesystem>

#include <sys/stat.h>

using namespace quelm;
using quelm::test::TemporaryDirectory;

namespace {

WidgetSnapshot snapshotWith(const std::string& title, Date updatedAt)
{
    WidgetSnapshot snapshot;
    snapshot.items = { WidgetItem { "api", title, "node", true } };
    snapshot.updatedAt = updatedAt;
    return snapshot;
}

class SnapshotCacheTest : public ::testing::Test {
protected:
    SnapshotCacheTest()
        : store(directory.path() / "container")
    {
        std::filesystem::create_directory(store.root());
        ::chmod(store.root().c_str(), 0700);
    }

    TemporaryDirectory directory;
    SharedStore store;
    SnapshotCache cache;
};

}

TEST_F(SnapshotCacheTest, DecodesTheSnapshotOnceWhileItStaysTheSame)
{
    store.writeSnapshot(snapshotWith("api", Date(100)));
    EXPECT_EQ(cache.read(store), store.readSnapshot());
    // A heartbeat and a click change the container, not the snapshot.
    store.touchHeartbeat(Date(200));
    store.enqueue(WidgetCommand("api", WidgetCommand::Action::stop, Uuid::random(), Date(201)));
    store.markPending(WidgetCommand("api", WidgetCommand::Action::stop, Uuid::random(), Date(201)));
    EXPECT_EQ(cache.read(store).items.at(0).title, "api");
    EXPECT_EQ(cache.read(store).items.at(0).title, "api");
    EXPECT_EQ(cache.decodeCount(), 1u);
}

TEST_F(SnapshotCacheTest, DecodesAgainWhenANewSnapshotIsPublished)
{
    store.writeSnapshot(snapshotWith("before", Date(100)));
    EXPECT_EQ(cache.read(store).items.at(0).title, "before");
    // Same size, same second: the new file is still another file.
    store.writeSnapshot(snapshotWith("after!", Date(100)));
    EXPECT_EQ(cache.read(store).items.at(0).title, "after!");
    EXPECT_EQ(cache.decodeCount(), 2u);
}

TEST_F(SnapshotCacheTest, KeepsNothingForAMissingSnapshot)
{
    EXPECT_EQ(cache.read(store), WidgetSnapshot::empty);
    store.writeSnapshot(snapshotWith("late", Date(100)));
    EXPECT_EQ(cache.read(store).items.at(0).title, "late");
}

TEST_F(SnapshotCacheTest, AContainerOpenedToOthersIsReadAgainAndRefused)
{
    store.writeSnapshot(snapshotWith("api", Date(100)));
    ASSERT_EQ(cache.read(store).items.size(), 1u);
    ::chmod(store.root().c_str(), 0777);
    EXPECT_EQ(cache.read(store), store.readSnapshot());
    EXPECT_EQ(cache.read(store), WidgetSnapshot::empty);
}

TEST_F(SnapshotCacheTest, AnotherContainerIsNeverAnsweredFromTheFirst)
{
    store.writeSnapshot(snapshotWith("first", Date(100)));
    EXPECT_EQ(cache.read(store).items.at(0).title, "first");
    SharedStore other(directory.path() / "other");
    std::filesystem::create_directory(other.root());
    ::chmod(other.root().c_str(), 0700);
    other.writeSnapshot(snapshotWith("other", Date(100)));
    EXPECT_EQ(cache.read(other).items.at(0).title, "other");
}
