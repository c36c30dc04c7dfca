// SPDX-License-Identifier: MIT
#include <quelm/SharedStore.h>

#include "TestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace quelm;
using quelm::test::TemporaryDirectory;
using quelm::test::makeSocket;
using quelm::test::entriesOf;
using quelm::test::permissions;
using quelm::test::readFile;
using quelm::test::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

namespace {

constexpr double aMoment = 1'700'000'000.0;

WidgetCommand command(std::string itemID, WidgetCommand::Action action, double issuedAt)
{
    return WidgetCommand(std::move(itemID), action, Uuid::random(), Date(issuedAt));
}

WidgetSnapshot snapshotAt(double updatedAt)
{
    WidgetSnapshot snapshot;
    snapshot.updatedAt = Date(updatedAt);
    return snapshot;
}

// The names in the order the platform lists them.
std::vector<std::string> listingOrder(const fs::path& directory)
{
    std::vector<std::string> names;
    DIR* listing = ::opendir(directory.c_str());
    if (!listing)
        throw std::system_error(errno, std::generic_category(), directory.string());
    while (const dirent* entry = ::readdir(listing)) {
        std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    ::closedir(listing);
    return names;
}

void writeCommandFile(const fs::path& path, const WidgetCommand& command)
{
    writeFile(path, encode(command));
}

class CommandQueue : public testing::Test {
protected:
    TemporaryDirectory temporary;
    SharedStore store { temporary / "container" };
    fs::path commands = temporary / "container" / "commands";
    fs::path pending = temporary / "container" / "pending.json";

    // A directory outside the container, for links to point at.
    fs::path outside = temporary / "outside";
};

}

// enqueue

TEST_F(CommandQueue, EnqueueCreatesTheDirectoryAndOneFileNamedByTheUpperCaseId)
{
    auto id = Uuid::parse("0a1b2c3d-4e5f-4a6b-8c7d-8e9fa0b1c2d3");
    ASSERT_TRUE(id);
    WidgetCommand toggled("api", WidgetCommand::Action::start, *id, Date(aMoment));
    store.enqueue(toggled);

    EXPECT_THAT(entriesOf(commands), ElementsAre("0A1B2C3D-4E5F-4A6B-8C7D-8E9FA0B1C2D3.json"));
    auto file = commands / "0A1B2C3D-4E5F-4A6B-8C7D-8E9FA0B1C2D3.json";
    EXPECT_EQ(readFile(file), encode(toggled));
    EXPECT_EQ(decode<WidgetCommand>(readFile(file)), toggled);
    EXPECT_EQ(permissions(store.root()), 0700u);
    EXPECT_EQ(permissions(commands), 0700u);
    EXPECT_EQ(permissions(file), 0600u);
    EXPECT_THAT(entriesOf(store.root()), ElementsAre("commands"));
}

TEST_F(CommandQueue, EachCommandHasAFileOfItsOwn)
{
    auto first = command("api", WidgetCommand::Action::start, aMoment);
    auto second = command("api", WidgetCommand::Action::stop, aMoment + 1);
    store.enqueue(first);
    store.enqueue(second);
    auto expected = std::vector { first.id.string() + ".json", second.id.string() + ".json" };
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(entriesOf(commands), expected);
}

TEST_F(CommandQueue, EnqueueIntoAFileNamedCommandsThrowsAndWritesNothing)
{
    fs::create_directory(store.root());
    writeFile(commands, "not a directory");
    try {
        store.enqueue(command("api", WidgetCommand::Action::start, aMoment));
        FAIL() << "no error";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::not_a_directory) << error.what();
    }
    EXPECT_EQ(readFile(commands), "not a directory");
    EXPECT_THAT(entriesOf(store.root()), ElementsAre("commands"));
}

TEST_F(CommandQueue, EnqueueIntoARootThatIsAFileThrows)
{
    writeFile(store.root(), "not a directory");
    EXPECT_THROW(store.enqueue(command("api", WidgetCommand::Action::start, aMoment)), std::system_error);
    EXPECT_EQ(readFile(store.root()), "not a directory");
}

