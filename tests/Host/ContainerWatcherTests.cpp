// SPDX-License-Identifier: MIT
#include "Host/ContainerWatcher.h"

#include "HostTestSupport.h"

#include <quelm/Uuid.h>

#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTimer>

using namespace quelm;
using namespace quelm::host;

namespace {

class ContainerWatcherTest : public test::HostTest {
protected:
    QString root() const { return QString::fromStdString(store().root().string()); }
    QString qt(const std::filesystem::path& path) const { return QString::fromStdString(path.string()); }

    static WidgetSnapshot snapshot()
    {
        WidgetSnapshot snapshot;
        snapshot.items = { WidgetItem { "a", "alpha", "node", true } };
        snapshot.updatedAt = Date::now();
        return snapshot;
    }
};

}

TEST_F(ContainerWatcherTest, WatchesTheContainerAndItsCommands)
{
    store().writeSnapshot(snapshot());
    store().enqueue(WidgetCommand("a", WidgetCommand::Action::stop, Uuid::random(), Date::now()));
    const ContainerWatcher watcher(root());
    EXPECT_TRUE(watcher.watchedDirectories().contains(root()));
    EXPECT_TRUE(watcher.watchedDirectories().contains(root() + QStringLiteral("/commands")));
    EXPECT_EQ(watcher.watchedDirectories().size(), 2);
}

TEST_F(ContainerWatcherTest, ANewSnapshotIsNoticed)
{
    store().writeSnapshot(snapshot());
    ContainerWatcher watcher(root());
    QSignalSpy changed(&watcher, &ContainerWatcher::changed);
    store().writeSnapshot(snapshot());
    EXPECT_TRUE(changed.wait(test::eventDeadlineMilliseconds));
}

TEST_F(ContainerWatcherTest, ASteadyStreamOfWritesIsStillReported)
{
    store().writeSnapshot(snapshot());
    ContainerWatcher watcher(root());
    QSignalSpy changed(&watcher, &ContainerWatcher::changed);
    // Far more often than the quiet time: a restarting quiet timer alone would never fire.
    QTimer writer;
    writer.setInterval(ContainerWatcher::quietTimeMilliseconds / 10);
    QObject::connect(&writer, &QTimer::timeout, [&] { store().touchHeartbeat(Date::now()); });
    writer.start();
    EXPECT_TRUE(test::waitFor([&] { return changed.count() >= 3; }));
    writer.stop();
}

TEST_F(ContainerWatcherTest, ATakenCommandIsNoticed)
{
    store().writeSnapshot(snapshot());
    store().enqueue(WidgetCommand("a", WidgetCommand::Action::stop, Uuid::random(), Date::now()));
    ContainerWatcher watcher(root());
    QSignalSpy changed(&watcher, &ContainerWatcher::changed);
    ASSERT_EQ(store().drainCommands().size(), 1u);
    EXPECT_TRUE(changed.wait(test::eventDeadlineMilliseconds));
}

TEST_F(ContainerWatcherTest, BeforeTheContainerExistsTheClosestFolderAboveIsWatched)
{
    ContainerWatcher watcher(root());
    // Neither XDG_DATA_HOME nor anything below it exists yet.
    EXPECT_EQ(watcher.watchedDirectories(), QStringList { qt(directory.path()) });

    QSignalSpy changed(&watcher, &ContainerWatcher::changed);
    store().writeSnapshot(snapshot());
    ASSERT_TRUE(test::waitFor([&] { return watcher.watchedDirectories().contains(root()); }));
    EXPECT_TRUE(changed.count() > 0 || changed.wait(test::eventDeadlineMilliseconds));
}

TEST_F(ContainerWatcherTest, ARemovedContainerIsWaitedForAgain)
{
    store().writeSnapshot(snapshot());
    ContainerWatcher watcher(root());
    QSignalSpy changed(&watcher, &ContainerWatcher::changed);
    std::filesystem::remove_all(store().root());
    ASSERT_TRUE(changed.wait(test::eventDeadlineMilliseconds));
    EXPECT_EQ(watcher.watchedDirectories(), QStringList { qt(store().root().parent_path()) });
}

TEST_F(ContainerWatcherTest, WithoutAContainerNothingIsWatched)
{
    const ContainerWatcher watcher { QString() };
    EXPECT_TRUE(watcher.watchedDirectories().isEmpty());
}
