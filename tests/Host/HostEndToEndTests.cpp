// SPDX-License-Identifier: MIT
// Runs the built quelm-widget as the desktop host on a display of the test's own (Xvfb), clicks
// its buttons with xdotool where `quelm-widget render --format json` says they are, and lets
// `quelmctl demo` play the companion app, which takes the click's command and carries it out. The
// programs are found through $QUELM_WIDGET and $QUELMCTL.

#include "SessionBus.h"
#include "ChildWithOutput.h"
#include "ShellCommand.h"
#include "ViewTreeSearch.h"
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using nlohmann::json;
using quelm::test::ScopedEnvironment;
using quelm::test::TemporaryDirectory;
using quelm::test::findNode;
using quelm::test::readFile;

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds deadline { 30 };

std::string requiredEnvironment(const char* name)
{
    const char* value = std::getenv(name);
    if (!value || !*value)
        throw std::runtime_error(std::string(name) + " is not set: run the tests through ctest");
    return value;
}

using Finished = quelm::test::ShellRun;

// Runs a command line to its end in this process's environment; standard error is left alone.
Finished run(const std::vector<std::string>& arguments)
{
    return quelm::test::runThroughShell(arguments, "</dev/null");
}

// A display, the companion and the host: each read line by line, each ended with the test.
using Child = quelm::test::ChildWithOutput;

const json* rowOf(const json& tree, const std::string& id)
{
    return findNode<json>(tree["root"], [&](const json& node) { return node["type"] == "row" && node["id"] == id; });
}

bool rowShowsText(const json& row, const std::string& text)
{
    return findNode<json>(row, [&](const json& node) { return node["type"] == "text" && node["text"] == text; }) != nullptr;
}

// The row of `id` in a "render ID JSON" line of the host's trace, if the line is one and has it.
std::optional<json> renderedRow(const std::string& line, const std::string& id)
{
    if (!line.starts_with("render "))
        return std::nullopt;
    const json tree = json::parse(line.substr(line.find(' ', 7) + 1));
    if (const json* row = rowOf(tree, id))
        return *row;
    return std::nullopt;
}

struct WindowPlace {
    std::string id;
    int x = 0;
    int y = 0;
};

class HostEndToEnd : public ::testing::Test {
protected:
    void SetUp() override
    {
        // A display of its own: tests running side by side never click each other's windows.
        m_display.emplace(std::vector<std::string> { "Xvfb", "-displayfd", "3", "-screen", "0", "1280x1024x24", "-nolisten", "tcp" }, 3);
        const auto number = m_display->waitForLine([](const std::string& line) { return !line.empty(); });
        ASSERT_TRUE(number) << "Xvfb did not start (is it installed?)";
        m_displayName.emplace("DISPLAY", ":" + *number);

        // The companion app: the sample's items, a group of three, two sessions, and a heartbeat.
        m_companion.emplace(std::vector<std::string> { requiredEnvironment("QUELMCTL"), "demo" });
        ASSERT_TRUE(companionSays("demo: waiting for the widget's commands")) << "the demo did not start";
    }

    // Waits for the demo to print `line`.
    bool companionSays(const std::string& line)
    {
        return m_companion->waitForLine([&](const std::string& said) { return said == line; }).has_value();
    }