TEST_F(CommandQueue, EnqueueEncodingErrorIsThrownAndNoFileIsWritten)
{
    EXPECT_THROW(store.enqueue(command("\xff\xfe", WidgetCommand::Action::start, aMoment)), EncodingError);
    EXPECT_THAT(entriesOf(commands), IsEmpty());
}

// markPending

TEST_F(CommandQueue, TheLaterMarkForAnItemWinsWhateverItsIssueTime)
{
    fs::create_directory(store.root());
    auto first = command("api", WidgetCommand::Action::start, aMoment);
    auto second = command("api", WidgetCommand::Action::stop, aMoment - 100);
    store.markPending(first);
    store.markPending(second);
    auto marks = decode<PendingCommands>(readFile(pending));
    ASSERT_EQ(marks.size(), 1u);
    EXPECT_EQ(marks.at("api"), second);
    EXPECT_EQ(permissions(pending), 0600u);
    // The lock file that serialises the marks of several processes, and nothing else.
    EXPECT_THAT(entriesOf(store.root()), ElementsAre("pending.json", "pending.lock"));
    EXPECT_EQ(permissions(store.root() / "pending.lock"), 0600u);
}

TEST_F(CommandQueue, MarksForOtherItemsStayHoweverOld)
{
    fs::create_directory(store.root());
    auto old = command("db", WidgetCommand::Action::stop, 10);
    auto recent = command("api", WidgetCommand::Action::start, aMoment);
    store.markPending(old);
    store.markPending(recent);
    EXPECT_EQ(decode<PendingCommands>(readFile(pending)), (PendingCommands { { "api", recent }, { "db", old } }));
}

TEST_F(CommandQueue, MarkOverADamagedFileKeepsOnlyTheNewCommand)
{
    fs::create_directory(store.root());
    auto toggled = command("api", WidgetCommand::Action::start, aMoment);
    for (const char* damaged : { "garbage", "[]", "", "{\"db\":{\"id\":\"x\"}}", "{\"db\":", "{\"n\":1e999}" }) {
        writeFile(pending, damaged);
        store.markPending(toggled);
        EXPECT_EQ(decode<PendingCommands>(readFile(pending)), (PendingCommands { { "api", toggled } })) << damaged;
    }
}

TEST_F(CommandQueue, MarkWithoutARootFailsSilentlyAndCreatesNothing)
{
    store.markPending(command("api", WidgetCommand::Action::start, aMoment));
    EXPECT_THAT(entriesOf(temporary.path()), IsEmpty());
}

// pendingCommands

TEST_F(CommandQueue, ACommandIssuedAtTheSnapshotsInstantIsAnswered)
{
    fs::create_directory(store.root());
    store.markPending(command("api", WidgetCommand::Action::start, aMoment));
    EXPECT_THAT(store.pendingCommands(snapshotAt(aMoment), Date(aMoment + 1), 20), IsEmpty());
    EXPECT_EQ(store.pendingCommands(snapshotAt(aMoment - 0.001), Date(aMoment + 1), 20).size(), 1u);
}

TEST_F(CommandQueue, ACommandIsPendingForLessThanTheMaximumAge)
{
    fs::create_directory(store.root());
    auto toggled = command("api", WidgetCommand::Action::start, aMoment);
    store.markPending(toggled);
    const auto before = snapshotAt(aMoment - 60);
    EXPECT_EQ(store.pendingCommands(before, Date(aMoment + 19.9), 20), (PendingCommands { { "api", toggled } }));
    EXPECT_THAT(store.pendingCommands(before, Date(aMoment + 20), 20), IsEmpty());
    EXPECT_THAT(store.pendingCommands(before, Date(aMoment + 300), 20), IsEmpty());
    // Issued after `now`: a negative age, kept.
    EXPECT_EQ(store.pendingCommands(before, Date(aMoment - 30), 20).size(), 1u);
}

