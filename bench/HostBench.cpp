// SPDX-License-Identifier: MIT
// The desktop host measured from outside, as a user meets it: four widgets (one of each family)
// on an X display of the benchmark's own, fed through the container by quelmctl.
//   clickToPendingRepaint  click on a start button → first repaint showing it busy, as the host
//                          itself measures it (QUELM_HOST_TRACE "pending" lines), over
//                          QUELM_BENCH_CLICKS clicks (100 by default)
//   residentMemory         the host's RSS with the four widgets placed and drawn (measured
//                          first, before the clicks' traces have grown its heap)
//   idleProcessorShare     the host's CPU share while `quelmctl demo` runs beside it and nobody
//                          clicks (QUELM_BENCH_IDLE_SECONDS, 60 by default)
// Needs Xvfb and xdotool; run it as it is, it starts its own display and session bus is not needed
// (without one a click still queues its command; only the notification is not posted).

#include "ChildProcess.h"
#include "ChildWithOutput.h"
#include "ViewTreeSearch.h"

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using nlohmann::json;
using quelm::test::ChildWithOutput;
using quelm::test::findNode;
namespace fs = std::filesystem;

constexpr const char* sampleSnapshot = R"json({"items":[
  {"id":"a","title":"my-api (dev)","category":"node","isRunning":true,"port":3000,"startedAt":1700000000},
  {"id":"b","title":"web (dev)","category":"node","isRunning":true,"port":5173,"startedAt":1700000000},
  {"id":"c","title":"postgres","category":"database","isRunning":false},
  {"id":"d","title":"py-svc (uvicorn)","category":"server","isRunning":true,"port":8000,"startedAt":1700000000},
  {"id":"e","title":"cache (shop)","category":"docker","isRunning":false}],
 "groups":[{"id":"group:x","name":"Trabalho","memberCount":3,"runningCount":2,"isActive":true}],
 "sessions":[{"id":"s1","title":"Ajustar o widget","project":"quelm","state":"needsApproval"},
  {"id":"s2","title":"Migração do banco","project":"my-api","state":"working"}],
 "updatedAt":0})json";

struct Window {
    std::string id;
    std::string family;
    int x = 0;
    int y = 0;
};

