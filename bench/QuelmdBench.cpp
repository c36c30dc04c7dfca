// SPDX-License-Identifier: MIT
// quelmd against the real systemd user manager: how long a tap takes to become a running unit
// and a published snapshot, next to `systemctl --user start` of the same command; how soon a
// killed service shows stopped; and what quelmd costs while idle with 10 services.
//
// Needs a systemd user manager of its own: run it through the tests' harness,
//   bash tests/quelmd/with-user-systemd.sh build/bench/QuelmdBench [TAPS] [IDLE_SECONDS]
// (default 50 taps, 60 idle seconds). Targets: tap p50 and p95 at most 1.2 × systemctl's plus
// 5 ms; a killed service stopped within 1 s; idle RSS at most 8 MB and CPU at most 0.05 %.

#include "QuelmdProcess.h"

#include "Intent/ToggleItemIntent.h"

#include <quelm/SharedStore.h>
#include <quelm/WireFormat.h>

#include <algorithm>
#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>

#include <sys/inotify.h>
#include <poll.h>

using namespace quelm;
using namespace quelm::test;

namespace {

using Clock = std::chrono::steady_clock;

double percentile(std::vector<double> values, double fraction)
{
    std::sort(values.begin(), values.end());
    std::size_t rank = static_cast<std::size_t>(fraction * static_cast<double>(values.size()) + 0.999999);
    rank = std::clamp<std::size_t>(rank, 1, values.size());
    return values[rank - 1];
}

double milliseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

// Sleeps on the container's inotify events until the snapshot satisfies `wanted`: no polling
// delay adds to the measurement.
class SnapshotWaiter {
public:
    explicit SnapshotWaiter(SharedStore store)
        : m_store(std::move(store))
        , m_fd(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK))
    {
        std::filesystem::create_directories(m_store.root());
        ::inotify_add_watch(m_fd, m_store.root().c_str(), IN_MOVED_TO | IN_CLOSE_WRITE);
    }
    ~SnapshotWaiter() { ::close(m_fd); }

    bool waitFor(const std::function<bool(const WidgetSnapshot&)>& wanted, std::chrono::seconds deadline = std::chrono::seconds(30))
    {
        const auto end = Clock::now() + deadline;
        while (!wanted(m_store.readSnapshot())) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
            if (left <= 0)
                return false;
            pollfd readable { m_fd, POLLIN, 0 };
            ::poll(&readable, 1, static_cast<int>(std::min<long long>(left, 100)));
            char buffer[4096];
            while (::read(m_fd, buffer, sizeof buffer) > 0) {
            }
        }
        return true;
    }

private:
    SharedStore m_store;
    int m_fd;
};

bool itemRunning(const WidgetSnapshot& snapshot, const std::string& id, bool running)
{
    for (const WidgetItem& item : snapshot.items)
        if (item.id == id)
            return item.isRunning == running && !item.transition;
    return false;
}

struct ProcessCost {
    double rssKilobytes = 0;
    double cpuSeconds = 0;
};

ProcessCost costOf(pid_t pid)
{
    ProcessCost cost;
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmRSS:"))
            cost.rssKilobytes = std::stod(line.substr(6));
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::vector<std::string> values((std::istream_iterator<std::string>(fields)), std::istream_iterator<std::string>());
    const double ticks = static_cast<double>(::sysconf(_SC_CLK_TCK));
    cost.cpuSeconds = (std::stod(values.at(11)) + std::stod(values.at(12))) / ticks;
    return cost;
}

}