TEST_F(CommandQueue, OnlyTheEntriesStillPendingAreReturnedAndTheFileStaysAsItIs)
{
    fs::create_directory(store.root());
    auto answered = command("a", WidgetCommand::Action::start, aMoment - 10);
    auto expired = command("b", WidgetCommand::Action::stop, aMoment - 30);
    auto waiting = command("c", WidgetCommand::Action::start, aMoment - 1);
    for (const auto& mark : { answered, expired, waiting })
        store.markPending(mark);
    const auto before = readFile(pending);
    EXPECT_EQ(store.pendingCommands(snapshotAt(aMoment - 5), Date(aMoment), 20), (PendingCommands { { "c", waiting } }));
    EXPECT_EQ(readFile(pending), before);
}

TEST_F(CommandQueue, EntriesComeBackUnderTheirKeysAsInTheFile)
{
    fs::create_directory(store.root());
    auto toggled = command("api", WidgetCommand::Action::stop, aMoment);
    writeFile(pending, "{\"alias\":" + encode(toggled) + "}");
    EXPECT_EQ(store.pendingCommands(snapshotAt(0), Date(aMoment), 20), (PendingCommands { { "alias", toggled } }));
}

TEST_F(CommandQueue, AMissingEmptyArrayOrDamagedPendingFileGivesNoMarks)
{
    EXPECT_THAT(store.pendingCommands(snapshotAt(0), Date(aMoment), 20), IsEmpty());
    fs::create_directory(store.root());
    EXPECT_THAT(store.pendingCommands(snapshotAt(0), Date(aMoment), 20), IsEmpty());
    for (const char* content : { "[]", "garbage", "", "{\"api\":{}}" }) {
        writeFile(pending, content);
        EXPECT_THAT(store.pendingCommands(snapshotAt(0), Date(aMoment), 20), IsEmpty()) << content;
        EXPECT_EQ(readFile(pending), content);
    }
    fs::remove(pending);
    fs::create_directory(pending);
    EXPECT_THAT(store.pendingCommands(snapshotAt(0), Date(aMoment), 20), IsEmpty());
}

// drainCommands

TEST_F(CommandQueue, DrainReturnsTheCommandsInIssueOrderAndDeletesEverything)
{
    auto later = command("api", WidgetCommand::Action::stop, aMoment + 5);
    auto earlier = command("db", WidgetCommand::Action::start, aMoment);
    store.enqueue(later);
    store.enqueue(earlier);
    writeFile(commands / "garbage.json", "{ not json");
    EXPECT_THAT(store.drainCommands(), ElementsAre(earlier, later));
    EXPECT_THAT(entriesOf(commands), IsEmpty());
    EXPECT_THAT(store.drainCommands(), IsEmpty());
}

TEST_F(CommandQueue, DrainWithoutACommandsDirectoryReturnsNothingAndCreatesNothing)
{
    EXPECT_THAT(store.drainCommands(), IsEmpty());
    EXPECT_FALSE(fs::exists(store.root()));
    fs::create_directory(store.root());
    EXPECT_THAT(store.drainCommands(), IsEmpty());
    EXPECT_THAT(entriesOf(store.root()), IsEmpty());
}

TEST_F(CommandQueue, CommandsIssuedAtTheSameInstantKeepTheListingOrder)
{
    // Enough of them that an unstable sort would show.
    std::vector<WidgetCommand> queued;
    for (int i = 0; i < 200; ++i)
        queued.push_back(command("item-" + std::to_string(i), WidgetCommand::Action::start, aMoment + (i % 3 == 0 ? i : 0)));
    fs::create_directories(commands);
    for (const auto& each : queued)
        writeCommandFile(commands / (each.id.string() + ".json"), each);

    std::vector<WidgetCommand> expected;
    for (const auto& name : listingOrder(commands))
        expected.push_back(decode<WidgetCommand>(readFile(commands / name)));
    std::stable_sort(expected.begin(), expected.end(), [](const auto& a, const auto& b) { return a.issuedAt < b.issuedAt; });
    EXPECT_EQ(store.drainCommands(), expected);
}