    Finished quelmctl(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), requiredEnvironment("QUELMCTL"));
        return run(arguments);
    }

    // Starts the host and waits until its one widget shows the running app.
    WindowPlace startHost()
    {
        m_host.emplace(std::vector<std::string> { requiredEnvironment("QUELM_WIDGET") });
        const auto window = m_host->waitForLine([](const std::string& line) { return line.starts_with("window "); });
        if (!window)
            throw std::runtime_error("the host showed no window");
        WindowPlace place;
        std::string family;
        int width = 0;
        int height = 0;
        std::istringstream(window->substr(7)) >> place.id >> family >> place.x >> place.y >> width >> height;
        EXPECT_EQ(family, "medium");
        EXPECT_EQ(width, 364);
        EXPECT_EQ(height, 170);
        const auto running = m_host->waitForLine([](const std::string& line) {
            return line.starts_with("render ") && line.find("\"appStatus\":\"running\"") != std::string::npos;
        });
        if (!running)
            throw std::runtime_error("the host never showed the running app");
        return place;
    }

    // Where `quelm-widget render` puts the button of `itemID` in the medium family, in points.
    std::pair<double, double> buttonCentre(const std::string& itemID)
    {
        const Finished render = run({ requiredEnvironment("QUELM_WIDGET"), "render", "--family", "medium", "--format", "json" });
        EXPECT_EQ(render.status, 0);
        const json tree = json::parse(render.output);
        const json* button = findNode<json>(tree["root"], [&](const json& node) { return node["type"] == "button" && node["itemID"] == itemID; });
        if (!button)
            throw std::runtime_error("no button for " + itemID);
        EXPECT_EQ((*button)["start"], true);
        EXPECT_EQ((*button)["enabled"], true);
        const json& frame = (*button)["frame"];
        return { frame["x"].get<double>() + frame["w"].get<double>() / 2, frame["y"].get<double>() + frame["h"].get<double>() / 2 };
    }

    void click(const WindowPlace& window, std::pair<double, double> point)
    {
        const Finished clicked = run({ "xdotool", "mousemove", "--sync", std::to_string(window.x + static_cast<int>(point.first)),
            std::to_string(window.y + static_cast<int>(point.second)), "click", "1" });
        ASSERT_EQ(clicked.status, 0) << "xdotool failed";
    }

    // The companion stops `id` first (the sample's medium widget shows no stopped item, and its
    // group runs); then a click on its start button goes to the app, and the widget shows it
    // starting, then running.
    void startsWithOneClick(const std::string& id)
    {
        ASSERT_EQ(quelmctl({ "toggle", id, "--stop" }).status, 0);
        ASSERT_TRUE(companionSays("demo: " + id + " stopped")) << "the demo did not stop " << id;

        const WindowPlace window = startHost();
        click(window, buttonCentre(id));

        ASSERT_TRUE(m_host->waitForLine([&](const std::string& line) { return line == "intent " + window.id + " ok " + id; }))
            << "the intent did not run";
        ASSERT_TRUE(companionSays("demo: start " + id + " → starting")) << "the command did not reach the app";

        // The host's next renders show the row starting (from the pending mark or from the app's
        // transition, whichever comes first), then running once the app has started it.
        std::optional<json> starting;
        ASSERT_TRUE(m_host->waitForLine([&](const std::string& line) {
            starting = renderedRow(line, id);
            return starting && (*starting)["busy"].get<bool>();
        })) << "the widget never showed " << id << " busy";
        EXPECT_TRUE((*starting)["appearsRunning"].get<bool>());
        EXPECT_TRUE(rowShowsText(*starting, "Iniciando…")) << starting->dump();

        ASSERT_TRUE(companionSays("demo: " + id + " running")) << "the app did not start " << id;
        std::optional<json> running;
        ASSERT_TRUE(m_host->waitForLine([&](const std::string& line) {
            running = renderedRow(line, id);
            return running && (*running)["appearsRunning"].get<bool>() && !(*running)["busy"].get<bool>();
        })) << "the widget never showed " << id << " running";
        EXPECT_FALSE(rowShowsText(*running, "Iniciando…")) << running->dump();

        EXPECT_TRUE(std::filesystem::is_empty(container() / "commands")) << "the app took every command";
    }

    std::filesystem::path container() const { return directory / "data" / "group-containers" / "local.dev.quelm.Quelm"; }

    TemporaryDirectory directory;
    ScopedEnvironment dataHome { "XDG_DATA_HOME", (directory / "data").string() };
    ScopedEnvironment configHome { "XDG_CONFIG_HOME", (directory / "config").string() };
    ScopedEnvironment trace { "QUELM_HOST_TRACE", "1" };
    ScopedEnvironment platform { "QT_QPA_PLATFORM", "xcb" };
    ScopedEnvironment wayland { "WAYLAND_DISPLAY", std::nullopt };
    ScopedEnvironment locale { "LC_ALL", "C.UTF-8" };
    std::optional<Child> m_display;
    std::optional<ScopedEnvironment> m_displayName;
    std::optional<Child> m_companion;
    std::optional<Child> m_host;
};

}

