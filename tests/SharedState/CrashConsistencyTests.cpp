// SPDX-License-Identifier: MIT
// A writer killed with SIGKILL at any instant of writeSnapshot, markPending or enqueue, again and
// again, while a reader in another thread reads the same file in a loop: the reader only ever sees
// a whole document, old or new; no acknowledged command is lost or drained twice; and whatever the
// killed writers leave behind does not trip a later write or drain.
//
// QUELM_CRASH_KILLS sets the kills per operation (default 150; scripts/stress.sh runs 1000).

#include <quelm/SharedStore.h>

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <thread>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace quelm;
using quelm::test::TemporaryDirectory;
using quelm::test::readFile;
namespace fs = std::filesystem;
using std::chrono::microseconds;
using std::chrono::steady_clock;

namespace {

int killsPerOperation()
{
    return test::configuredCount("QUELM_CRASH_KILLS", 150);
}

// The first problem any thread noticed; the rest are of no help.
class FirstProblem {
public:
    void report(const std::string& problem)
    {
        std::lock_guard lock(m_mutex);
        if (m_problem.empty())
            m_problem = problem;
    }
    std::string text() const
    {
        std::lock_guard lock(m_mutex);
        return m_problem;
    }

private:
    mutable std::mutex m_mutex;
    std::string m_problem;
};

// Runs `loop` in a thread until destroyed.
class BackgroundLoop {
public:
    explicit BackgroundLoop(std::function<void()> iteration)
        : m_thread([this, iteration = std::move(iteration)] {
            while (!m_stop.load(std::memory_order_relaxed)) {
                iteration();
                m_iterations.fetch_add(1, std::memory_order_relaxed);
            }
        })
    {
    }
    ~BackgroundLoop() { stop(); }
    BackgroundLoop(const BackgroundLoop&) = delete;
    BackgroundLoop& operator=(const BackgroundLoop&) = delete;

    // Returns the number of iterations made.
    long stop()
    {
        m_stop.store(true);
        if (m_thread.joinable())
            m_thread.join();
        return m_iterations.load();
    }

private:
    std::atomic<bool> m_stop { false };
    std::atomic<long> m_iterations { 0 };
    std::thread m_thread;
};

// The hidden names a write uses before it renames its file into place.
std::vector<std::string> temporariesIn(const fs::path& directory)
{
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(directory, ignored)) {
        const auto name = entry.path().filename().string();
        if (name.front() == '.')
            names.push_back(name);
    }
    return names;
}

// Forks writers that run `writeForever` and kills each with SIGKILL after a random time: from
// before its first write to several writes in, so that the kills land all over the writes.
class WriterKiller {
public:
    explicit WriterKiller(microseconds oneWrite)
        : m_longestLife(std::max(microseconds(500), oneWrite * 8))
    {
    }

    void runAndKill(const std::function<void()>& writeForever)
    {
        const pid_t parent = ::getpid();
        const pid_t child = ::fork();
        ASSERT_GE(child, 0) << std::strerror(errno);
        if (child == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (::getppid() != parent)
                ::_exit(127);
            writeForever();
            ::_exit(0);
        }
        std::this_thread::sleep_for(microseconds(std::uniform_int_distribution<long>(0, m_longestLife.count())(m_random)));
        ::kill(child, SIGKILL);
        int status = 0;
        while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        // A writer that ended by itself met an error it should not have.
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "the writer exited with status " << status;
    }

    microseconds longestLife() const { return m_longestLife; }

private:
    microseconds m_longestLife;
    std::mt19937 m_random { std::random_device {}() };
};

template<class Operation>
microseconds durationOfOne(Operation operation)
{
    constexpr int samples = 20;
    const auto start = steady_clock::now();
    for (int i = 0; i < samples; ++i)
        operation(i);
    return std::chrono::duration_cast<microseconds>(steady_clock::now() - start) / samples;
}

void recordFigures(const std::string& operation, int kills, long reads, std::size_t temporariesLeft, microseconds longestLife)
{
    std::cout << operation << ": " << kills << " kills within " << longestLife.count() << " µs of the start, " << reads
              << " reads beside them, " << temporariesLeft << " temporaries left by writers killed mid-write\n";
    testing::Test::RecordProperty(operation + "Kills", kills);
    testing::Test::RecordProperty(operation + "Reads", std::to_string(reads));
    testing::Test::RecordProperty(operation + "TemporariesLeft", std::to_string(temporariesLeft));
}

// A snapshot that proves itself whole: its size and every title follow from its generation.
WidgetSnapshot snapshotOfGeneration(long generation)
{
    WidgetSnapshot snapshot;
    const auto title = "generation " + std::to_string(generation);
    for (long i = 0; i < 40 + generation % 23; ++i)
        snapshot.items.push_back(WidgetItem { "item-" + std::to_string(i), title, "node", i % 2 == 0, std::nullopt, std::uint16_t(3000 + i) });
    snapshot.sessions.push_back(WidgetSession { "s", title, "quelm", WidgetSession::State::working });
    snapshot.updatedAt = Date(double(generation));
    return snapshot;
}