TEST_F(CommandQueue, DrainTakesEveryEntryWhateverItsName)
{
    auto hidden = command("hidden", WidgetCommand::Action::start, aMoment);
    auto plain = command("plain", WidgetCommand::Action::stop, aMoment + 1);
    fs::create_directories(commands);
    writeCommandFile(commands / ".hidden", hidden);
    writeCommandFile(commands / "no-extension", plain);
    EXPECT_THAT(store.drainCommands(), ElementsAre(hidden, plain));
    EXPECT_THAT(entriesOf(commands), IsEmpty());
}

TEST_F(CommandQueue, DrainLeavesThePendingMarksAlone)
{
    auto toggled = command("api", WidgetCommand::Action::start, aMoment);
    store.enqueue(toggled);
    store.markPending(toggled);
    const auto marks = readFile(pending);
    EXPECT_THAT(store.drainCommands(), ElementsAre(toggled));
    EXPECT_EQ(readFile(pending), marks);
}

TEST_F(CommandQueue, ACommandFileLargerThan64KiBIsDeletedUnread)
{
    auto small = command("api", WidgetCommand::Action::start, aMoment);
    auto padded = command("db", WidgetCommand::Action::start, aMoment);
    fs::create_directories(commands);
    auto text = encode(padded);
    writeFile(commands / "fits", text + std::string(64 * 1024 - text.size(), ' '));
    writeFile(commands / "too-large", encode(small) + std::string(64 * 1024 - encode(small).size() + 1, ' '));
    EXPECT_THAT(store.drainCommands(), ElementsAre(padded));
    EXPECT_THAT(entriesOf(commands), IsEmpty());
}

TEST_F(CommandQueue, FifoAndSocketEntriesAreDeletedWithoutHanging)
{
    auto queued = command("api", WidgetCommand::Action::start, aMoment);
    store.enqueue(queued);
    ASSERT_EQ(::mkfifo((commands / "fifo").c_str(), 0600), 0);
    makeSocket(commands / "socket");
    ASSERT_TRUE(fs::is_fifo(commands / "fifo"));
    ASSERT_TRUE(fs::is_socket(commands / "socket"));
    EXPECT_THAT(store.drainCommands(), ElementsAre(queued));
    EXPECT_THAT(entriesOf(commands), IsEmpty());
}

TEST_F(CommandQueue, LinksAreUnlinkedAndWhatTheyPointAtIsUntouched)
{
    // A valid command outside the container, and a directory of them.
    auto foreign = command("foreign", WidgetCommand::Action::stop, aMoment);
    fs::create_directories(outside / "directory");
    writeCommandFile(outside / "command.json", foreign);
    writeCommandFile(outside / "directory" / "command.json", foreign);

    auto queued = command("api", WidgetCommand::Action::start, aMoment);
    store.enqueue(queued);
    fs::create_symlink(outside / "command.json", commands / "to-file.json");
    fs::create_directory_symlink(outside / "directory", commands / "to-directory");
    fs::create_symlink(outside / "nowhere.json", commands / "dangling.json");

    EXPECT_THAT(store.drainCommands(), ElementsAre(queued));
    EXPECT_THAT(entriesOf(commands), IsEmpty());
    EXPECT_EQ(readFile(outside / "command.json"), encode(foreign));
    EXPECT_THAT(entriesOf(outside / "directory"), ElementsAre("command.json"));
    EXPECT_EQ(readFile(outside / "directory" / "command.json"), encode(foreign));
    EXPECT_FALSE(fs::exists(fs::symlink_status(outside / "nowhere.json")));
}

