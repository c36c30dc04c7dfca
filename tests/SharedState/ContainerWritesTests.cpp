// SPDX-License-Identifier: MIT
// What the writers guarantee beyond one atomic file: they refuse what a reader would refuse,
// serialise the marks of several processes, sweep the temporary files of writers that died, never
// write into a container that is not private, and the queue is never emptied across a mount.

#include <quelm/SharedStore.h>

#include "ChildProcess.h"
#include "TestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <stdexcept>
#include <ctime>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace quelm;
using quelm::test::TemporaryDirectory;
using quelm::test::entriesOf;
using quelm::test::readFile;
using quelm::test::runInChild;
using quelm::test::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

namespace {

constexpr double aMoment = 1'700'000'000.0;
constexpr std::size_t documentCap = 16 * 1024 * 1024;
constexpr std::size_t commandCap = 64 * 1024;

WidgetCommand commandFor(const std::string& itemID)
{
    return WidgetCommand(itemID, WidgetCommand::Action::start, Uuid::random(), Date(aMoment));
}

// A command whose wire form is exactly `size` bytes.
WidgetCommand commandOfSize(std::size_t size)
{
    auto command = commandFor("");
    const std::size_t overhead = encode(command).size();
    command.itemID.assign(size - overhead, 'x');
    return command;
}

WidgetSnapshot snapshotOfSize(std::size_t size)
{
    WidgetSnapshot snapshot;
    snapshot.updatedAt = Date(aMoment);
    snapshot.language = "";
    const std::size_t overhead = encode(snapshot).size();
    snapshot.language->assign(size - overhead, 'a');
    return snapshot;
}

void age(const fs::path& path, int seconds)
{
    timespec times[2];
    ::clock_gettime(CLOCK_REALTIME, &times[0]);
    times[0].tv_sec -= seconds;
    times[1] = times[0];
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << std::strerror(errno);
}

template<class Operation>
std::error_code errorOf(Operation operation)
{
    try {
        operation();
    } catch (const std::system_error& error) {
        return error.code();
    }
    return {};
}

class ContainerWrites : public testing::Test {
protected:
    TemporaryDirectory temporary;
    fs::path container = temporary / "container";
    SharedStore store { container };
    fs::path commands = container / "commands";
};

}

TEST_F(ContainerWrites, ACommandIsWrittenUpToTheReadCapAndRefusedOneByteOver)
{
    const auto atCap = commandOfSize(commandCap);
    ASSERT_EQ(encode(atCap).size(), commandCap);
    store.enqueue(atCap);
    const auto over = commandOfSize(commandCap + 1);
    EXPECT_EQ(errorOf([&] { store.enqueue(over); }), std::errc::file_too_large);
    EXPECT_THAT(entriesOf(commands), ElementsAre(atCap.id.string() + ".json"));
    EXPECT_THAT(store.drainCommands(), ElementsAre(atCap));
}

TEST_F(ContainerWrites, ASnapshotIsWrittenUpToTheReadCapAndRefusedOneByteOver)
{
    const auto atCap = snapshotOfSize(documentCap);
    ASSERT_EQ(encode(atCap).size(), documentCap);
    store.writeSnapshot(atCap);
    EXPECT_EQ(store.readSnapshot(), atCap);
    try {
        store.writeSnapshot(snapshotOfSize(documentCap + 1));
        ADD_FAILURE() << "a snapshot over the cap was written";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::file_too_large);
        EXPECT_THAT(error.what(), testing::HasSubstr("16 MiB"));
    }
    EXPECT_EQ(store.readSnapshot(), atCap);
}

// A mark whose file, holding it alone, is exactly `size` bytes: the id is both key and value, so
// the action ("start" or "stop", one byte apart) evens the length out.
WidgetCommand markOfSize(std::size_t size)
{
    for (auto action : { WidgetCommand::Action::start, WidgetCommand::Action::stop }) {
        WidgetCommand mark("", action, Uuid::random(), Date(aMoment));
        const std::size_t overhead = encode(PendingCommands { { "", mark } }).size();
        if ((size - overhead) % 2 == 0) {
            mark.itemID.assign((size - overhead) / 2, 'x');
            return mark;
        }
    }
    throw std::logic_error("no mark of that size");
}