// A temporary container and settings folder, a display, and the host with four widgets on it.
class HostUnderTest {
public:
    HostUnderTest()
        : m_directory(makeDirectory())
    {
        ::setenv("XDG_DATA_HOME", (m_directory / "data").c_str(), 1);
        ::setenv("XDG_CONFIG_HOME", (m_directory / "config").c_str(), 1);
        ::setenv("QUELM_HOST_TRACE", "1", 1);
        ::setenv("QT_QPA_PLATFORM", "xcb", 1);
        ::setenv("LC_ALL", "C.UTF-8", 1);
        ::unsetenv("WAYLAND_DISPLAY");

        fs::create_directories(m_directory / "config" / "quelm");
        std::ofstream(m_directory / "config" / "quelm" / "widgets.json") << R"json({"widgets":[
            {"id":"small","family":"small","sortOrder":"category","position":{"x":20,"y":20}},
            {"id":"medium","family":"medium","sortOrder":"category","position":{"x":220,"y":20}},
            {"id":"large","family":"large","sortOrder":"recent","position":{"x":20,"y":240}},
            {"id":"extraLarge","family":"extraLarge","sortOrder":"category","position":{"x":420,"y":240}}]})json";
        std::ofstream(snapshotFile()) << sampleSnapshot;
        publish();
        if (quelmctl({ "heartbeat" }) != 0)
            throw std::runtime_error("quelmctl heartbeat failed");

        m_display = std::make_unique<ChildWithOutput>(
            std::vector<std::string> { "Xvfb", "-displayfd", "3", "-screen", "0", "1920x1200x24", "-nolisten", "tcp" }, 3);
        const auto number = m_display->waitForLine([](const std::string& line) { return !line.empty(); });
        if (!number)
            throw std::runtime_error("Xvfb did not start");
        ::setenv("DISPLAY", (":" + *number).c_str(), 1);

        const auto started = std::chrono::steady_clock::now();
        m_host = std::make_unique<ChildWithOutput>(std::vector<std::string> { QUELM_WIDGET_PROGRAM });
        while (m_windows.size() < 4) {
            const auto line = m_host->waitForLine([](const std::string& l) { return l.starts_with("window "); });
            if (!line)
                throw std::runtime_error("the host did not show its four widgets");
            Window window;
            std::istringstream(line->substr(7)) >> window.id >> window.family >> window.x >> window.y;
            m_windows[window.id] = window;
        }
        std::set<std::string> showingTheApp;
        const auto allShown = m_host->waitForLine([&](const std::string& l) {
            if (const std::string* id = keepRender(l); id && m_lastTree[*id]["appStatus"] == "running")
                showingTheApp.insert(*id);
            return showingTheApp.size() == m_windows.size();
        });
        if (!allShown)
            throw std::runtime_error("the widgets never showed the running app");
        m_startupMilliseconds = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - started).count();
    }

    ~HostUnderTest()
    {
        m_host.reset();
        m_display.reset();
        std::error_code ignored;
        fs::remove_all(m_directory, ignored);
    }

    pid_t hostProcess() const { return m_host->pid(); }
    // From starting the program to every widget showing the app's state (its first timeline).
    double startupMilliseconds() const { return m_startupMilliseconds; }
    const Window& window(const std::string& id) const { return m_windows.at(id); }
    const json& lastTree(const std::string& id) const { return m_lastTree.at(id); }

    int quelmctl(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), QUELMCTL_PROGRAM);
        return quelm::test::runQuietly(arguments);
    }
    void publish() const
    {
        if (quelmctl({ "publish", snapshotFile().string(), "--stamp" }) != 0)
            throw std::runtime_error("quelmctl publish failed");
    }

    // Waits for a render of widget `id` whose tree satisfies `wanted`; every widget's latest tree
    // is kept on the way.
    void waitForRender(const std::string& id, const std::function<bool(const json&)>& wanted)
    {
        const auto line = m_host->waitForLine([&](const std::string& l) {
            const std::string* shownBy = keepRender(l);
            return shownBy && *shownBy == id && wanted(m_lastTree[id]);
        });
        if (!line)
            throw std::runtime_error("widget " + id + " never showed what was awaited");
    }

    // The "pending" line of widget `id` for `itemID`: milliseconds from click to repaint.
    double waitForPendingRepaint(const std::string& id, const std::string& itemID)
    {
        const std::string prefix = "pending " + id + " " + itemID + " ";
        const auto line = m_host->waitForLine([&](const std::string& l) { return l.starts_with(prefix); });
        if (!line)
            throw std::runtime_error("no repaint showed " + itemID + " busy; the host said:\n" + recentLines());
        return std::stod(line->substr(prefix.size()));
    }

    void click(int x, int y) const
    {
        // From a corner: xdotool's --sync waits for the pointer to move, up to 15 s when it already
        // stands on the spot.
        if (quelm::test::runQuietly({ "xdotool", "mousemove", "--sync", "0", "0", "mousemove", "--sync", std::to_string(x), std::to_string(y), "click", "1" }) != 0)
            throw std::runtime_error("xdotool failed");
    }

