// SPDX-License-Identifier: MIT
// Four widget processes tap start/stop buttons as fast as they can while one app process drains
// the queue each time the command notification wakes it: every command arrives exactly once, each
// drain hands its commands over in issue order, "pending.json" reads whole throughout and, its
// read-modify-write being locked, ends with a mark for every item tapped.
//
// Each widget taps the same few items over and over, as a user does: "pending.json" holds one mark
// per item, so a tap costs the same at the end of the run as at its start. A command is known by
// its id; the counts per item tell a lost command from a doubled one.
//
// QUELM_STRESS_TOGGLES sets the taps in all (default 2000; scripts/stress.sh runs 10000).

#include "Intent/ToggleItemIntent.h"

#include <quelm/NotificationObserver.h>
#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>
#include <quelm/WireFormat.h>

#include "SessionBus.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace quelm;
namespace fs = std::filesystem;
using std::chrono::steady_clock;

namespace {

constexpr int widgetProcesses = 4;
constexpr int itemsPerWidget = 25;
// A run is given up only when no widget has tapped for this long: a slow or busy machine is not a
// failure, a stuck one is.
constexpr auto quietLimit = std::chrono::minutes(2);

int totalToggles()
{
    // Fewer taps than widget processes would leave a process without any.
    const int toggles = test::configuredCount("QUELM_STRESS_TOGGLES", 2000);
    return toggles >= widgetProcesses ? toggles : 2000;
}

std::string itemOf(int tap)
{
    const int widget = tap % widgetProcesses;
    return "widget" + std::to_string(widget) + "-item" + std::to_string(tap / widgetProcesses % itemsPerWidget);
}

void writeAll(int fd, const std::string& text)
{
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = ::write(fd, text.data() + written, text.size() - written);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return;
        written += std::size_t(count);
    }
}

// One drain as the app recorded it.
struct Drain {
    bool final = false;
    std::vector<WidgetCommand> commands;
};

// The app's side, in a process of its own: drains on every notification and writes each drain to
// `log` as a line "drain <final> <count>" followed by one encoded command per line.
[[noreturn]] void runApp(const SharedStore& store, const fs::path& log, int ready, int stop)
{
    const int out = ::open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    auto record = [&](const std::vector<WidgetCommand>& commands, bool final) {
        std::string text = "drain " + std::to_string(int(final)) + " " + std::to_string(commands.size()) + "\n";
        for (const auto& command : commands)
            text += encode(command) + "\n";
        writeAll(out, text);
    };
    auto observer = std::make_unique<NotificationObserver>(std::string(SharedConstants::commandNotification), [&] {
        auto commands = store.drainCommands();
        if (!commands.empty())
            record(commands, false);
    });
    writeAll(ready, "r");
    char byte;
    while (::read(stop, &byte, 1) < 0 && errno == EINTR) {
    }
    // No delivery runs past this point; the last drain takes what the notifications left.
    observer.reset();
    record(store.drainCommands(), true);
    ::close(out);
    ::_exit(0);
}

std::vector<Drain> readDrains(const fs::path& log)
{
    std::vector<Drain> drains;
    std::ifstream in(log);
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream header(line);
        std::string word;
        int final = 0;
        std::size_t count = 0;
        if (!(header >> word >> final >> count) || word != "drain")
            throw std::runtime_error("unexpected line in the drain log: " + line);
        Drain drain { final != 0, {} };
        for (std::size_t i = 0; i < count && std::getline(in, line); ++i)
            drain.commands.push_back(decode<WidgetCommand>(line));
        drains.push_back(std::move(drain));
    }
    return drains;
}

bool waitForByte(int fd, std::chrono::seconds deadline)
{
    pollfd readable { fd, POLLIN, 0 };
    if (::poll(&readable, 1, int(std::chrono::milliseconds(deadline).count())) <= 0)
        return false;
    char byte;
    return ::read(fd, &byte, 1) == 1;
}

// Waits for every widget, each of which writes a byte to `progress` after each tap; when none has
// tapped for `quietLimit`, those still running are killed. Returns the wait statuses.
std::vector<int> waitWhileTapping(const std::vector<pid_t>& widgets, int progress)
{
    std::vector<int> statuses(widgets.size(), -1);
    auto lastTap = steady_clock::now();
    auto running = [&] { return std::count(statuses.begin(), statuses.end(), -1); };
    while (running() > 0) {
        pollfd readable { progress, POLLIN, 0 };
        if (::poll(&readable, 1, 100) > 0) {
            char bytes[256];
            if (::read(progress, bytes, sizeof bytes) > 0)
                lastTap = steady_clock::now();
        }
        const bool stuck = steady_clock::now() - lastTap > quietLimit;
        for (std::size_t i = 0; i < widgets.size(); ++i) {
            if (statuses[i] != -1)
                continue;
            int status = 0;
            if (stuck)
                ::kill(widgets[i], SIGKILL);
            if (::waitpid(widgets[i], &status, stuck ? 0 : WNOHANG) == widgets[i])
                statuses[i] = status;
        }
    }
    return statuses;
}

// Waits for `child`; a child still running at `deadline` is killed. Returns the wait status.
int waitOrKill(pid_t child, steady_clock::time_point deadline)
{
    int status = 0;
    for (;;) {
        const pid_t done = ::waitpid(child, &status, WNOHANG);
        if (done == child || (done < 0 && errno != EINTR))
            return status;
        if (steady_clock::now() > deadline) {
            ::kill(child, SIGKILL);
            ::waitpid(child, &status, 0);
            return status;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

pid_t forkChild(const std::function<void()>& body)
{
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent)
            ::_exit(127);
        body();
        ::_exit(0);
    }
    return child;
}

}