TEST_F(ContainerWrites, MarksAreWrittenUpToTheReadCapAndRefusedOneByteOver)
{
    fs::create_directory(container);
    const auto atCap = markOfSize(documentCap);
    ASSERT_EQ(encode(PendingCommands { { atCap.itemID, atCap } }).size(), documentCap);
    std::error_code error;
    store.markPending(atCap, error);
    EXPECT_FALSE(error) << error.message();
    EXPECT_EQ(fs::file_size(container / "pending.json"), documentCap);
    EXPECT_EQ(store.pendingCommands(WidgetSnapshot::empty, Date(aMoment + 1), 20).size(), 1u);

    fs::remove(container / "pending.json");
    const auto over = markOfSize(documentCap + 1);
    ASSERT_EQ(encode(PendingCommands { { over.itemID, over } }).size(), documentCap + 1);
    store.markPending(over, error);
    EXPECT_EQ(error, std::errc::file_too_large);
    EXPECT_FALSE(fs::exists(container / "pending.json"));
}

TEST_F(ContainerWrites, AMarkThatCannotBeWrittenSaysWhy)
{
    fs::create_directories(container / "pending.json");
    std::error_code error;
    store.markPending(commandFor("api"), error);
    EXPECT_TRUE(error);
    EXPECT_TRUE(fs::is_directory(container / "pending.json"));

    std::error_code noRoot;
    SharedStore(temporary / "missing").markPending(commandFor("api"), noRoot);
    EXPECT_EQ(noRoot, std::errc::no_such_file_or_directory);
    EXPECT_FALSE(fs::exists(temporary / "missing"));
}

TEST_F(ContainerWrites, AHeartbeatThatCannotBeWrittenSaysWhy)
{
    std::error_code error;
    store.touchHeartbeat(Date(aMoment), error);
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    fs::create_directories(container / "heartbeat");
    store.touchHeartbeat(Date(aMoment), error);
    EXPECT_TRUE(error);
    fs::remove(container / "heartbeat");
    store.touchHeartbeat(Date(aMoment), error);
    EXPECT_FALSE(error) << error.message();
    EXPECT_EQ(readFile(container / "heartbeat"), "1700000000.0");
}

// Eight widget processes marking at once: before the lock, two thirds of the marks were lost.
TEST_F(ContainerWrites, EightProcessesMarkingAtOnceLoseNoMark)
{
    fs::create_directory(container);
    constexpr int processes = 8;
    constexpr int marksEach = 50;
    std::vector<pid_t> children;
    for (int p = 0; p < processes; ++p) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int i = 0; i < marksEach; ++i) {
                std::error_code error;
                store.markPending(commandFor("item-" + std::to_string(p) + "-" + std::to_string(i)), error);
                if (error)
                    ::_exit(1);
            }
            ::_exit(0);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    const auto marks = decode<PendingCommands>(readFile(container / "pending.json"));
    std::cout << processes * marksEach << " marks from " << processes << " processes: " << marks.size() << " kept\n";
    EXPECT_EQ(marks.size(), std::size_t(processes * marksEach));
}

TEST_F(ContainerWrites, EachWriterSweepsItsOwnKindOfStaleTemporaryFiles)
{
    store.writeSnapshot(WidgetSnapshot::empty);
    const std::string uuid = Uuid::random().string();
    const std::vector<std::string> leftovers {
        ".snapshot.json.AAAAAA", ".heartbeat.BBBBBB", ".pending.json.CCCCCC", "." + uuid + ".json.DDDDDD",
    };
    for (const auto& name : leftovers) {
        writeFile(container / name, "left by a writer that was killed");
        age(container / name, 120);
        const auto fresh = name.substr(0, name.size() - 6) + "zzzzzz";
        writeFile(container / fresh, "a write under way");
    }
    // Not a temporary of any writer: left, however old.
    writeFile(container / ".snapshot.json.old", "someone's");
    age(container / ".snapshot.json.old", 120);

    store.writeSnapshot(WidgetSnapshot::empty);
    EXPECT_FALSE(fs::exists(container / leftovers[0]));
    EXPECT_TRUE(fs::exists(container / leftovers[1]));
    store.touchHeartbeat(Date(aMoment));
    EXPECT_FALSE(fs::exists(container / leftovers[1]));
    EXPECT_TRUE(fs::exists(container / leftovers[2]));
    store.markPending(commandFor("api"));
    EXPECT_FALSE(fs::exists(container / leftovers[2]));
    EXPECT_TRUE(fs::exists(container / leftovers[3]));
    store.enqueue(commandFor("api"));
    EXPECT_FALSE(fs::exists(container / leftovers[3]));

    for (const auto& name : leftovers)
        EXPECT_TRUE(fs::exists(container / (name.substr(0, name.size() - 6) + "zzzzzz"))) << name;
    EXPECT_TRUE(fs::exists(container / ".snapshot.json.old"));
}