private:
    std::string recentLines() const
    {
        const auto& lines = m_host->lines();
        std::string text;
        for (auto it = lines.size() > 40 ? lines.end() - 40 : lines.begin(); it != lines.end(); ++it)
            text += it->substr(0, 110) + "\n";
        return text;
    }

    // Keeps the tree of a "render ID JSON" line; the widget's id, or none for another line.
    const std::string* keepRender(const std::string& line)
    {
        if (!line.starts_with("render "))
            return nullptr;
        const auto space = line.find(' ', 7);
        auto [kept, _] = m_lastTree.insert_or_assign(line.substr(7, space - 7), json::parse(line.substr(space + 1)));
        return &kept->first;
    }

    static fs::path makeDirectory()
    {
        std::string pattern = (fs::temp_directory_path() / "quelm-host-bench.XXXXXX").string();
        if (!::mkdtemp(pattern.data()))
            throw std::runtime_error("mkdtemp failed");
        return pattern;
    }
    fs::path snapshotFile() const { return m_directory / "snapshot.json"; }

    fs::path m_directory;
    std::unique_ptr<ChildWithOutput> m_display;
    std::unique_ptr<ChildWithOutput> m_host;
    std::map<std::string, Window> m_windows;
    std::map<std::string, json> m_lastTree;
    double m_startupMilliseconds = 0;
};

HostUnderTest& host()
{
    static HostUnderTest instance;
    return instance;
}

const json* rowOf(const json& tree, const std::string& id)
{
    return findNode<json>(tree["root"], [&](const json& node) { return node["type"] == "row" && node["id"] == id; });
}

// A "Name:   1234 kB" line of a /proc file, in kB.
long field(const std::string& file, const std::string& name)
{
    std::ifstream lines(file);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.starts_with(name + ":"))
            return std::stol(line.substr(name.size() + 1));
    }
    throw std::runtime_error("no " + name + " in " + file);
}

void memoryCounters(benchmark::State& state, const HostUnderTest& h)
{
    const std::string status = "/proc/" + std::to_string(h.hostProcess()) + "/status";
    const std::string rollup = "/proc/" + std::to_string(h.hostProcess()) + "/smaps_rollup";
    state.counters["rss_MiB"] = static_cast<double>(field(status, "VmRSS")) / 1024.0;
    state.counters["peak_rss_MiB"] = static_cast<double>(field(status, "VmHWM")) / 1024.0;
    // Most of the resident set is the pages of Qt and ICU, which every Qt program on the desktop
    // shares; the proportional and the anonymous sizes say what the host itself costs.
    state.counters["pss_MiB"] = static_cast<double>(field(rollup, "Pss")) / 1024.0;
    state.counters["anonymous_MiB"] = static_cast<double>(field(rollup, "Anonymous")) / 1024.0;
}

// At start: the four widgets shown.
void residentMemory(benchmark::State& state)
{
    HostUnderTest& h = host();
    // Settled: the first timelines' work done and its memory given back.
    std::this_thread::sleep_for(std::chrono::seconds(4));
    for (auto _ : state) {
    }
    memoryCounters(state, h);
}
BENCHMARK(residentMemory)->Iterations(1);

double percentile(std::vector<double> values, double fraction)
{
    std::sort(values.begin(), values.end());
    const auto index = static_cast<std::size_t>(fraction * static_cast<double>(values.size() - 1) + 0.5);
    return values[index];
}

void clickToPendingRepaint(benchmark::State& state)
{
    HostUnderTest& h = host();
    const json* button = findNode<json>(h.lastTree("large")["root"],
        [](const json& node) { return node["type"] == "button" && node["start"] == true; });
    if (!button) {
        state.SkipWithError("the large widget shows no start button");
        return;
    }
    const std::string itemID = (*button)["itemID"];
    const json& frame = (*button)["frame"];
    const Window& window = h.window("large");
    const int x = window.x + static_cast<int>(frame["x"].get<double>() + frame["w"].get<double>() / 2);
    const int y = window.y + static_cast<int>(frame["y"].get<double>() + frame["h"].get<double>() / 2);

    std::vector<double> milliseconds;
    for (auto _ : state) {
        h.click(x, y);
        const double shown = h.waitForPendingRepaint("large", itemID);
        milliseconds.push_back(shown);
        state.SetIterationTime(shown / 1000.0);

        // The app answers without carrying it out: the command is taken and the unchanged
        // snapshot published, which ends the pending state. It beats too, as a live app does:
        // a hundred rounds outlast the heartbeat's timeout.
        h.quelmctl({ "drain" });
        h.quelmctl({ "heartbeat" });
        h.publish();
        h.waitForRender("large", [&](const json& tree) {
            const json* row = rowOf(tree, itemID);
            return row && !(*row)["busy"].get<bool>();
        });
    }
    state.counters["p50_ms"] = percentile(milliseconds, 0.50);
    state.counters["p95_ms"] = percentile(milliseconds, 0.95);
    state.counters["max_ms"] = *std::max_element(milliseconds.begin(), milliseconds.end());
}
int configured(const char* variable, int fallback)
{
    const char* value = std::getenv(variable);
    return value && std::atoi(value) > 0 ? std::atoi(value) : fallback;
}