TEST_F(CommandQueue, DirectoriesInTheQueueAreNeitherEnteredNorRemoved)
{
    auto foreign = command("foreign", WidgetCommand::Action::stop, aMoment);
    fs::create_directories(outside / "directory");
    writeCommandFile(outside / "command.json", foreign);
    writeCommandFile(outside / "directory" / "command.json", foreign);

    auto queued = command("api", WidgetCommand::Action::start, aMoment);
    store.enqueue(queued);
    // A directory holding command files, and one holding links out of the container: either may
    // be a mount point of another file system, where a recursive removal would reach outside.
    fs::create_directories(commands / "full" / "nested");
    writeCommandFile(commands / "full" / "command.json", queued);
    ASSERT_EQ(::mkfifo((commands / "full" / "nested" / "fifo").c_str(), 0600), 0);
    fs::create_directories(commands / "links");
    fs::create_symlink(outside / "command.json", commands / "links" / "to-file.json");
    fs::create_directory_symlink(outside, commands / "links" / "to-outside");
    fs::create_directories(commands / "empty");

    EXPECT_THAT(store.drainCommands(), ElementsAre(queued));
    EXPECT_THAT(entriesOf(commands), ElementsAre("empty", "full", "links"));
    EXPECT_THAT(entriesOf(commands / "full"), ElementsAre("command.json", "nested"));
    EXPECT_THAT(entriesOf(commands / "links"), ElementsAre("to-file.json", "to-outside"));
    EXPECT_THAT(entriesOf(outside), ElementsAre("command.json", "directory"));
    EXPECT_EQ(readFile(outside / "command.json"), encode(foreign));
    EXPECT_EQ(readFile(outside / "directory" / "command.json"), encode(foreign));
    // And again: a directory stays, it is no command the next drain must retry.
    EXPECT_THAT(store.drainCommands(), IsEmpty());
}

TEST_F(CommandQueue, ACommandsDirectoryThatIsALinkIsNotDrained)
{
    auto foreign = command("foreign", WidgetCommand::Action::stop, aMoment);
    fs::create_directories(outside);
    writeCommandFile(outside / "command.json", foreign);
    fs::create_directories(store.root());
    fs::create_directory_symlink(outside, commands);
    EXPECT_THAT(store.drainCommands(), IsEmpty());
    EXPECT_EQ(readFile(outside / "command.json"), encode(foreign));
}

TEST_F(CommandQueue, ACommandsEntryThatIsAFileGivesNothing)
{
    fs::create_directories(store.root());
    writeFile(commands, encode(command("api", WidgetCommand::Action::start, aMoment)));
    EXPECT_THAT(store.drainCommands(), IsEmpty());
    EXPECT_TRUE(fs::is_regular_file(commands));
}

TEST_F(CommandQueue, AnEnqueuedCommandTravelsToTheDrain)
{
    std::vector<WidgetCommand> issued;
    for (int i = 0; i < 20; ++i) {
        issued.push_back(command("item-" + std::to_string(i), i % 2 ? WidgetCommand::Action::stop : WidgetCommand::Action::start,
            aMoment + 20 - i));
        store.enqueue(issued.back());
    }
    std::reverse(issued.begin(), issued.end());
    EXPECT_EQ(store.drainCommands(), issued);
    EXPECT_THAT(entriesOf(commands), IsEmpty());
}

TEST_F(CommandQueue, AnEnqueueBesideARunningDrainNeitherFailsNorLosesTheCommand)
{
    constexpr int count = 400;
    std::atomic<bool> enqueuing { true };
    std::vector<WidgetCommand> drained;
    std::thread drainer([&] {
        while (enqueuing.load()) {
            auto batch = store.drainCommands();
            drained.insert(drained.end(), batch.begin(), batch.end());
        }
    });
    std::vector<WidgetCommand> issued;
    for (int i = 0; i < count; ++i) {
        issued.push_back(command("item-" + std::to_string(i), WidgetCommand::Action::start, aMoment + i));
        EXPECT_NO_THROW(store.enqueue(issued.back()));
    }
    enqueuing = false;
    drainer.join();
    auto rest = store.drainCommands();
    drained.insert(drained.end(), rest.begin(), rest.end());
    std::sort(drained.begin(), drained.end(), [](const auto& a, const auto& b) { return a.issuedAt < b.issuedAt; });
    EXPECT_EQ(drained, issued);
}

TEST_F(CommandQueue, AnEnqueueLeavesNoTemporaryFileBehind)
{
    store.enqueue(command("api", WidgetCommand::Action::start, aMoment));
    EXPECT_THAT(entriesOf(store.root()), ElementsAre("commands"));
    EXPECT_EQ(entriesOf(commands).size(), 1u);
}