TEST(CommandStress, EveryCommandFromFourWidgetsIsDrainedExactlyOnceAndInOrder)
{
    test::TemporaryDirectory dataHome;
    test::ScopedEnvironment xdgDataHome("XDG_DATA_HOME", dataHome.path().string());
    // A bus of its own: no other test's notification wakes this app, nor this test's another.
    test::DedicatedSessionBus bus;
    test::ScopedEnvironment busAddress("DBUS_SESSION_BUS_ADDRESS", bus.address());
    const auto store = SharedStore::forAppGroup(SharedConstants::appGroupIdentifier);
    ASSERT_TRUE(store);
    const auto log = dataHome / "drains.log";
    const int toggles = totalToggles();

    int ready[2];
    int stop[2];
    int progress[2];
    ASSERT_EQ(::pipe2(ready, O_CLOEXEC), 0);
    ASSERT_EQ(::pipe2(stop, O_CLOEXEC), 0);
    ASSERT_EQ(::pipe2(progress, O_CLOEXEC | O_NONBLOCK), 0);
    const pid_t app = forkChild([&] { runApp(*store, log, ready[1], stop[0]); });
    ASSERT_TRUE(waitForByte(ready[0], std::chrono::seconds(10))) << "the app did not start observing";

    const auto start = steady_clock::now();
    std::vector<pid_t> widgets;
    for (int widget = 0; widget < widgetProcesses; ++widget) {
        widgets.push_back(forkChild([&, widget] {
            for (int tap = widget; tap < toggles; tap += widgetProcesses) {
                try {
                    ToggleItemIntent(itemOf(tap), tap % 2 == 0).perform();
                    writeAll(progress[1], "t");
                } catch (const std::exception& error) {
                    std::fprintf(stderr, "widget %d, tap %d: %s\n", widget, tap, error.what());
                    ::_exit(1);
                }
            }
        }));
    }

    // Meanwhile the widgets' own reader of the marks.
    std::atomic<bool> writing { true };
    std::atomic<long> pendingReads { 0 };
    std::string pendingProblem;
    std::thread pendingReader([&] {
        const auto pendingFile = store->root() / "pending.json";
        while (writing.load() && pendingProblem.empty()) {
            if (!fs::exists(pendingFile)) {
                std::this_thread::yield();
                continue;
            }
            try {
                decode<PendingCommands>(test::readFile(pendingFile));
                pendingReads.fetch_add(1);
            } catch (const std::exception& error) {
                pendingProblem = error.what();
            }
        }
    });

    for (const int status : waitWhileTapping(widgets, progress[0]))
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "a widget process failed, status " << status;
    const auto tapping = std::chrono::duration<double>(steady_clock::now() - start).count();
    writing = false;
    pendingReader.join();
    ASSERT_EQ(::write(stop[1], "s", 1), 1);
    const int appStatus = waitOrKill(app, steady_clock::now() + std::chrono::seconds(30));
    ASSERT_TRUE(WIFEXITED(appStatus) && WEXITSTATUS(appStatus) == 0) << "the app failed, status " << appStatus;
    for (int fd : { ready[0], ready[1], stop[0], stop[1], progress[0], progress[1] })
        ::close(fd);
    EXPECT_EQ(pendingProblem, "");

    const auto drains = readDrains(log);
    std::map<std::string, int> timesDrained;
    std::set<Uuid> ids;
    long drained = 0;
    long drainedOnNotification = 0;
    long outOfOrder = 0;
    for (const auto& drain : drains) {
        for (std::size_t i = 0; i < drain.commands.size(); ++i) {
            const auto& command = drain.commands[i];
            ++timesDrained[command.itemID];
            ids.insert(command.id);
            outOfOrder += i > 0 && command.issuedAt < drain.commands[i - 1].issuedAt;
        }
        drained += long(drain.commands.size());
        if (!drain.final)
            drainedOnNotification += long(drain.commands.size());
    }
    std::map<std::string, int> timesTapped;
    for (int tap = 0; tap < toggles; ++tap)
        ++timesTapped[itemOf(tap)];
    long lost = 0;
    for (const auto& [itemID, taps] : timesTapped)
        lost += std::max(0, taps - timesDrained[itemID]);
    EXPECT_EQ(lost, 0);
    EXPECT_EQ(drained - long(ids.size()), 0) << "commands drained twice";
    EXPECT_EQ(long(ids.size()), toggles);
    EXPECT_EQ(timesDrained, timesTapped) << "commands nobody issued were drained";
    EXPECT_EQ(outOfOrder, 0);
    // The notifications, not only the last drain, did the work.
    EXPECT_GT(drainedOnNotification, 0);
    EXPECT_TRUE(fs::is_empty(store->root() / "commands"));

    const auto marks = decode<PendingCommands>(test::readFile(store->root() / "pending.json"));
    for (const auto& [itemID, command] : marks)
        EXPECT_EQ(itemID, command.itemID);
    EXPECT_EQ(marks.size(), timesTapped.size()) << "marks were lost";
    std::cout << toggles << " taps by " << widgetProcesses << " widget processes in " << tapping << " s; " << drains.size()
              << " drains, " << drainedOnNotification << " commands drained on a notification, "
              << toggles - drainedOnNotification << " by the last drain; " << pendingReads.load()
              << " reads of pending.json, all whole; " << marks.size() << " marks for "
              << timesTapped.size() << " items\n";
    RecordProperty("toggles", toggles);
    RecordProperty("drains", int(drains.size()));
    RecordProperty("marksKept", int(marks.size()));
}
