// SPDX-License-Identifier: MIT
// quelmctl as the app's side of the queue under what goes wrong: consumers killed mid-batch or
// running side by side, descriptors exhausted, a queue it may not change, a container others may
// write, a file it cannot write. Nothing is lost or delivered twice, and every failure is said and
// ends with exit status 1.
//
// QUELM_DRAIN_KILLS sets how many `quelmctl drain` processes are killed (default 30;
// scripts/stress.sh runs 1000), QUELM_CLAIM_COMMANDS the commands four drains share at once
// (default 2000; scripts/stress.sh runs 10000).

#include <quelm/SharedStore.h>
#include <quelm/WireFormat.h>

#include "ChildProcess.h"
#include "QuelmctlProcess.h"
#include "TestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace quelm;
using namespace std::chrono_literals;
using quelm::test::Child;
using quelm::test::Result;
using quelm::test::TemporaryDirectory;
using quelm::test::configuredCount;
using quelm::test::entriesOf;
using quelm::test::readFile;
using quelm::test::run;
using quelm::test::writeFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

namespace {

constexpr double aMoment = 1'700'000'000.0;

WidgetCommand commandAt(double issuedAt, const std::string& itemID = "api")
{
    return WidgetCommand(itemID, WidgetCommand::Action::start, Uuid::random(), Date(issuedAt));
}

// Runs quelmctl in a forked child prepared by `prepare` (a resource limit, another user), its
// outputs in files. `prepare` returns an error text to end the child with status 126.
Result runPrepared(const std::vector<std::string>& arguments, const fs::path& scratch, const std::function<std::string()>& prepare,
    const std::string& program = test::quelmctlPath())
{
    const fs::path out = scratch / "out";
    const fs::path err = scratch / "err";
    const pid_t child = ::fork();
    if (child == 0) {
        const int outFD = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int errFD = ::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int nullFD = ::open("/dev/null", O_RDONLY);
        if (outFD < 0 || errFD < 0 || nullFD < 0)
            ::_exit(126);
        ::dup2(nullFD, 0);
        ::dup2(outFD, 1);
        ::dup2(errFD, 2);
        for (int fd = 3; fd < 1024; ++fd)
            ::close(fd);
        if (const std::string problem = prepare(); !problem.empty()) {
            (void)!::write(2, problem.data(), problem.size());
            ::_exit(126);
        }
        std::vector<std::string> all { program };
        all.insert(all.end(), arguments.begin(), arguments.end());
        std::vector<char*> argv;
        for (auto& argument : all)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        ::execv(program.c_str(), argv.data());
        ::_exit(127);
    }
    Result result;
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.out = readFile(out);
    result.err = readFile(err);
    return result;
}

// The ids of the complete JSON lines of a drain's output; a line cut by a kill counts for nothing.
std::vector<std::string> deliveredIds(const std::string& output)
{
    std::vector<std::string> ids;
    std::size_t start = 0;
    for (std::size_t end; (end = output.find('\n', start)) != std::string::npos; start = end + 1) {
        try {
            ids.push_back(decode<WidgetCommand>(output.substr(start, end - start)).id.string());
        } catch (const DecodingError&) {
        }
    }
    return ids;
}

class QuelmctlDelivery : public testing::Test {
protected:
    TemporaryDirectory temporary;
    fs::path root = temporary / "store";
    fs::path commands = root / "commands";
    SharedStore store { root };

    std::vector<std::string> withRoot(std::vector<std::string> arguments) const
    {
        arguments.push_back("--root");
        arguments.push_back(root.string());
        return arguments;
    }

    std::set<std::string> enqueue(int count)
    {
        std::set<std::string> ids;
        for (int i = 0; i < count; ++i) {
            const auto command = commandAt(aMoment + i);
            store.enqueue(command);
            ids.insert(command.id.string());
        }
        return ids;
    }

    // Gives the store to the user nobody, so that a child can act as its owner without privilege.
    void giveStoreToNobody()
    {
        if (::geteuid() != 0)
            return;
        ASSERT_EQ(::chmod(temporary.path().c_str(), 0755), 0);
        for (const auto& entry : fs::recursive_directory_iterator(root))
            ASSERT_EQ(::lchown(entry.path().c_str(), test::nobody, test::nobody), 0);
        ASSERT_EQ(::chown(root.c_str(), test::nobody, test::nobody), 0);
    }

    // The built program where nobody may run it: the build tree may lie in a folder that only
    // its owner can enter (a clone under mktemp -d).
    std::string quelmctlForNobody() const
    {
        const fs::path copy = temporary.path() / "quelmctl";
        fs::copy_file(test::quelmctlPath(), copy, fs::copy_options::overwrite_existing);
        fs::permissions(copy, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec | fs::perms::others_read | fs::perms::others_exec);
        return copy.string();
    }
};

}

