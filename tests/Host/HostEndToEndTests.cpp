// Runs the built quelm-widget as the desktop host on a display of the test's own (Xvfb), clicks
// its buttons with xdotool where `quelm-widget render --format json` says they are, and plays the
// companion app's part with quelmctl. The programs are found through $QUELM_WIDGET and $QUELMCTL.

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
using quelm::test::readFile;
using quelm::test::writeFile;

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

std::string shellQuoted(const std::string& text)
{
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

struct Finished {
    int status = -1;
    std::string out;
};

// Runs a command line to its end in this process's environment; standard error is left alone.
Finished run(const std::vector<std::string>& arguments)
{
    std::string command;
    for (const auto& argument : arguments)
        command += shellQuoted(argument) + " ";
    command += "</dev/null";
    Finished result;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe)
        throw std::runtime_error("popen failed");
    char buffer[4096];
    std::size_t count;
    while ((count = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
        result.out.append(buffer, count);
    const int status = ::pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

// A child process whose standard output the test reads line by line, ended with the test.
class Child {
public:
    // `outputFd`: where in the child its pipe goes (1 for standard output).
    explicit Child(std::vector<std::string> arguments, int outputFd = STDOUT_FILENO)
    {
        int pipe[2];
        if (::pipe2(pipe, O_CLOEXEC) != 0)
            throw std::runtime_error("pipe2 failed");
        const pid_t parent = ::getpid();
        m_pid = ::fork();
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (::getppid() != parent)
                ::_exit(127);
            ::dup2(pipe[1], outputFd);
            ::fcntl(outputFd, F_SETFD, 0); // inherited across exec, also when it was the pipe itself
            std::vector<char*> argv;
            for (auto& argument : arguments)
                argv.push_back(argument.data());
            argv.push_back(nullptr);
            ::execvp(argv[0], argv.data());
            ::_exit(127);
        }
        ::close(pipe[1]);
        m_output = pipe[0];
        if (m_pid < 0)
            throw std::runtime_error("fork failed");
    }
    ~Child()
    {
        ::kill(m_pid, SIGTERM);
        int status = 0;
        while (::waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
        }
        ::close(m_output);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // The next line (from where the last call stopped) for which `wanted` holds; none when the
    // deadline passes or the child ends first.
    std::optional<std::string> waitForLine(const std::function<bool(const std::string&)>& wanted)
    {
        const auto end = Clock::now() + deadline;
        for (;;) {
            while (true) {
                const auto newline = m_buffer.find('\n');
                if (newline == std::string::npos)
                    break;
                std::string line = m_buffer.substr(0, newline);
                m_buffer.erase(0, newline + 1);
                m_lines.push_back(line);
                if (wanted(line))
                    return line;
            }
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
            if (left <= 0)
                return std::nullopt;
            pollfd readable { m_output, POLLIN, 0 };
            const int ready = ::poll(&readable, 1, static_cast<int>(left));
            if (ready < 0 && errno == EINTR)
                continue;
            if (ready <= 0)
                return std::nullopt;
            char chunk[65536];
            const ssize_t count = ::read(m_output, chunk, sizeof chunk);
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                return std::nullopt;
            m_buffer.append(chunk, static_cast<std::size_t>(count));
        }
    }

    const std::vector<std::string>& lines() const { return m_lines; }

private:
    pid_t m_pid = -1;
    int m_output = -1;
    std::string m_buffer;
    std::vector<std::string> m_lines;
};

bool startsWith(const std::string& text, const std::string& prefix)
{
    return text.rfind(prefix, 0) == 0;
}

// Depth-first: the first node for which `wanted` holds.
const json* findNode(const json& node, const std::function<bool(const json&)>& wanted)
{
    if (wanted(node))
        return &node;
    if (node.contains("children")) {
        for (const json& child : node["children"]) {
            if (const json* found = findNode(child, wanted))
                return found;
        }
    }
    return nullptr;
}

const json* rowOf(const json& tree, const std::string& id)
{
    return findNode(tree["root"], [&](const json& node) { return node["type"] == "row" && node["id"] == id; });
}

bool rowShowsText(const json& row, const std::string& text)
{
    return findNode(row, [&](const json& node) { return node["type"] == "text" && node["text"] == text; }) != nullptr;
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

        writeFile(directory / "snapshot.json", R"json({"items":[
            {"id":"api","title":"my-api (dev)","category":"node","isRunning":true,"port":3000,"startedAt":1700000000},
            {"id":"db","title":"postgres","category":"database","isRunning":false}],
          "groups":[{"id":"group:work","name":"Trabalho","memberCount":3,"runningCount":0,"isActive":false}],
          "sessions":[],"updatedAt":0})json");
        ASSERT_EQ(quelmctl({ "publish", (directory / "snapshot.json").string(), "--stamp" }).status, 0);
        ASSERT_EQ(quelmctl({ "heartbeat" }).status, 0);
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
        const auto window = m_host->waitForLine([](const std::string& line) { return startsWith(line, "window "); });
        if (!window)
            throw std::runtime_error("the host showed no window");
        WindowPlace place;
        std::string family;
        int width = 0;
        int height = 0;
        std::istringstream(window->substr(7)) >> place.id >> family >> place.x >> place.y >> width >> height;
        EXPECT_EQ(family, "systemMedium");
        EXPECT_EQ(width, 364);
        EXPECT_EQ(height, 170);
        const auto running = m_host->waitForLine([](const std::string& line) {
            return startsWith(line, "render ") && line.find("\"appStatus\":\"running\"") != std::string::npos;
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
        const json tree = json::parse(render.out);
        const json* button = findNode(tree["root"], [&](const json& node) { return node["type"] == "button" && node["itemID"] == itemID; });
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

    // Clicks the start button of a stopped item or group and follows the request to the app.
    void startsWithOneClick(const std::string& id)
    {
        const WindowPlace window = startHost();
        click(window, buttonCentre(id));

        ASSERT_TRUE(m_host->waitForLine([&](const std::string& line) { return line == "intent " + window.id + " ok " + id; }))
            << "the intent did not run";
        // The command is in the container: one file, and the app's drain gets it.
        const auto commands = std::distance(std::filesystem::directory_iterator(container() / "commands"), {});
        EXPECT_EQ(commands, 1);

        // The host's next render shows the row starting.
        std::optional<json> shown;
        ASSERT_TRUE(m_host->waitForLine([&](const std::string& line) {
            if (!startsWith(line, "render "))
                return false;
            const json tree = json::parse(line.substr(line.find(' ', 7) + 1));
            const json* row = rowOf(tree, id);
            if (!row || !(*row)["busy"].get<bool>())
                return false;
            shown = *row;
            return true;
        })) << "the widget never showed " << id << " busy";
        EXPECT_TRUE((*shown)["appearsRunning"].get<bool>());
        EXPECT_TRUE(rowShowsText(*shown, "Iniciando…")) << shown->dump();

        const Finished drained = quelmctl({ "drain", "--json" });
        ASSERT_EQ(drained.status, 0);
        const json command = json::parse(drained.out.substr(0, drained.out.find('\n')));
        EXPECT_EQ(command["itemID"], id);
        EXPECT_EQ(command["action"], "start");
        EXPECT_EQ(drained.out.find('\n'), drained.out.size() - 1) << "more than one command: " << drained.out;
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
    std::optional<Child> m_host;
};

}

TEST_F(HostEndToEnd, AClickOnAStoppedItemQueuesItsStartAndTheWidgetShowsItStarting)
{
    startsWithOneClick("db");
}

TEST_F(HostEndToEnd, AClickOnAStoppedGroupQueuesItsStartAndTheWidgetShowsItStarting)
{
    startsWithOneClick("group:work");
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
    EXPECT_EQ(saved["widgets"][0]["family"], "systemMedium");
    EXPECT_EQ(saved["widgets"][0]["sortOrder"], "category");
}

TEST_F(HostEndToEnd, ASecondHostForTheSameSettingsRefusesToStart)
{
    startHost();
    const Finished second = run({ "sh", "-c", "\"$0\" 2>&1", requiredEnvironment("QUELM_WIDGET") });
    EXPECT_EQ(second.status, 1);
    EXPECT_NE(second.out.find("shown already"), std::string::npos) << second.out;
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
    EXPECT_NE(host.out.find("no display"), std::string::npos) << host.out;
    EXPECT_FALSE(std::filesystem::exists(directory / "config" / "quelm" / "widgets.json"));
}

TEST(HostCommandLine, TheHostHasItsOwnHelpAndRefusesStrayArguments)
{
    const Finished help = run({ requiredEnvironment("QUELM_WIDGET"), "host", "--help" });
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("Usage: quelm-widget [host [--autostart]]"), std::string::npos) << help.out;
    const Finished overall = run({ requiredEnvironment("QUELM_WIDGET"), "--help" });
    EXPECT_NE(overall.out.find("the desktop host"), std::string::npos) << overall.out;
    const Finished stray = run({ "sh", "-c", "\"$0\" host --nope 2>&1", requiredEnvironment("QUELM_WIDGET") });
    EXPECT_EQ(stray.status, 2);
}