std::string wholenessProblem(const WidgetSnapshot& snapshot)
{
    const auto generation = long(snapshot.updatedAt.secondsSince1970());
    if (snapshot == WidgetSnapshot::empty)
        return "the reader found no snapshot";
    if (!(snapshot == snapshotOfGeneration(generation)))
        return "the reader found a snapshot that is not whole, of generation " + std::to_string(generation);
    return {};
}

class CrashConsistency : public testing::Test {
protected:
    TemporaryDirectory temporary;
    fs::path container = temporary / "container";
    SharedStore store { container };
    const int kills = killsPerOperation();
};

// Acknowledgements from an enqueueing writer: 1 status byte and the command's 16 id bytes, written
// in one piece (the pipe does not split writes this small).
struct Acknowledgement {
    bool written;
    Uuid::Bytes id;
};

class AcknowledgementPipe {
public:
    AcknowledgementPipe()
    {
        if (::pipe2(m_fds, O_CLOEXEC) != 0)
            throw std::system_error(errno, std::generic_category(), "pipe2");
        ::fcntl(m_fds[0], F_SETFL, O_NONBLOCK);
    }
    ~AcknowledgementPipe()
    {
        ::close(m_fds[0]);
        ::close(m_fds[1]);
    }
    AcknowledgementPipe(const AcknowledgementPipe&) = delete;
    AcknowledgementPipe& operator=(const AcknowledgementPipe&) = delete;

    // In the writer.
    void send(bool written, const Uuid& id)
    {
        unsigned char record[17];
        record[0] = written ? 1 : 0;
        std::copy(id.bytes().begin(), id.bytes().end(), record + 1);
        while (::write(m_fds[1], record, sizeof record) < 0 && errno == EINTR) {
        }
    }

    // In the parent, once the writer is dead: everything it sent.
    std::vector<Acknowledgement> receive()
    {
        std::vector<Acknowledgement> received;
        unsigned char record[17];
        while (::read(m_fds[0], record, sizeof record) == ssize_t(sizeof record)) {
            Acknowledgement acknowledgement { record[0] == 1, {} };
            std::copy(record + 1, record + 17, acknowledgement.id.begin());
            received.push_back(acknowledgement);
        }
        return received;
    }

private:
    int m_fds[2];
};

}

TEST_F(CrashConsistency, AKilledSnapshotWriterLeavesTheOldOrTheNewSnapshotWhole)
{
    store.writeSnapshot(snapshotOfGeneration(0));
    WriterKiller killer(durationOfOne([&](int i) { store.writeSnapshot(snapshotOfGeneration(i)); }));

    FirstProblem problem;
    BackgroundLoop reader([&] {
        if (auto found = wholenessProblem(store.readSnapshot()); !found.empty())
            problem.report(found);
    });
    for (int kill = 0; kill < kills && problem.text().empty(); ++kill) {
        killer.runAndKill([&] {
            for (long generation = (kill + 1) * 1'000'000L;; ++generation)
                store.writeSnapshot(snapshotOfGeneration(generation));
        });
        if (HasFatalFailure())
            return;
    }
    const long reads = reader.stop();
    EXPECT_EQ(problem.text(), "");
    EXPECT_EQ(wholenessProblem(store.readSnapshot()), "");

    // What the killed writers left are hidden temporaries nobody reads; the next write goes on.
    const auto leftovers = temporariesIn(container);
    for (const auto& name : leftovers)
        EXPECT_EQ(name.rfind(".snapshot.json.", 0), 0u) << name;
    store.writeSnapshot(snapshotOfGeneration(7));
    EXPECT_EQ(store.readSnapshot(), snapshotOfGeneration(7));
    EXPECT_EQ(temporariesIn(container).size(), leftovers.size());
    recordFigures("writeSnapshot", kills, reads, leftovers.size(), killer.longestLife());
}