// Killed mid-batch, a drain loses nothing: before, 169 kills lost 25,000 of 60,000 commands.
TEST_F(QuelmctlDelivery, DrainsKilledAtRandomLoseNoCommand)
{
    const int kills = configuredCount("QUELM_DRAIN_KILLS", 30);
    std::set<std::string> enqueued;
    std::map<std::string, int> delivered;
    std::mt19937 random(std::random_device {}());
    // Instants spread over a process's start and a short batch's printing; a drain that finished
    // first is not counted, another one is started.
    std::uniform_int_distribution<int> instant(0, 60'000);
    int killed = 0;
    int killedMidBatch = 0;
    for (int attempt = 0; killed < kills && attempt < 10 * kills; ++attempt) {
        // As many commands a kill as in the run that found the loss, arriving as drains run, so
        // that the queue stays short enough for most drains to die while printing.
        enqueued.merge(enqueue(60));
        Child drain(withRoot({ "drain", "--json" }));
        std::this_thread::sleep_for(std::chrono::microseconds(instant(random)));
        drain.signal(SIGKILL);
        const Result result = drain.finish(120s);
        const bool wasKilled = result.exitCode == 128 + SIGKILL;
        killed += wasKilled ? 1 : 0;
        const auto ids = deliveredIds(result.out);
        // Killed with some of its commands printed and the rest claimed, at least the last batch.
        killedMidBatch += wasKilled && !ids.empty() && !fs::is_empty(root / "claimed") ? 1 : 0;
        for (const auto& id : ids)
            ++delivered[id];
    }
    // However long a loaded machine takes: the deadline only guards against a hang.
    const Result last = Child(withRoot({ "drain", "--json" })).finish(600s);
    ASSERT_EQ(last.exitCode, 0) << last.err;
    for (const auto& id : deliveredIds(last.out))
        ++delivered[id];

    std::size_t lost = 0;
    for (const auto& id : enqueued)
        lost += delivered.count(id) ? 0 : 1;
    std::size_t again = 0;
    for (const auto& [id, times] : delivered)
        again += std::size_t(times - 1);
    std::cout << enqueued.size() << " commands, " << killed << " drains killed (" << killedMidBatch << " after printing part of a batch): " << delivered.size() << " delivered, "
              << again << " again after a kill, " << lost << " lost\n";
    EXPECT_EQ(lost, 0u);
    // Only a drain killed between printing a command and acknowledging it prints it once more.
    EXPECT_LE(again, std::size_t(killed));
    EXPECT_THAT(entriesOf(commands), IsEmpty());
}

// Before, 817 of 10,000 commands were lost to watches killed mid-batch.
TEST_F(QuelmctlDelivery, WatchesKilledAtRandomLoseNoCommand)
{
    const int kills = std::max(10, configuredCount("QUELM_DRAIN_KILLS", 30) / 3);
    std::set<std::string> enqueued;
    std::map<std::string, int> delivered;
    std::mt19937 random(std::random_device {}());
    // Instants spread over a process's start and a short batch's printing; a drain that finished
    // first is not counted, another one is started.
    std::uniform_int_distribution<int> instant(0, 60'000);
    int killed = 0;
    int killedMidBatch = 0;
    for (int attempt = 0; killed < kills && attempt < 10 * kills; ++attempt) {
        enqueued.merge(enqueue(60));
        Child watch(withRoot({ "watch", "--json" }), { { "DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (temporary / "no-bus").string() } });
        std::this_thread::sleep_for(std::chrono::microseconds(instant(random)));
        watch.signal(SIGKILL);
        const Result result = watch.finish(120s);
        const bool wasKilled = result.exitCode == 128 + SIGKILL;
        killed += wasKilled ? 1 : 0;
        const auto ids = deliveredIds(result.out);
        // Killed with some of its commands printed and the rest claimed, at least the last batch.
        killedMidBatch += wasKilled && !ids.empty() && !fs::is_empty(root / "claimed") ? 1 : 0;
        for (const auto& id : ids)
            ++delivered[id];
    }
    // However long a loaded machine takes: the deadline only guards against a hang.
    const Result last = Child(withRoot({ "drain", "--json" })).finish(600s);
    ASSERT_EQ(last.exitCode, 0) << last.err;
    for (const auto& id : deliveredIds(last.out))
        ++delivered[id];

    std::size_t lost = 0;
    for (const auto& id : enqueued)
        lost += delivered.count(id) ? 0 : 1;
    std::size_t again = 0;
    for (const auto& [id, times] : delivered)
        again += std::size_t(times - 1);
    std::cout << enqueued.size() << " commands, " << killed << " watches killed (" << killedMidBatch << " after printing part of a batch): " << delivered.size() << " delivered, "
              << again << " again after a kill, " << lost << " lost\n";
    EXPECT_EQ(lost, 0u);
    EXPECT_LE(again, std::size_t(killed));
    EXPECT_THAT(entriesOf(commands), IsEmpty());
}

// Before, two drains at once delivered up to a third of the commands twice.
TEST_F(QuelmctlDelivery, FourDrainsAtOnceDeliverEachCommandOnce)
{
    const std::set<std::string> enqueued = enqueue(configuredCount("QUELM_CLAIM_COMMANDS", 2000));
    std::vector<std::unique_ptr<Child>> drains;
    for (int i = 0; i < 4; ++i)
        drains.push_back(std::make_unique<Child>(withRoot({ "drain", "--json" })));
    std::map<std::string, int> delivered;
    for (auto& drain : drains) {
        const Result result = drain->finish(600s);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        for (const auto& id : deliveredIds(result.out))
            ++delivered[id];
    }
    std::size_t twice = 0;
    for (const auto& [id, times] : delivered)
        twice += times > 1 ? 1 : 0;
    std::cout << enqueued.size() << " commands, 4 drains at once: " << delivered.size() << " delivered, " << twice << " twice\n";
    EXPECT_EQ(twice, 0u);
    EXPECT_EQ(delivered.size(), enqueued.size());
    EXPECT_THAT(entriesOf(commands), IsEmpty());
}

// prlimit --nofile=4: before, 50 commands were deleted, none printed, exit 0.
TEST_F(QuelmctlDelivery, ADrainWithoutDescriptorsKeepsTheCommandsAndExitsOne)
{
    enqueue(50);
    const Result drain = runPrepared(withRoot({ "drain" }), temporary.path(), [] {
        const rlimit limit { 4, 4 };
        return ::setrlimit(RLIMIT_NOFILE, &limit) == 0 ? std::string() : std::string("setrlimit failed");
    });
    EXPECT_EQ(drain.exitCode, 1) << drain.err;
    EXPECT_EQ(drain.out, "");
    EXPECT_THAT(drain.err, HasSubstr("quelmctl drain: "));
    EXPECT_EQ(entriesOf(commands).size(), 50u);
    EXPECT_EQ(store.drainCommands().size(), 50u);
}

// Before, an unprivileged drain printed the same commands on every run, exit 0.
TEST_F(QuelmctlDelivery, ADrainThatCannotTakeFromTheQueueDeliversNothingAndExitsOne)
{
    enqueue(3);
    giveStoreToNobody();
    ASSERT_EQ(::chmod(commands.c_str(), 0555), 0);
    const std::string program = quelmctlForNobody();
    for (int run = 0; run < 2; ++run) {
        const Result drain = runPrepared(withRoot({ "drain" }), temporary.path(), [] { return test::becomeUnprivileged(); }, program);
        EXPECT_EQ(drain.exitCode, 1) << drain.err;
        EXPECT_EQ(drain.out, "");
        EXPECT_THAT(drain.err, HasSubstr("Permission denied"));
    }
    ASSERT_EQ(::chmod(commands.c_str(), 0700), 0);
    EXPECT_EQ(entriesOf(commands).size(), 3u);
}

// Before, a command another user put into a container at 0777 was delivered.
TEST_F(QuelmctlDelivery, AContainerOthersMayWriteIsRefusedByEveryToolWithItsReason)
{
    const auto injected = commandAt(aMoment);
    store.enqueue(injected);
    ASSERT_EQ(::chmod(root.c_str(), 0777), 0);
    for (const auto& arguments : std::vector<std::vector<std::string>> {
             { "drain" }, { "heartbeat" }, { "toggle", "api", "--start" }, { "publish", "-" } }) {
        SCOPED_TRACE(arguments.front());
        const Result result = run(withRoot(arguments), R"({"items":[],"updatedAt":1})");
        EXPECT_EQ(result.exitCode, 1) << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, HasSubstr("may be written by other users"));
    }
    const Result status = run(withRoot({ "status", "--json" }));
    EXPECT_THAT(status.out, HasSubstr("noAccess"));
    ASSERT_EQ(::chmod(root.c_str(), 0700), 0);
    EXPECT_THAT(store.drainCommands(), ElementsAre(injected));
}

TEST_F(QuelmctlDelivery, AHeartbeatThatCannotBeWrittenExitsOneEvenBesideAFreshBeat)
{
    store.writeSnapshot(WidgetSnapshot::empty);
    store.touchHeartbeat(Date::now());
    giveStoreToNobody();
    const std::string program = quelmctlForNobody();
    ASSERT_EQ(::chmod(root.c_str(), 0500), 0);
    const Result beat = runPrepared(withRoot({ "heartbeat" }), temporary.path(), [] { return test::becomeUnprivileged(); }, program);
    ASSERT_EQ(::chmod(root.c_str(), 0700), 0);
    EXPECT_EQ(beat.exitCode, 1) << beat.err;
    EXPECT_THAT(beat.err, HasSubstr("cannot write the heartbeat"));
    EXPECT_THAT(beat.err, HasSubstr("Permission denied"));
}

TEST_F(QuelmctlDelivery, AToggleThatCannotMarkExitsOneAndSaysWhy)
{
    fs::create_directories(root / "pending.json");
    const Result toggle = run(withRoot({ "toggle", "api", "--start" }));
    EXPECT_EQ(toggle.exitCode, 1) << toggle.err;
    EXPECT_THAT(toggle.err, HasSubstr("could not be marked pending"));
    EXPECT_THAT(toggle.err, HasSubstr("pending.json"));
    // The command itself went out, as the widget's tap sends it.
    EXPECT_EQ(store.drainCommands().size(), 1u);
}

// Before, a 70,000-character id was written, then deleted unread by the drain.
TEST_F(QuelmctlDelivery, WritersRefuseWhatTheReadersWouldRefuse)
{
    const Result toggle = run(withRoot({ "toggle", std::string(70'000, 'x'), "--start" }));
    EXPECT_EQ(toggle.exitCode, 1) << toggle.err;
    EXPECT_THAT(toggle.err, HasSubstr("64 KiB"));
    EXPECT_FALSE(fs::exists(commands) && !fs::is_empty(commands));

    const std::string huge = R"({"items":[],"language":")" + std::string(17 * 1024 * 1024, 'a') + R"(","updatedAt":1})";
    // However long a loaded machine (or a sanitized build) takes to decode 17 MiB.
    Child publishing(withRoot({ "publish", "-" }));
    publishing.write(huge);
    const Result publish = publishing.finish(600s);
    EXPECT_EQ(publish.exitCode, 1) << publish.err;
    EXPECT_THAT(publish.err, HasSubstr("16 MiB"));
    EXPECT_FALSE(fs::exists(root / "snapshot.json"));
}

// After each rename the directory is flushed too, so that a power cut cannot take the file back.
TEST_F(QuelmctlDelivery, EveryWriteFlushesItsDirectoryAfterTheRename)
{
    if (::system("strace -V >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "strace is not installed (scripts/install-deps.sh test installs it)";
    store.writeSnapshot(WidgetSnapshot::empty);
    const std::string rootText = fs::canonical(root).string();
    for (const auto& [arguments, file] : std::vector<std::pair<std::vector<std::string>, std::string>> {
             { { "publish", "-" }, "snapshot.json" }, { { "heartbeat" }, "heartbeat" },
             { { "toggle", "api", "--start" }, "pending.json" }, { { "toggle", "db", "--stop" }, "commands/" } }) {
        SCOPED_TRACE(file);
        const fs::path trace = temporary / "trace";
        // LeakSanitizer (in a sanitized build) cannot stop a traced process's threads.
        std::string command = "ASAN_OPTIONS=detect_leaks=0 strace -f -y -qq -e trace=rename,renameat,renameat2,fsync -o " + trace.string() + " "
            + test::quelmctlPath();
        for (const auto& argument : withRoot(arguments))
            command += " '" + argument + "'";
        command += " > /dev/null 2>&1 <<< '{\"items\":[],\"updatedAt\":1}'";
        const std::string script = temporary.path().string() + "/run.sh";
        writeFile(script, command + "\n");
        ASSERT_EQ(::system(("bash " + script).c_str()), 0) << readFile(trace);
        const std::string log = readFile(trace);
        const auto renamed = log.find(rootText + "/" + file);
        ASSERT_NE(renamed, std::string::npos) << log;
        const std::string directory = file == "commands/" ? rootText + "/commands>" : rootText + ">";
        EXPECT_NE(log.find("fsync(", renamed), std::string::npos) << log;
        EXPECT_NE(log.find(directory, renamed), std::string::npos) << "no fsync of " << directory << " after the rename:\n" << log;
    }
}

namespace {

// A bus daemon at a fixed address, so that it can go away and come back where it was.
class BusDaemonAt {
public:
    explicit BusDaemonAt(fs::path socket)
        : m_socket(std::move(socket))
    {
    }
    ~BusDaemonAt() { stop(); }

    std::string address() const { return "unix:path=" + m_socket.string(); }

    bool start()
    {
        fs::remove(m_socket);
        m_pid = ::fork();
        if (m_pid == 0) {
            const int quiet = ::open("/dev/null", O_WRONLY);
            ::dup2(quiet, 1);
            ::dup2(quiet, 2);
            const std::string address = "--address=" + this->address();
            ::execlp("dbus-daemon", "dbus-daemon", "--session", "--nofork", "--nosyslog", address.c_str(), nullptr);
            ::_exit(127);
        }
        // Up once its socket is there; a generous deadline for a loaded machine.
        for (auto end = std::chrono::steady_clock::now() + 30s; std::chrono::steady_clock::now() < end;
             std::this_thread::sleep_for(10ms)) {
            if (fs::exists(m_socket))
                return true;
        }
        return false;
    }

    void stop()
    {
        if (m_pid <= 0)
            return;
        ::kill(m_pid, SIGTERM);
        while (::waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
        }
        m_pid = 0;
    }

    // How many connections the daemon has besides the one asking.
    int connections() const
    {
        const std::string command = "dbus-send --bus=" + address()
            + " --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus org.freedesktop.DBus.ListNames 2>/dev/null"
              " | grep -c 'string \":'";
        FILE* pipe = ::popen(command.c_str(), "r");
        if (!pipe)
            return -1;
        int count = 0;
        if (std::fscanf(pipe, "%d", &count) != 1)
            count = -1;
        ::pclose(pipe);
        return count - 1;
    }

private:
    fs::path m_socket;
    pid_t m_pid = 0;
};

template<class Condition>
bool waitFor(Condition condition)
{
    for (auto end = std::chrono::steady_clock::now() + 60s; std::chrono::steady_clock::now() < end;
         std::this_thread::sleep_for(20ms)) {
        if (condition())
            return true;
    }
    return false;
}

}

// Before, with no bus a watch took only the commands waiting at its start.
TEST_F(QuelmctlDelivery, AWatchWithoutABusTakesEachCommandAsItArrives)
{
    store.writeSnapshot(WidgetSnapshot::empty);
    Child watch(withRoot({ "watch", "--json" }), { { "DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (temporary / "no-bus").string() } });
    ASSERT_TRUE(waitFor([&] { return fs::exists(root / "claimed") && !fs::is_empty(root / "claimed"); }));
    for (int i = 0; i < 3; ++i) {
        const auto command = commandAt(aMoment + i);
        store.enqueue(command);
        const auto line = watch.readLine(60s);
        ASSERT_TRUE(line) << "the command was not taken";
        EXPECT_EQ(decode<WidgetCommand>(*line), command);
    }
    watch.signal(SIGTERM);
    const Result result = watch.finish(60s);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.err, HasSubstr("no session bus"));
}

// Before, a watch never listened again after the bus restarted, and never took another command.
TEST_F(QuelmctlDelivery, AWatchTakesCommandsWhileTheBusIsAwayAndListensAgainWhenItIsBack)
{
    if (::system("dbus-send --help >/dev/null 2>&1") != 0 && ::system("command -v dbus-send >/dev/null") != 0)
        GTEST_SKIP() << "dbus-send is not installed";
    store.writeSnapshot(WidgetSnapshot::empty);
    BusDaemonAt bus(temporary / "bus");
    ASSERT_TRUE(bus.start());
    Child watch(withRoot({ "watch", "--json" }), { { "DBUS_SESSION_BUS_ADDRESS", bus.address() } });
    ASSERT_TRUE(waitFor([&] { return bus.connections() >= 1; })) << "the watch never connected";

    bus.stop();
    const auto whileAway = commandAt(aMoment);
    store.enqueue(whileAway);
    auto line = watch.readLine(60s);
    ASSERT_TRUE(line) << "the command queued while the bus was away was not taken";
    EXPECT_EQ(decode<WidgetCommand>(*line), whileAway);

    ASSERT_TRUE(bus.start());
    EXPECT_TRUE(waitFor([&] { return bus.connections() >= 1; })) << "the watch did not connect to the bus again";
    const auto afterwards = commandAt(aMoment + 1);
    store.enqueue(afterwards);
    line = watch.readLine(60s);
    ASSERT_TRUE(line);
    EXPECT_EQ(decode<WidgetCommand>(*line), afterwards);

    watch.signal(SIGTERM);
    const Result result = watch.finish(60s);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.err, HasSubstr("listening on the session bus again"));
}