TEST_F(ContainerWrites, AContainerOthersMayWriteIsNeitherReadNorWritten)
{
    store.writeSnapshot(WidgetSnapshot::empty);
    store.touchHeartbeat(Date(aMoment));
    store.markPending(commandFor("api"));
    const auto injected = commandFor("db");
    store.enqueue(injected);
    for (const auto& [directory, mode] : std::vector<std::pair<fs::path, mode_t>> { { container, 0777 }, { container, 0770 }, { commands, 0757 } }) {
        SCOPED_TRACE(directory.string() + " at mode " + std::to_string(mode));
        ASSERT_EQ(::chmod(directory.c_str(), mode), 0);
        EXPECT_FALSE(store.refusal().empty());
        if (directory == container) {
            EXPECT_EQ(store.appStatus(Date(aMoment)), SharedStore::AppStatus::noAccess);
            EXPECT_EQ(store.readSnapshot(), WidgetSnapshot::empty);
            EXPECT_TRUE(store.pendingCommands(WidgetSnapshot::empty, Date(aMoment - 1), 20).empty());
            EXPECT_EQ(errorOf([&] { store.writeSnapshot(WidgetSnapshot::empty); }), std::errc::permission_denied);
            std::error_code error;
            store.touchHeartbeat(Date(aMoment), error);
            EXPECT_EQ(error, std::errc::permission_denied);
            store.markPending(commandFor("api"), error);
            EXPECT_EQ(error, std::errc::permission_denied);
        }
        EXPECT_TRUE(store.drainCommands().empty());
        EXPECT_EQ(errorOf([&] { store.enqueue(commandFor("api")); }), std::errc::permission_denied);
        ASSERT_EQ(::chmod(directory.c_str(), 0700), 0);
    }
    EXPECT_TRUE(store.refusal().empty());
    EXPECT_THAT(store.drainCommands(), ElementsAre(injected));
}

TEST_F(ContainerWrites, AContainerOfAnotherUserIsNeitherReadNorWritten)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root to give the container to another user";
    store.writeSnapshot(WidgetSnapshot::empty);
    store.enqueue(commandFor("api"));
    ASSERT_EQ(::chown(container.c_str(), test::nobody, test::nobody), 0);
    EXPECT_THAT(store.refusal(), testing::HasSubstr("another user"));
    EXPECT_EQ(store.appStatus(Date(aMoment)), SharedStore::AppStatus::noAccess);
    EXPECT_TRUE(store.drainCommands().empty());
    EXPECT_EQ(errorOf([&] { store.writeSnapshot(WidgetSnapshot::empty); }), std::errc::permission_denied);
    EXPECT_EQ(errorOf([&] { store.enqueue(commandFor("api")); }), std::errc::permission_denied);
    EXPECT_EQ(entriesOf(commands).size(), 1u);
}

TEST_F(ContainerWrites, WhatTheStoreCreatesIsPrivate)
{
    store.enqueue(commandFor("api"));
    EXPECT_EQ(test::permissions(container), 0700u);
    EXPECT_EQ(test::permissions(commands), 0700u);
    EXPECT_TRUE(store.refusal().empty());
}

// A file system mounted inside "commands" is never entered: neither drain reaches the files there.
TEST_F(ContainerWrites, AMountPointInTheQueueIsNeverEntered)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root for a mount namespace of its own";
    const auto queued = commandFor("api");
    store.enqueue(queued);
    const fs::path outside = temporary / "outside";
    fs::create_directories(outside / "nested");
    writeFile(outside / "file.json", "outside the container");
    writeFile(outside / "nested" / "deeper.json", encode(commandFor("db")));
    fs::create_directory(commands / "mounted");
    const auto outcome = runInChild([&] {
        if (::unshare(CLONE_NEWNS) != 0)
            return std::string("unsupported: no mount namespace (") + std::strerror(errno) + ")";
        if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            return std::string("unsupported: mounts cannot be made private (") + std::strerror(errno) + ")";
        if (::mount(outside.c_str(), (commands / "mounted").c_str(), nullptr, MS_BIND, nullptr) != 0)
            return std::string("unsupported: no bind mount (") + std::strerror(errno) + ")";
        std::string findings;
        if (store.drainCommands() != std::vector<WidgetCommand> { queued })
            findings += "the drain did not return just the queued command\n";
        if (!fs::exists(commands / "mounted" / "file.json") || !fs::exists(commands / "mounted" / "nested" / "deeper.json"))
            findings += "the drain deleted files on the mounted file system\n";
        return findings;
    });
    if (outcome.report.rfind("unsupported: ", 0) == 0)
        GTEST_SKIP() << outcome.report;
    EXPECT_TRUE(outcome.succeeded()) << outcome.describe();
    EXPECT_EQ(readFile(outside / "file.json"), "outside the container");
    EXPECT_TRUE(fs::exists(outside / "nested" / "deeper.json"));
}