TEST_F(HostEndToEnd, AClickOnAStoppedItemStartsItThroughTheAppAndTheWidgetShowsItStartingThenRunning)
{
    startsWithOneClick("b");
}

TEST_F(HostEndToEnd, AClickOnAStoppedGroupStartsItThroughTheAppAndTheWidgetShowsItStartingThenRunning)
{
    startsWithOneClick("group:x");
}

TEST_F(HostEndToEnd, TheFirstStartPlacesOneMediumWidgetAndSavesIt)
{
    const WindowPlace window = startHost();
    // The list is written off the UI thread soon after; wait for it through the file itself.
    const auto file = directory / "config" / "quelm" / "widgets.json";
    const auto end = Clock::now() + deadline;
    while (!std::filesystem::exists(file) && Clock::now() < end)
        ::usleep(20'000);
    const json saved = json::parse(readFile(file));
    ASSERT_EQ(saved["widgets"].size(), 1u);
    EXPECT_EQ(saved["widgets"][0]["id"], window.id);
    EXPECT_EQ(saved["widgets"][0]["family"], "medium");
    EXPECT_EQ(saved["widgets"][0]["sortOrder"], "category");
}

TEST_F(HostEndToEnd, TheWidgetsWindowIsOnEveryWorkspaceBelowTheOthersAndOutOfTheTaskbarAndPager)
{
    startHost();
    const Finished found = run({ "xdotool", "search", "--onlyvisible", "--name", "^Quelm$" });
    ASSERT_EQ(found.status, 0) << "no visible window named Quelm";
    const std::string window = found.output.substr(0, found.output.find('\n'));
    const Finished properties = run({ "xprop", "-id", window, "_NET_WM_STATE", "_NET_WM_DESKTOP" });
    ASSERT_EQ(properties.status, 0) << "xprop failed (is x11-utils installed?)";
    for (const char* state : { "_NET_WM_STATE_STICKY", "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER", "_NET_WM_STATE_BELOW" })
        EXPECT_NE(properties.output.find(state), std::string::npos) << state << " missing in\n" << properties.output;
    EXPECT_NE(properties.output.find("_NET_WM_DESKTOP(CARDINAL) = 4294967295"), std::string::npos) << properties.output;
}

TEST_F(HostEndToEnd, ASecondHostForTheSameSettingsRefusesToStart)
{
    startHost();
    const Finished second = run({ "sh", "-c", "\"$0\" 2>&1", requiredEnvironment("QUELM_WIDGET") });
    EXPECT_EQ(second.status, 1);
    EXPECT_NE(second.output.find("shown already"), std::string::npos) << second.output;
}

TEST(HostCommandLine, WithoutADisplayTheHostSaysWhatIsMissing)
{
    TemporaryDirectory directory;
    ScopedEnvironment configHome("XDG_CONFIG_HOME", (directory / "config").string());
    ScopedEnvironment display("DISPLAY", std::nullopt);
    ScopedEnvironment wayland("WAYLAND_DISPLAY", std::nullopt);
    ScopedEnvironment platform("QT_QPA_PLATFORM", std::nullopt);
    const Finished host = run({ "sh", "-c", "\"$0\" 2>&1", requiredEnvironment("QUELM_WIDGET") });
    EXPECT_EQ(host.status, 1);
    EXPECT_NE(host.output.find("no display"), std::string::npos) << host.output;
    EXPECT_FALSE(std::filesystem::exists(directory / "config" / "quelm" / "widgets.json"));
}

TEST(HostCommandLine, TheHostHasItsOwnHelpAndRefusesStrayArguments)
{
    const Finished help = run({ requiredEnvironment("QUELM_WIDGET"), "host", "--help" });
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.output.find("Usage: quelm-widget [host [--autostart]]"), std::string::npos) << help.output;
    const Finished overall = run({ requiredEnvironment("QUELM_WIDGET"), "--help" });
    EXPECT_NE(overall.output.find("the desktop host"), std::string::npos) << overall.output;
    const Finished stray = run({ "sh", "-c", "\"$0\" host --nope 2>&1", requiredEnvironment("QUELM_WIDGET") });
    EXPECT_EQ(stray.status, 2);
}
