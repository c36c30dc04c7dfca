// SPDX-License-Identifier: MIT
// The claim and acknowledge path: a command is delivered to one consumer only, stays until it is
// acknowledged, and comes back only when its consumer died holding it; a failure that may pass
// (no descriptors, no permission) leaves the command queued and is reported.
//
// QUELM_CLAIM_KILLS sets the consumers killed in the kill stress (default 100; scripts/stress.sh
// runs 1000), QUELM_CLAIM_COMMANDS the commands the four concurrent consumers share (default
// 2000; scripts/stress.sh runs 10000).

#include <quelm/CommandConsumer.h>
#include <quelm/SharedStore.h>

#include "ChildProcess.h"
#include "TestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace quelm;
using quelm::test::TemporaryDirectory;
using quelm::test::configuredCount;
using quelm::test::entriesOf;
using quelm::test::readFile;
using quelm::test::runInChild;
using quelm::test::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

namespace {

constexpr double aMoment = 1'700'000'000.0;

WidgetCommand commandAt(double issuedAt, const std::string& itemID = "api")
{
    return WidgetCommand(itemID, WidgetCommand::Action::start, Uuid::random(), Date(issuedAt));
}

std::vector<WidgetCommand> commandsOf(const ClaimBatch& batch)
{
    std::vector<WidgetCommand> commands;
    for (const auto& claimed : batch.commands)
        commands.push_back(claimed.command);
    return commands;
}

// Every line of the files in `directory`, counted.
std::map<std::string, int> deliveredLines(const fs::path& directory)
{
    std::map<std::string, int> counts;
    for (const auto& entry : fs::directory_iterator(directory)) {
        std::istringstream lines(readFile(entry.path()));
        std::string line;
        while (std::getline(lines, line))
            ++counts[line];
    }
    return counts;
}

// Appends one line with a single write, so that a kill never leaves half of it.
void appendLine(int fd, const std::string& line)
{
    const std::string text = line + '\n';
    if (::write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        ::_exit(3);
}

// A consumer process as the tools run one: claim, record the delivery, acknowledge, until the
// queue is empty (or, with `untilDone`, until `done` exists and the queue is empty).
[[noreturn]] void consumeInChild(const SharedStore& store, const fs::path& record, const fs::path& done, bool untilDone)
{
    const int fd = ::open(record.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (fd < 0)
        ::_exit(2);
    int status = 0;
    try {
        CommandConsumer consumer(store);
        for (;;) {
            const bool finished = !untilDone || fs::exists(done);
            const ClaimBatch batch = consumer.claim();
            if (batch.failed()) {
                status = 4;
                break;
            }
            for (const auto& claimed : batch.commands) {
                appendLine(fd, claimed.command.id.string());
                consumer.acknowledge(claimed);
            }
            if (batch.commands.empty() && finished)
                break;
        }
    } catch (...) {
        status = 5;
    }
    ::_exit(status);
}

class CommandConsumerTest : public testing::Test {
protected:
    TemporaryDirectory temporary;
    fs::path container = temporary / "container";
    SharedStore store { container };
    fs::path commands = container / "commands";

    void SetUp() override { fs::create_directory(container, temporary.path()); fs::permissions(container, fs::perms::owner_all); }
};

}

TEST_F(CommandConsumerTest, ClaimsInIssueOrderAndDeletesOnlyOnAcknowledgement)
{
    const auto later = commandAt(aMoment + 10);
    const auto earlier = commandAt(aMoment);
    store.enqueue(later);
    store.enqueue(earlier);

    CommandConsumer consumer(store);
    const ClaimBatch batch = consumer.claim();
    EXPECT_FALSE(batch.failed()) << batch.error.message();
    EXPECT_THAT(commandsOf(batch), ElementsAre(earlier, later));
    // Claimed: out of the queue, in the consumer's folder until acknowledged.
    EXPECT_THAT(entriesOf(commands), IsEmpty());
    EXPECT_THAT(entriesOf(consumer.folder()), UnorderedElementsAre(earlier.id.string() + ".json", later.id.string() + ".json"));
    EXPECT_TRUE(consumer.claim().commands.empty());

    consumer.acknowledge(batch.commands[0]);
    EXPECT_THAT(entriesOf(consumer.folder()), ElementsAre(later.id.string() + ".json"));
    consumer.acknowledge(batch.commands[1]);
    EXPECT_THAT(entriesOf(consumer.folder()), IsEmpty());
    EXPECT_THROW(consumer.acknowledge(batch.commands[1]), std::system_error);
}

TEST_F(CommandConsumerTest, AClaimedCommandReachesNoOtherConsumer)
{
    const auto command = commandAt(aMoment);
    store.enqueue(command);
    CommandConsumer first(store);
    CommandConsumer second(store);
    EXPECT_THAT(commandsOf(first.claim()), ElementsAre(command));
    EXPECT_TRUE(second.claim().commands.empty());
    EXPECT_TRUE(store.drainCommands().empty());
    // Nor does a consumer that starts now: the first one lives.
    CommandConsumer third(store);
    EXPECT_TRUE(third.claim().commands.empty());
}

TEST_F(CommandConsumerTest, ClaimsOfAConsumerThatDiedReturnToTheQueueAtTheNextStart)
{
    const auto command = commandAt(aMoment);
    store.enqueue(command);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        CommandConsumer consumer(store);
        const ClaimBatch batch = consumer.claim();
        // Dies holding its claim, as a SIGKILL leaves it.
        ::kill(::getpid(), batch.commands.size() == 1 ? SIGKILL : SIGABRT);
        ::_exit(1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "the child did not claim the command";
    EXPECT_THAT(entriesOf(commands), IsEmpty());

    CommandConsumer next(store);
    EXPECT_THAT(entriesOf(commands), ElementsAre(command.id.string() + ".json"));
    EXPECT_THAT(commandsOf(next.claim()), ElementsAre(command));
    // The dead consumer's folder is gone; only the living one's is left.
    EXPECT_THAT(entriesOf(container / "claimed"), ElementsAre(next.folder().filename().string()));
}

TEST_F(CommandConsumerTest, ALivingConsumerTakesBackTheClaimsOfOneThatDiedMeanwhile)
{
    CommandConsumer living(store);
    const auto command = commandAt(aMoment);
    store.enqueue(command);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        CommandConsumer consumer(store);
        ::kill(::getpid(), consumer.claim().commands.size() == 1 ? SIGKILL : SIGABRT);
        ::_exit(1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    EXPECT_THAT(commandsOf(living.claim()), ElementsAre(command));
}

TEST_F(CommandConsumerTest, AConsumerEndingWithoutAcknowledgingReturnsItsClaims)
{
    const auto command = commandAt(aMoment);
    store.enqueue(command);
    {
        CommandConsumer consumer(store);
        EXPECT_EQ(consumer.claim().commands.size(), 1u);
    }
    EXPECT_THAT(entriesOf(commands), ElementsAre(command.id.string() + ".json"));
    EXPECT_THAT(entriesOf(container / "claimed"), IsEmpty());
}

TEST_F(CommandConsumerTest, GarbageIsDeletedAndWhatIsNoFileIsLeftOrUnlinked)
{
    const auto command = commandAt(aMoment);
    store.enqueue(command);
    writeFile(commands / "garbage.json", "{not json");
    writeFile(commands / "huge.json", std::string(64 * 1024 + 1, ' '));
    ASSERT_EQ(::mkfifo((commands / "fifo.json").c_str(), 0600), 0);
    fs::create_symlink(container / "elsewhere", commands / "link.json");
    fs::create_directories(commands / "directory" / "inside");
    writeFile(commands / "directory" / "inside" / "kept.json", encode(command));

    CommandConsumer consumer(store);
    const ClaimBatch batch = consumer.claim();
    EXPECT_FALSE(batch.failed()) << batch.error.message() << " " << batch.failedEntry;
    EXPECT_THAT(commandsOf(batch), ElementsAre(command));
    EXPECT_THAT(entriesOf(commands), ElementsAre("directory"));
    EXPECT_EQ(readFile(commands / "directory" / "inside" / "kept.json"), encode(command));
}

// Descriptors exhausted: the claimed file cannot be read, so it goes back and the batch says why.
TEST_F(CommandConsumerTest, WithoutDescriptorsTheCommandStaysQueuedAndTheFailureIsReported)
{
    const auto command = commandAt(aMoment);
    store.enqueue(command);
    const auto outcome = runInChild([&] {
        CommandConsumer consumer(store);
        const rlimit limit { 64, 64 };
        if (::setrlimit(RLIMIT_NOFILE, &limit) != 0)
            return std::string("setrlimit: ") + std::strerror(errno);
        std::vector<int> held;
        for (int fd; (fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;)
            held.push_back(fd);
        std::string findings;
        const ClaimBatch batch = consumer.claim();
        if (!batch.commands.empty())
            findings += "a command was delivered without a descriptor to read it\n";
        if (batch.error != std::errc::too_many_files_open)
            findings += "the batch reports " + batch.error.message() + " instead of EMFILE\n";
        if (store.drainCommands().size() != 0)
            findings += "drainCommands read a command without a descriptor\n";
        for (int fd : held)
            ::close(fd);
        return findings;
    });
    EXPECT_TRUE(outcome.succeeded()) << outcome.describe();
    // Neither the claim nor drainCommands deleted it.
    EXPECT_THAT(entriesOf(commands), ElementsAre(command.id.string() + ".json"));
    EXPECT_THAT(store.drainCommands(), ElementsAre(command));
}

TEST_F(CommandConsumerTest, AnUnreadableCommandIsNeitherDeliveredNorDeleted)
{
    const auto command = commandAt(aMoment);
    store.enqueue(command);
    const fs::path file = commands / (command.id.string() + ".json");
    if (::geteuid() == 0) {
        for (const auto& entry : fs::recursive_directory_iterator(container))
            ASSERT_EQ(::lchown(entry.path().c_str(), test::nobody, test::nobody), 0);
        ASSERT_EQ(::chown(container.c_str(), test::nobody, test::nobody), 0);
        ASSERT_EQ(::chmod(temporary.path().c_str(), 0755), 0);
    }
    ASSERT_EQ(::chmod(file.c_str(), 0), 0);
    const auto outcome = runInChild([&] {
        if (auto failure = test::becomeUnprivileged(); !failure.empty())
            return failure;
        std::string findings;
        if (!store.drainCommands().empty())
            findings += "drainCommands delivered an unreadable command\n";
        CommandConsumer consumer(store);
        const ClaimBatch batch = consumer.claim();
        if (!batch.commands.empty())
            findings += "the claim delivered an unreadable command\n";
        if (batch.error != std::errc::permission_denied || batch.failedEntry != file.filename().string())
            findings += "the batch reports '" + batch.error.message() + "' for '" + batch.failedEntry + "'\n";
        return findings;
    });
    EXPECT_TRUE(outcome.succeeded()) << outcome.describe();
    EXPECT_THAT(entriesOf(commands), ElementsAre(file.filename().string()));
}

// A consumer that may read the queue but not change it delivers nothing and says so; before,
// the same commands came back on every run.
TEST_F(CommandConsumerTest, AQueueTheConsumerCannotChangeDeliversNothingAndReportsIt)
{
    const auto command = commandAt(aMoment);
    store.enqueue(command);
    if (::geteuid() == 0) {
        for (const auto& entry : fs::recursive_directory_iterator(container))
            ASSERT_EQ(::lchown(entry.path().c_str(), test::nobody, test::nobody), 0);
        ASSERT_EQ(::chown(container.c_str(), test::nobody, test::nobody), 0);
        ASSERT_EQ(::chmod(temporary.path().c_str(), 0755), 0);
    }
    ASSERT_EQ(::chmod(commands.c_str(), 0500), 0);
    const auto outcome = runInChild([&] {
        if (auto failure = test::becomeUnprivileged(); !failure.empty())
            return failure;
        CommandConsumer consumer(store);
        std::string findings;
        for (int run = 0; run < 2; ++run) {
            const ClaimBatch batch = consumer.claim();
            if (!batch.commands.empty())
                findings += "delivered a command it could not take\n";
            if (batch.error != std::errc::permission_denied)
                findings += "the batch reports '" + batch.error.message() + "' instead of EACCES\n";
        }
        return findings;
    });
    ASSERT_EQ(::chmod(commands.c_str(), 0700), 0);
    EXPECT_TRUE(outcome.succeeded()) << outcome.describe();
    EXPECT_THAT(entriesOf(commands), ElementsAre(command.id.string() + ".json"));
}

TEST_F(CommandConsumerTest, AContainerOfAnotherUserOrOpenToOthersIsRefused)
{
    store.enqueue(commandAt(aMoment));
    ASSERT_EQ(::chmod(container.c_str(), 0777), 0);
    EXPECT_THROW(CommandConsumer { store }, std::system_error);
    ASSERT_EQ(::chmod(container.c_str(), 0700), 0);
    ASSERT_EQ(::chmod(commands.c_str(), 0773), 0);
    EXPECT_THROW(CommandConsumer { store }, std::system_error);
    ASSERT_EQ(::chmod(commands.c_str(), 0700), 0);
    EXPECT_EQ(entriesOf(commands).size(), 1u);
    EXPECT_NO_THROW(CommandConsumer { store });
}

TEST_F(CommandConsumerTest, WithoutAContainerNothingIsCreated)
{
    const SharedStore missing(temporary / "missing");
    EXPECT_THROW(CommandConsumer { missing }, std::system_error);
    EXPECT_FALSE(fs::exists(temporary / "missing"));
}

// Four consumers at once, commands arriving while they claim: each command reaches exactly one.
TEST_F(CommandConsumerTest, FourConcurrentConsumersDeliverEachCommandExactlyOnce)
{
    const int count = configuredCount("QUELM_CLAIM_COMMANDS", 2000);
    const fs::path records = temporary / "records";
    const fs::path done = temporary / "done";
    fs::create_directory(records);
    std::vector<pid_t> consumers;
    for (int i = 0; i < 4; ++i) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0)
            consumeInChild(store, records / std::to_string(i), done, true);
        consumers.push_back(child);
    }
    std::set<std::string> enqueued;
    for (int i = 0; i < count; ++i) {
        const auto command = commandAt(aMoment + i);
        store.enqueue(command);
        enqueued.insert(command.id.string());
    }
    writeFile(done, "");
    for (const pid_t child : consumers) {
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "a consumer failed: status " << status;
    }
    const auto delivered = deliveredLines(records);
    std::size_t twice = 0;
    for (const auto& [id, times] : delivered)
        twice += times > 1 ? 1 : 0;
    std::size_t lost = 0;
    for (const auto& id : enqueued)
        lost += delivered.count(id) ? 0 : 1;
    std::cout << count << " commands, 4 consumers: " << delivered.size() << " delivered, " << twice << " twice, " << lost
              << " lost\n";
    EXPECT_EQ(lost, 0u);
    EXPECT_EQ(twice, 0u);
    EXPECT_EQ(delivered.size(), enqueued.size());
    EXPECT_THAT(entriesOf(commands), IsEmpty());
}

// Consumers killed at random instants: every command is delivered, and one is delivered again
// only when a consumer died holding it.
TEST_F(CommandConsumerTest, ConsumersKilledAtRandomLoseNoCommand)
{
    const int kills = configuredCount("QUELM_CLAIM_KILLS", 100);
    const fs::path records = temporary / "records";
    fs::create_directory(records);
    std::set<std::string> enqueued;
    auto enqueueMore = [&](int more) {
        for (int i = 0; i < more; ++i) {
            const auto command = commandAt(aMoment + double(enqueued.size()));
            store.enqueue(command);
            enqueued.insert(command.id.string());
        }
    };
    std::mt19937 random(std::random_device {}());
    int killed = 0;
    int runs = 0;
    int diedHolding = 0;
    std::size_t heldAtDeath = 0;
    // Commands keep arriving while consumers come and die, so that the queue stays short and the
    // kills land while claiming, while delivering and while returning a dead one's claims.
    std::uniform_int_distribution<int> instant(0, 20'000);
    while (killed < kills) {
        enqueueMore(20);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0)
            consumeInChild(store, records / std::to_string(runs), {}, false);
        ++runs;
        std::this_thread::sleep_for(std::chrono::microseconds(instant(random)));
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        if (WIFSIGNALED(status)) {
            ++killed;
            // What the dead consumer held: it must all come back.
            std::size_t held = 0;
            // A consumer killed before its first claim may not have made the folder yet.
            for (const auto& folder : fs::exists(container / "claimed") ? entriesOf(container / "claimed") : std::vector<std::string> {})
                held += entriesOf(container / "claimed" / folder).size();
            heldAtDeath += held;
            diedHolding += held > 0 ? 1 : 0;
        } else
            ASSERT_EQ(WEXITSTATUS(status), 0) << "a consumer failed";
    }
    // A last consumer, left alone, takes what the killed ones held.
    const pid_t last = ::fork();
    ASSERT_GE(last, 0);
    if (last == 0)
        consumeInChild(store, records / "last", {}, false);
    int status = 0;
    ASSERT_EQ(::waitpid(last, &status, 0), last);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);

    const auto delivered = deliveredLines(records);
    std::size_t lost = 0;
    for (const auto& id : enqueued)
        lost += delivered.count(id) ? 0 : 1;
    std::size_t again = 0;
    for (const auto& [id, times] : delivered)
        again += std::size_t(times - 1);
    std::cout << enqueued.size() << " commands, " << killed << " consumers killed of " << runs << ", " << diedHolding
              << " of them holding claims (" << heldAtDeath << " commands in flight): " << delivered.size() << " delivered, "
              << again << " delivered again after a kill, " << lost << " lost\n";
    EXPECT_EQ(lost, 0u);
    EXPECT_EQ(delivered.size(), enqueued.size());
    // A consumer killed between recording a command and acknowledging it delivers it once more;
    // no other way exists to deliver a command twice.
    EXPECT_LE(again, std::size_t(killed));
    EXPECT_THAT(entriesOf(commands), IsEmpty());
    // Only the empty folders of consumers killed while making them may stay, for a minute.
    for (const auto& folder : entriesOf(container / "claimed")) {
        EXPECT_EQ(folder[0], '.') << "the folder " << folder << " was left";
        EXPECT_THAT(entriesOf(container / "claimed" / folder), IsEmpty());
    }
}