TEST_F(CrashConsistency, AKilledMarkerLeavesAPendingFileThatAlwaysDecodes)
{
    // Marks are never the first thing in a container: they follow an enqueue, which makes it.
    fs::create_directory(container);
    store.markPending(WidgetCommand("item-0", WidgetCommand::Action::start, Uuid::random(), Date(1)));
    WriterKiller killer(durationOfOne([&](int i) {
        store.markPending(WidgetCommand("item-" + std::to_string(i), WidgetCommand::Action::stop, Uuid::random(), Date(i)));
    }));

    FirstProblem problem;
    const auto pendingFile = container / "pending.json";
    BackgroundLoop reader([&] {
        try {
            for (const auto& [itemID, command] : decode<PendingCommands>(readFile(pendingFile))) {
                if (itemID != command.itemID)
                    problem.report("an entry under " + itemID + " holds a command for " + command.itemID);
            }
        } catch (const std::exception& error) {
            problem.report(std::string("the pending file did not read whole: ") + error.what());
        }
    });
    for (int kill = 0; kill < kills && problem.text().empty(); ++kill) {
        killer.runAndKill([&] {
            for (long i = 0;; ++i) {
                store.markPending(WidgetCommand(
                    "item-" + std::to_string(i % 40), WidgetCommand::Action::stop, Uuid::random(), Date(double(kill * 1'000'000L + i))));
            }
        });
        if (HasFatalFailure())
            return;
    }
    const long reads = reader.stop();
    EXPECT_EQ(problem.text(), "");

    const auto leftovers = temporariesIn(container);
    for (const auto& name : leftovers)
        EXPECT_EQ(name.rfind(".pending.json.", 0), 0u) << name;
    // The marks made so far are all there for the next one to keep.
    const auto before = decode<PendingCommands>(readFile(pendingFile));
    const auto last = WidgetCommand("item-last", WidgetCommand::Action::start, Uuid::random(), Date(2));
    store.markPending(last);
    auto expected = before;
    expected.insert_or_assign(last.itemID, last);
    EXPECT_EQ(decode<PendingCommands>(readFile(pendingFile)), expected);
    recordFigures("markPending", kills, reads, leftovers.size(), killer.longestLife());
}

TEST_F(CrashConsistency, AKilledEnqueuerBesideARunningDrainLosesAndRepeatsNothing)
{
    WriterKiller killer(durationOfOne([&](int i) {
        store.enqueue(WidgetCommand("warm-up", WidgetCommand::Action::start, Uuid::random(), Date(i)));
    }));
    store.drainCommands();

    FirstProblem problem;
    std::mutex drainedMutex;
    std::vector<WidgetCommand> drained;
    auto drainOnce = [&] {
        auto commands = store.drainCommands();
        if (!std::is_sorted(commands.begin(), commands.end(), [](const auto& a, const auto& b) { return a.issuedAt < b.issuedAt; }))
            problem.report("a drain returned its commands out of issue order");
        std::lock_guard lock(drainedMutex);
        drained.insert(drained.end(), commands.begin(), commands.end());
    };
    BackgroundLoop drainer(drainOnce);

    AcknowledgementPipe acknowledgements;
    std::vector<Acknowledgement> acknowledged;
    for (int kill = 0; kill < kills; ++kill) {
        killer.runAndKill([&] {
            for (;;) {
                const WidgetCommand command("item", WidgetCommand::Action::start, Uuid::random(), Date::now());
                bool written = true;
                try {
                    store.enqueue(command);
                } catch (const std::exception&) {
                    written = false;
                }
                acknowledgements.send(written, command.id);
            }
        });
        if (HasFatalFailure())
            return;
        auto received = acknowledgements.receive();
        acknowledged.insert(acknowledged.end(), received.begin(), received.end());
    }
    const long drains = drainer.stop();
    const auto leftovers = temporariesIn(container);
    const auto queuedLeftovers = temporariesIn(container / "commands");
    drainOnce();
    EXPECT_EQ(problem.text(), "");

    std::set<Uuid> written;
    long failed = 0;
    for (const auto& acknowledgement : acknowledged) {
        if (acknowledgement.written)
            written.insert(Uuid(acknowledgement.id));
        else
            ++failed;
    }
    // The drain never takes a command from under its writer, half-written or not.
    EXPECT_EQ(failed, 0) << "enqueues failed beside a drain";
    std::map<Uuid, int> timesDrained;
    for (const auto& command : drained)
        ++timesDrained[command.id];
    long drainedTwice = 0;
    long lost = 0;
    long unacknowledged = 0;
    for (const auto& [id, times] : timesDrained) {
        drainedTwice += times > 1;
        unacknowledged += !written.contains(id);
    }
    for (const auto& id : written)
        lost += !timesDrained.contains(id);
    EXPECT_EQ(drainedTwice, 0);
    EXPECT_EQ(lost, 0);
    // Written, then killed before it could say so: at most one per kill.
    EXPECT_LE(unacknowledged, kills);
    EXPECT_GT(written.size(), 0u);

    // Nothing a killed writer left is in the queue, and nothing left elsewhere trips the next one.
    EXPECT_TRUE(queuedLeftovers.empty()) << queuedLeftovers.size() << " temporaries in the queue, e.g. " << queuedLeftovers.front();
    EXPECT_TRUE(fs::is_empty(container / "commands"));
    const auto last = WidgetCommand("last", WidgetCommand::Action::stop, Uuid::random(), Date::now());
    store.enqueue(last);
    EXPECT_EQ(store.drainCommands(), std::vector<WidgetCommand> { last });
    std::cout << "enqueue: " << written.size() << " commands acknowledged, " << drained.size() << " drained in " << drains
              << " drains, " << unacknowledged << " written but killed before acknowledging\n";
    recordFigures("enqueue", kills, drains, leftovers.size(), killer.longestLife());
}
