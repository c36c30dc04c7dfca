// SPDX-License-Identifier: MIT
// The desktop host on a Wayland compositor with layer-shell (headless sway), measured from outside
// as a user meets it: one medium widget with a stopped item, fed through the container by quelmctl.
//   startupToFirstFrame    the host started → the first picture of the laid-out widget committed
//                          to the compositor ("layer drawn"), over QUELM_BENCH_STARTS starts (10)
//   startupOfFourToFirstFrames  the same with one widget of each family: until all four are drawn
//   clickToPendingRepaint  a click through a virtual pointer on the start button → first repaint
//                          showing the row busy, as the host measures it ("pending" lines), over
//                          QUELM_BENCH_CLICKS clicks (30)
// Needs sway (run as an unprivileged user when the benchmark runs as root) and quelm-test-pointer.

#include "ChildProcess.h"
#include "ChildWithOutput.h"
#include "HeadlessSway.h"
#include "ViewTreeSearch.h"

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using nlohmann::json;
using quelm::test::ChildWithOutput;
using quelm::test::HeadlessSway;
using quelm::test::findNode;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int widgetX = 100;
constexpr int widgetY = 100;

int configured(const char* variable, int fallback)
{
    const char* value = std::getenv(variable);
    return value && std::atoi(value) > 0 ? std::atoi(value) : fallback;
}

double percentile(std::vector<double> values, double fraction)
{
    std::sort(values.begin(), values.end());
    const auto index = static_cast<std::size_t>(fraction * static_cast<double>(values.size() - 1) + 0.5);
    return values[index];
}

// The compositor, the container and the settings; the host is started by each benchmark.
class Session {
public:
    Session()
        : m_directory(makeDirectory())
        , m_sway(m_directory, "output HEADLESS-1 resolution 1024x768 position 0 0\n")
    {
        if (m_sway.problem())
            throw std::runtime_error(*m_sway.problem());
        ::setenv("XDG_RUNTIME_DIR", m_sway.runtimeDirectory().c_str(), 1);
        ::setenv("WAYLAND_DISPLAY", m_sway.socketName()->c_str(), 1);
        ::setenv("XDG_DATA_HOME", (m_directory / "data").c_str(), 1);
        ::setenv("XDG_CONFIG_HOME", (m_directory / "config").c_str(), 1);
        ::setenv("QUELM_HOST_TRACE", "1", 1);
        ::setenv("LC_ALL", "C.UTF-8", 1);
        ::unsetenv("DISPLAY");
        ::unsetenv("QT_QPA_PLATFORM");

        fs::create_directories(m_directory / "config" / "quelm");
        placeWidgets(oneMediumWidget);
        std::ofstream(snapshotFile()) << R"({"items":[{"id":"db","title":"postgres","category":"database","isRunning":false}],"updatedAt":0})";
        publish();
    }
    ~Session()
    {
        std::error_code ignored;
        fs::remove_all(m_directory, ignored);
    }

    int quelmctl(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), QUELMCTL_PROGRAM);
        return quelm::test::runQuietly(arguments);
    }
    void publish() const
    {
        if (quelmctl({ "publish", snapshotFile().string(), "--stamp" }) != 0 || quelmctl({ "heartbeat" }) != 0)
            throw std::runtime_error("quelmctl could not publish");
    }

    static constexpr const char* oneMediumWidget
        = R"({"widgets":[{"id":"medium","family":"medium","sortOrder":"category","position":{"x":100,"y":100}}]})";
    // The widgets the next host shows.
    void placeWidgets(const std::string& list) const { std::ofstream(m_directory / "config" / "quelm" / "widgets.json") << list; }

    std::unique_ptr<ChildWithOutput> startHost() const
    {
        return std::make_unique<ChildWithOutput>(std::vector<std::string> { QUELM_WIDGET_PROGRAM });
    }

    // A pointer device on the seat for the whole run, fed steps a line at a time.
    FILE* pointer() const
    {
        static FILE* tool = ::popen((std::string(QUELM_TEST_POINTER_PROGRAM) + " 1024x768 >/dev/null").c_str(), "we");
        if (!tool)
            throw std::runtime_error("cannot start quelm-test-pointer");
        return tool;
    }
    void click(int x, int y) const
    {
        std::fprintf(pointer(), "move 0 0\nmove %d %d press release\n", x, y);
        std::fflush(pointer());
    }

private:
    static fs::path makeDirectory()
    {
        std::string pattern = (fs::temp_directory_path() / "quelm-layer-bench.XXXXXX").string();
        if (!::mkdtemp(pattern.data()))
            throw std::runtime_error("mkdtemp failed");
        return pattern;
    }
    fs::path snapshotFile() const { return m_directory / "snapshot.json"; }

    fs::path m_directory;
    HeadlessSway m_sway;
};

Session& session()
{
    static Session instance;
    return instance;
}

// The tree of a "render ID JSON" line, if it is one.
std::optional<json> renderedTree(const std::string& line)
{
    if (!line.starts_with("render "))
        return std::nullopt;
    return json::parse(line.substr(line.find(' ', 7) + 1));
}