int main(int argc, char** argv)
{
    const int taps = argc > 1 ? std::max(1, std::atoi(argv[1])) : 50;
    const int idleSeconds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 60;
    if (const char* why = std::getenv("QUELM_NO_USER_SYSTEMD")) {
        std::printf("QuelmdBench: skipped: no systemd user manager: %s\n", why);
        return 0;
    }
    if (!std::getenv("QUELM_USER_SYSTEMD")) {
        std::printf("QuelmdBench: run it through tests/quelmd/with-user-systemd.sh, which gives it a user manager of its own\n");
        return 1;
    }

    char pattern[] = "/tmp/quelmd-bench-XXXXXX";
    const std::filesystem::path directory = ::mkdtemp(pattern);
    ::setenv("XDG_DATA_HOME", (directory / "data").c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (directory / "config").c_str(), 1);
    std::filesystem::create_directories(directory / "config" / "quelm");
    const SharedStore store(directory / "data" / "group-containers" / "local.dev.quelm.Quelm");

    // The tapped service and nine more, as a user's configuration would hold them.
    std::string configuration = "[[service]]\nid = \"bench-tap\"\ntitle = \"tap\"\ncommand = [\"sleep\", \"1000000\"]\n\n";
    for (int index = 1; index < 10; ++index)
        configuration += "[[service]]\nid = \"bench-idle-" + std::to_string(index) + "\"\ntitle = \"idle " + std::to_string(index)
            + "\"\ncommand = [\"python3\", \"-m\", \"http.server\", \"" + std::to_string(freePort()) + "\", \"--bind\", \"127.0.0.1\"]\n\n";
    std::ofstream(directory / "config" / "quelm" / "services.toml") << configuration;

    // The same command as a unit of its own, for systemctl.
    const std::filesystem::path units = std::filesystem::path(std::getenv("XDG_RUNTIME_DIR")) / "systemd" / "user";
    std::filesystem::create_directories(units);
    const std::string sleepPath = "/bin/sleep";
    std::ofstream(units / "bench-baseline.service") << "[Unit]\nStartLimitIntervalSec=0\n[Service]\nType=exec\nExecStart=" << sleepPath << " 1000000\n";
    runProgram({ "systemctl", "--user", "daemon-reload" });

    const pid_t quelmd = ::fork();
    if (quelmd == 0) {
        const std::string program = QUELMD_PROGRAM;
        ::execl(program.c_str(), program.c_str(), static_cast<char*>(nullptr));
        ::_exit(127);
    }
    // quelmd goes with the benchmark, however it ends.
    struct Ender {
        pid_t pid;
        ~Ender()
        {
            ::kill(pid, SIGTERM);
            ::waitpid(pid, nullptr, 0);
        }
    } ender { quelmd };
    SnapshotWaiter waiter(store);
    if (!waiter.waitFor([](const WidgetSnapshot& snapshot) { return snapshot.items.size() == 10; })) {
        std::printf("QuelmdBench: quelmd never published\n");
        return 1;
    }

    std::vector<double> tapTimes;
    std::vector<double> intentTimes; // the widget's own share: write the command, mark it, post
    for (int tap = 0; tap < taps + 3; ++tap) {
        const auto start = Clock::now();
        ToggleItemIntent("bench-tap", true).perform(store);
        if (tap >= 3)
            intentTimes.push_back(milliseconds(Clock::now() - start));
        if (!waiter.waitFor([](const WidgetSnapshot& snapshot) { return itemRunning(snapshot, "bench-tap", true); })) {
            std::printf("QuelmdBench: tap %d never showed running: %s\n", tap, encode(store.readSnapshot()).c_str());
            return 1;
        }
        if (tap >= 3)
            tapTimes.push_back(milliseconds(Clock::now() - start));
        ToggleItemIntent("bench-tap", false).perform(store);
        waiter.waitFor([](const WidgetSnapshot& snapshot) { return itemRunning(snapshot, "bench-tap", false); });
    }

    std::vector<double> systemctlTimes;
    for (int run = 0; run < taps + 3; ++run) {
        const auto start = Clock::now();
        runProgram({ "systemctl", "--user", "start", "bench-baseline.service" });
        if (run >= 3)
            systemctlTimes.push_back(milliseconds(Clock::now() - start));
        runProgram({ "systemctl", "--user", "stop", "bench-baseline.service" });
    }

    std::vector<double> killTimes;
    for (int kill = 0; kill < 10; ++kill) {
        ToggleItemIntent("bench-tap", true).perform(store);
        waiter.waitFor([](const WidgetSnapshot& snapshot) { return itemRunning(snapshot, "bench-tap", true); });
        const pid_t pid = std::stoi(unitProperty("quelm-bench-tap.service", "MainPID"));
        const auto start = Clock::now();
        ::kill(pid, SIGKILL);
        waiter.waitFor([](const WidgetSnapshot& snapshot) { return itemRunning(snapshot, "bench-tap", false); });
        killTimes.push_back(milliseconds(Clock::now() - start));
    }

    const double tapP50 = percentile(tapTimes, 0.5), tapP95 = percentile(tapTimes, 0.95);
    const double ctlP50 = percentile(systemctlTimes, 0.5), ctlP95 = percentile(systemctlTimes, 0.95);
    std::printf("tap -> unit active -> snapshot   p50 %7.2f ms   p95 %7.2f ms   (%d taps)\n", tapP50, tapP95, taps);
    std::printf("  of which the widget's intent    p50 %7.2f ms   p95 %7.2f ms\n", percentile(intentTimes, 0.5), percentile(intentTimes, 0.95));
    std::printf("systemctl --user start           p50 %7.2f ms   p95 %7.2f ms\n", ctlP50, ctlP95);
    std::printf("  target p50 <= %.2f ms: %s; target p95 <= %.2f ms: %s\n", 1.2 * ctlP50 + 5, tapP50 <= 1.2 * ctlP50 + 5 ? "met" : "MISSED",
        1.2 * ctlP95 + 5, tapP95 <= 1.2 * ctlP95 + 5 ? "met" : "MISSED");
    std::printf("kill -> snapshot stopped         p50 %7.2f ms   max %7.2f ms   (target < 1000 ms: %s)\n", percentile(killTimes, 0.5),
        percentile(killTimes, 1.0), percentile(killTimes, 1.0) < 1000 ? "met" : "MISSED");
    std::fflush(stdout);

    // Idle: all ten running, nothing asked.
    for (int index = 1; index < 10; ++index)
        ToggleItemIntent("bench-idle-" + std::to_string(index), true).perform(store);
    ToggleItemIntent("bench-tap", true).perform(store);
    waiter.waitFor([](const WidgetSnapshot& snapshot) {
        return std::all_of(snapshot.items.begin(), snapshot.items.end(), [](const WidgetItem& item) { return item.isRunning && item.port.has_value() == (item.id != "bench-tap"); });
    });
    const ProcessCost before = costOf(quelmd);
    std::this_thread::sleep_for(std::chrono::seconds(idleSeconds));
    const ProcessCost after = costOf(quelmd);
    const double cpuPercent = 100 * (after.cpuSeconds - before.cpuSeconds) / idleSeconds;
    std::printf("idle with 10 services (%d s)      RSS %.1f MB (target <= 8 MB: %s)   CPU %.3f %% (target <= 0.05 %%: %s)\n", idleSeconds,
        after.rssKilobytes / 1024, after.rssKilobytes / 1024 <= 8 ? "met" : "MISSED", cpuPercent, cpuPercent <= 0.05 ? "met" : "MISSED");

    std::vector<std::string> stop { "systemctl", "--user", "stop", "quelm-bench-tap.service" };
    for (int index = 1; index < 10; ++index)
        stop.push_back("quelm-bench-idle-" + std::to_string(index) + ".service");
    runProgram(stop);
    std::filesystem::remove_all(directory);
    return 0;
}