BENCHMARK(clickToPendingRepaint)->Iterations(configured("QUELM_BENCH_CLICKS", 100))->UseManualTime()->Unit(benchmark::kMillisecond);

// After the clicks above (QUELM_BENCH_CLICKS, 1,000 to see whether use makes the host grow).
void residentMemoryAfterClicks(benchmark::State& state)
{
    HostUnderTest& h = host();
    // As the user leaves it: quiet for a few seconds, long enough for the host to give back what
    // its clicks freed.
    std::this_thread::sleep_for(std::chrono::seconds(4));
    for (auto _ : state) {
    }
    memoryCounters(state, h);
}
BENCHMARK(residentMemoryAfterClicks)->Iterations(1);


// User plus system time of a process, in clock ticks.
long processorTicks(pid_t process)
{
    std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    // The fields after the command name, which may hold spaces, start after the last ')'.
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string field;
    long utime = 0;
    long stime = 0;
    for (int index = 3; fields >> field; ++index) {
        if (index == 14)
            utime = std::stol(field);
        if (index == 15) {
            stime = std::stol(field);
            break;
        }
    }
    return utime + stime;
}

void idleProcessorShare(benchmark::State& state)
{
    HostUnderTest& h = host();
    const int seconds = configured("QUELM_BENCH_IDLE_SECONDS", 60);
    ChildWithOutput demo({ QUELMCTL_PROGRAM, "demo" });
    if (!demo.waitForLine([](const std::string&) { return true; }, std::chrono::seconds(10))) {
        state.SkipWithError("quelmctl demo did not start");
        return;
    }
    // Let the demo's first publish reach every widget before measuring.
    std::this_thread::sleep_for(std::chrono::seconds(3));
    const long ticksPerSecond = ::sysconf(_SC_CLK_TCK);
    for (auto _ : state) {
        const long before = processorTicks(h.hostProcess());
        std::this_thread::sleep_for(std::chrono::seconds(seconds));
        const long used = processorTicks(h.hostProcess()) - before;
        state.counters["cpu_percent"] = 100.0 * static_cast<double>(used) / static_cast<double>(ticksPerSecond * seconds);
    }
}
BENCHMARK(idleProcessorShare)->Iterations(1)->Unit(benchmark::kSecond);

// A host of its own each time, on a display of its own: program start to the four widgets'
// first frames of the app's state. Last, as it points the environment at its own folders.
void startupToFirstFrames(benchmark::State& state)
{
    std::vector<double> milliseconds;
    for (auto _ : state) {
        const HostUnderTest fresh;
        milliseconds.push_back(fresh.startupMilliseconds());
        state.SetIterationTime(fresh.startupMilliseconds() / 1000.0);
    }
    state.counters["median_ms"] = percentile(milliseconds, 0.5);
    state.counters["max_ms"] = *std::max_element(milliseconds.begin(), milliseconds.end());
}
BENCHMARK(startupToFirstFrames)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);

}

BENCHMARK_MAIN();