void startupToFirstFrame(benchmark::State& state)
{
    Session& s = session();
    std::vector<double> milliseconds;
    for (auto _ : state) {
        const auto started = Clock::now();
        const auto host = s.startHost();
        if (!host->waitForLine([](const std::string& line) { return line.starts_with("layer drawn "); })) {
            state.SkipWithError("the host never drew its widget");
            return;
        }
        const double shown = std::chrono::duration<double, std::milli>(Clock::now() - started).count();
        milliseconds.push_back(shown);
        state.SetIterationTime(shown / 1000.0);
    }
    state.counters["p50_ms"] = percentile(milliseconds, 0.50);
    state.counters["max_ms"] = *std::max_element(milliseconds.begin(), milliseconds.end());
}
BENCHMARK(startupToFirstFrame)->Iterations(configured("QUELM_BENCH_STARTS", 10))->UseManualTime()->Unit(benchmark::kMillisecond);

// The same with four widgets, one of each family: the host started → every one of them drawn.
void startupOfFourToFirstFrames(benchmark::State& state)
{
    Session& s = session();
    s.placeWidgets(R"({"widgets":[
        {"id":"small","family":"small","sortOrder":"category","position":{"x":20,"y":20}},
        {"id":"medium","family":"medium","sortOrder":"category","position":{"x":210,"y":20}},
        {"id":"large","family":"large","sortOrder":"recent","position":{"x":20,"y":210}},
        {"id":"extraLarge","family":"extraLarge","sortOrder":"category","position":{"x":250,"y":380}}]})");
    std::vector<double> milliseconds;
    for (auto _ : state) {
        const auto started = Clock::now();
        const auto host = s.startHost();
        int drawn = 0;
        if (!host->waitForLine([&](const std::string& line) { return line.starts_with("layer drawn ") && ++drawn == 4; })) {
            state.SkipWithError("the host never drew its four widgets");
            break;
        }
        const double shown = std::chrono::duration<double, std::milli>(Clock::now() - started).count();
        milliseconds.push_back(shown);
        state.SetIterationTime(shown / 1000.0);
    }
    s.placeWidgets(Session::oneMediumWidget);
    if (milliseconds.empty())
        return;
    state.counters["p50_ms"] = percentile(milliseconds, 0.50);
    state.counters["max_ms"] = *std::max_element(milliseconds.begin(), milliseconds.end());
}
BENCHMARK(startupOfFourToFirstFrames)->Iterations(configured("QUELM_BENCH_STARTS", 10))->UseManualTime()->Unit(benchmark::kMillisecond);

void clickToPendingRepaint(benchmark::State& state)
{
    Session& s = session();
    const auto host = s.startHost();
    // The widget's first picture may reach the compositor before or after the app's state does.
    std::optional<json> tree;
    bool drawn = false;
    const auto running = host->waitForLine([&](const std::string& line) {
        drawn = drawn || line.starts_with("layer drawn ");
        if (auto next = renderedTree(line); next && (*next)["appStatus"] == "running")
            tree = std::move(next);
        return drawn && tree;
    });
    if (!running) {
        state.SkipWithError("the widget never showed the running app");
        return;
    }
    const json* button = findNode<json>((*tree)["root"], [](const json& node) { return node["type"] == "button" && node["start"] == true; });
    if (!button) {
        state.SkipWithError("the widget shows no start button");
        return;
    }
    s.pointer();
    if (!host->waitForLine([](const std::string& line) { return line == "seat pointer"; })) {
        state.SkipWithError("the host never got the seat's pointer");
        return;
    }
    const std::string itemID = (*button)["itemID"];
    const json& frame = (*button)["frame"];
    const int x = widgetX + static_cast<int>(frame["x"].get<double>() + frame["w"].get<double>() / 2);
    const int y = widgetY + static_cast<int>(frame["y"].get<double>() + frame["h"].get<double>() / 2);

    std::vector<double> milliseconds;
    for (auto _ : state) {
        s.click(x, y);
        const std::string prefix = "pending medium " + itemID + " ";
        const auto pending = host->waitForLine([&](const std::string& line) { return line.starts_with(prefix); });
        if (!pending) {
            std::string said;
            for (const auto& line : host->lines())
                said += line.substr(0, 100) + "\n";
            state.SkipWithError(("no repaint showed the item busy; the host said:\n" + said).c_str());
            return;
        }
        const double shown = std::stod(pending->substr(prefix.size()));
        milliseconds.push_back(shown);
        state.SetIterationTime(shown / 1000.0);

        // The app takes the command without carrying it out and publishes again, which ends the
        // pending state.
        s.quelmctl({ "drain" });
        s.publish();
        const auto idle = host->waitForLine([&](const std::string& line) {
            const auto next = renderedTree(line);
            const json* row = next ? findNode<json>((*next)["root"], [&](const json& node) { return node["type"] == "row" && node["id"] == itemID; }) : nullptr;
            return row && !(*row)["busy"].get<bool>();
        });
        if (!idle) {
            state.SkipWithError("the item stayed busy");
            return;
        }
    }
    state.counters["p50_ms"] = percentile(milliseconds, 0.50);
    state.counters["p95_ms"] = percentile(milliseconds, 0.95);
    state.counters["max_ms"] = *std::max_element(milliseconds.begin(), milliseconds.end());
}
BENCHMARK(clickToPendingRepaint)->Iterations(configured("QUELM_BENCH_CLICKS", 30))->UseManualTime()->Unit(benchmark::kMillisecond);

}

BENCHMARK_MAIN();
