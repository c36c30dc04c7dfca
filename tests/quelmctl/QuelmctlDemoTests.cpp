// SPDX-License-Identifier: MIT
// Runs `quelmctl demo`, the simulated companion app, against a container of the test's own and
// plays the widget's part with `quelmctl toggle` (or command files and the notification): checks
// what the demo publishes, prints and leaves behind.

#include <quelm/Notification.h>
#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>
#include <quelm/WireFormat.h>

#include "QuelmctlProcess.h"
#include "TestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include <signal.h>

using namespace quelm;
using namespace std::chrono_literals;
using quelm::test::Child;
using quelm::test::EnvironmentChanges;
using quelm::test::readFile;
using quelm::test::Result;
using quelm::test::run;
using quelm::test::SessionBus;
using quelm::test::TemporaryDirectory;
using quelm::test::writeFile;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

// Generous for a loaded machine or a sanitized build; a line normally comes within milliseconds
// of its cause.
constexpr std::chrono::seconds lineDeadline { 10 };
// How far a date written by the demo may lie from the test's own clock reading.
constexpr double clockSlack = 10;

const std::string readyLine = "demo: waiting for the widget's commands";

const WidgetItem& itemOf(const WidgetSnapshot& snapshot, const std::string& id)
{
    const auto found = std::find_if(snapshot.items.begin(), snapshot.items.end(), [&](const WidgetItem& item) { return item.id == id; });
    if (found == snapshot.items.end())
        throw std::runtime_error("no item " + id + " in the snapshot");
    return *found;
}

double secondsAgo(Date date)
{
    return Date::now().secondsSince(date);
}

class QuelmctlDemoTest : public testing::Test {
protected:
    TemporaryDirectory temporary;
    fs::path data = temporary / "data";
    fs::path container = data / "group-containers" / std::string(SharedConstants::appGroupIdentifier);
    SharedStore store { container };
    std::vector<std::string> seen; // every line the demo printed, for the failure messages

    EnvironmentChanges environment() const
    {
        return { { "XDG_DATA_HOME", data.string() }, { "DBUS_SESSION_BUS_ADDRESS", SessionBus::address() } };
    }

    // Starts the demo and waits until it takes the widget's commands.
    std::unique_ptr<Child> startDemo(std::vector<std::string> arguments = {})
    {
        arguments.insert(arguments.begin(), "demo");
        auto demo = std::make_unique<Child>(std::move(arguments), environment());
        EXPECT_TRUE(awaitLine(*demo, readyLine)) << "the demo did not get ready; it printed:\n" << printed();
        return demo;
    }

    // Reads the demo's lines until `wanted`; false when it does not come in time.
    bool awaitLine(Child& demo, const std::string& wanted)
    {
        const auto end = std::chrono::steady_clock::now() + lineDeadline;
        while (true) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
            if (left <= 0ms)
                return false;
            const std::optional<std::string> line = demo.readLine(left);
            if (!line)
                return false;
            seen.push_back(*line);
            if (*line == wanted)
                return true;
        }
    }

    std::string printed() const
    {
        std::string text;
        for (const std::string& line : seen)
            text += "  " + line + '\n';
        return text;
    }

    void toggle(const std::string& id, const std::string& direction)
    {
        const Result toggled = run({ "toggle", id, direction }, {}, environment());
        ASSERT_EQ(toggled.exitCode, 0) << toggled.err;
    }

    // Ends the demo as a user would and checks that it went quietly.
    void stop(Child& demo, int signal = SIGTERM)
    {
        demo.signal(signal);
        const Result result = demo.finish(10s);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.err, "");
    }
};

TEST_F(QuelmctlDemoTest, PublishesTheSampleAndBeatsTheHeartbeat)
{
    auto demo = startDemo();
    ASSERT_GE(seen.size(), 3u);
    EXPECT_EQ(seen[0], "demo: published the sample to " + container.string() + ": 5 items, 1 group, 2 sessions");
    EXPECT_EQ(seen[1], "demo: heartbeat");

    EXPECT_EQ(store.appStatus(Date::now()), SharedStore::AppStatus::running);
    const WidgetSnapshot snapshot = store.readSnapshot();
    EXPECT_LT(std::abs(secondsAgo(snapshot.updatedAt)), clockSlack);
    EXPECT_EQ(snapshot.language, std::nullopt);

    ASSERT_EQ(snapshot.items.size(), 5u);
    const std::vector<WidgetItem> expected {
        { "a", "my-api (dev)", "node", true, std::nullopt, 3000 },
        { "b", "web (dev)", "node", true, std::nullopt, 5173 },
        { "c", "postgres", "database", false },
        { "d", "py-svc (uvicorn)", "server", true, std::nullopt, 8000 },
        { "e", "cache (shop)", "docker", false },
    };
    const std::vector<std::optional<double>> startedAgo { 5400, 600, std::nullopt, 60, std::nullopt };
    for (std::size_t i = 0; i < expected.size(); ++i) {
        WidgetItem item = snapshot.items[i];
        ASSERT_EQ(item.startedAt.has_value(), startedAgo[i].has_value()) << item.id;
        if (item.startedAt) {
            // Relative to when the demo started, as the widget's own sample is.
            EXPECT_NEAR(snapshot.updatedAt.secondsSince(*item.startedAt), *startedAgo[i], 0.5) << item.id;
            item.startedAt.reset();
        }
        EXPECT_EQ(item, expected[i]);
    }

    ASSERT_EQ(snapshot.groups.size(), 1u);
    EXPECT_EQ(snapshot.groups[0], WidgetGroup("group:x", "Trabalho", 3, 2, true));

    const std::vector<WidgetSession> sessions {
        { "s1", "Ajustar o widget", "quelm", WidgetSession::State::needsApproval },
        { "s2", "Migração do banco", "my-api", WidgetSession::State::working },
    };
    EXPECT_EQ(snapshot.sessions, sessions);

    stop(*demo);
}

TEST_F(QuelmctlDemoTest, ATogglesStartShowsTheItemStartingThenRunning)
{
    auto demo = startDemo({ "--transition-seconds", "0.5" });
    toggle("c", "--start");

    ASSERT_TRUE(awaitLine(*demo, "demo: start c → starting")) << printed();
    EXPECT_TRUE(fs::is_empty(container / "commands")) << "the demo took the command";
    WidgetSnapshot snapshot = store.readSnapshot();
    EXPECT_EQ(itemOf(snapshot, "c").transition, WidgetItem::Transition::starting);
    EXPECT_FALSE(itemOf(snapshot, "c").isRunning);
    EXPECT_EQ(snapshot.groups.at(0), WidgetGroup("group:x", "Trabalho", 3, 2, true));
    // The published snapshot answers the widget's request: it no longer shows it as pending.
    EXPECT_TRUE(store.pendingCommands(snapshot, Date::now(), 20).empty());

    ASSERT_TRUE(awaitLine(*demo, "demo: c running")) << printed();
    snapshot = store.readSnapshot();
    const WidgetItem& c = itemOf(snapshot, "c");
    EXPECT_TRUE(c.isRunning);
    EXPECT_EQ(c.transition, std::nullopt);
    EXPECT_EQ(c.port, 5432);
    ASSERT_TRUE(c.startedAt.has_value());
    EXPECT_LT(std::abs(secondsAgo(*c.startedAt)), clockSlack);
    EXPECT_EQ(snapshot.groups.at(0), WidgetGroup("group:x", "Trabalho", 3, 3, true));

    stop(*demo);
}

TEST_F(QuelmctlDemoTest, AGroupsStopStopsEveryMemberAndItsStartStartsThemAgain)
{
    auto demo = startDemo({ "--transition-seconds", "0.5" });
    toggle("group:x", "--stop");

    ASSERT_TRUE(awaitLine(*demo, "demo: stop group:x → stopping")) << printed();
    ASSERT_TRUE(awaitLine(*demo, "demo: stop a → stopping")) << printed();
    ASSERT_TRUE(awaitLine(*demo, "demo: stop b → stopping")) << printed();
    WidgetSnapshot snapshot = store.readSnapshot();
    EXPECT_EQ(snapshot.groups.at(0), WidgetGroup("group:x", "Trabalho", 3, 2, true, WidgetItem::Transition::stopping));
    EXPECT_EQ(itemOf(snapshot, "a").transition, WidgetItem::Transition::stopping);
    EXPECT_EQ(itemOf(snapshot, "b").transition, WidgetItem::Transition::stopping);
    EXPECT_EQ(itemOf(snapshot, "c").transition, std::nullopt) << "c was stopped already";

    ASSERT_TRUE(awaitLine(*demo, "demo: group:x stopped")) << printed();
    EXPECT_THAT(seen, testing::IsSupersetOf({ "demo: a stopped", "demo: b stopped" }));
    snapshot = store.readSnapshot();
    EXPECT_EQ(snapshot.groups.at(0), WidgetGroup("group:x", "Trabalho", 3, 0, false));
    for (const std::string id : { "a", "b", "c" })
        EXPECT_EQ(itemOf(snapshot, id), (WidgetItem { id, itemOf(snapshot, id).title, itemOf(snapshot, id).category, false })) << id;
    EXPECT_TRUE(itemOf(snapshot, "d").isRunning) << "not a member";

    toggle("group:x", "--start");
    ASSERT_TRUE(awaitLine(*demo, "demo: start group:x → starting")) << printed();
    EXPECT_EQ(store.readSnapshot().groups.at(0), WidgetGroup("group:x", "Trabalho", 3, 0, false, WidgetItem::Transition::starting));
    ASSERT_TRUE(awaitLine(*demo, "demo: group:x running")) << printed();
    snapshot = store.readSnapshot();
    EXPECT_EQ(snapshot.groups.at(0), WidgetGroup("group:x", "Trabalho", 3, 3, true));
    EXPECT_EQ(itemOf(snapshot, "a").port, 3000);
    EXPECT_EQ(itemOf(snapshot, "b").port, 5173);
    EXPECT_EQ(itemOf(snapshot, "c").port, 5432);

    stop(*demo);
}

TEST_F(QuelmctlDemoTest, AnUnknownIdIsReportedAndIgnoredAndAStartOfARunningItemChangesNothing)
{
    auto demo = startDemo();
    const WidgetSnapshot before = store.readSnapshot();
    toggle("nope", "--start");
    toggle("a", "--start");
    // Commands are taken in the order they were issued, so the unknown one is behind us here.
    ASSERT_TRUE(awaitLine(*demo, "demo: start a → already running")) << printed();

    const WidgetSnapshot after = store.readSnapshot();
    EXPECT_TRUE(after.hasSameContent(before));
    EXPECT_GT(after.updatedAt, before.updatedAt) << "a command is answered by a new snapshot even when nothing moves";

    demo->signal(SIGTERM);
    const Result result = demo->finish(10s);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "quelmctl demo: start nope: no such item or group; ignored\n");
    EXPECT_THAT(result.out, testing::Not(HasSubstr("nope")));
}

TEST_F(QuelmctlDemoTest, ASignalEndsItWithExitZeroAndNoLastHeartbeat)
{
    for (const int signal : { SIGTERM, SIGINT }) {
        auto demo = startDemo({ "--beat-every", "60" });
        const std::string heartbeat = readFile(container / "heartbeat");
        // A last beat would now carry a later time than the first one.
        std::this_thread::sleep_for(50ms);
        stop(*demo, signal);
        EXPECT_EQ(readFile(container / "heartbeat"), heartbeat) << strsignal(signal);
        seen.clear();
    }
}

TEST_F(QuelmctlDemoTest, BeatsAgainAtTheGivenInterval)
{
    auto demo = startDemo({ "--beat-every", "0.2" });
    const std::string first = readFile(container / "heartbeat");
    ASSERT_TRUE(awaitLine(*demo, "demo: heartbeat")) << printed();
    EXPECT_GT(std::stod(readFile(container / "heartbeat")), std::stod(first));
    stop(*demo);
}

TEST_F(QuelmctlDemoTest, TakesACommandWaitingAtStart)
{
    store.enqueue(WidgetCommand("e", WidgetCommand::Action::start, Uuid::random(), Date::now()));
    auto demo = std::make_unique<Child>(std::vector<std::string> { "demo", "--transition-seconds", "0" }, environment());
    ASSERT_TRUE(awaitLine(*demo, "demo: start e → starting")) << printed();
    ASSERT_TRUE(awaitLine(*demo, readyLine)) << printed();
    ASSERT_TRUE(awaitLine(*demo, "demo: e running")) << printed();
    EXPECT_EQ(itemOf(store.readSnapshot(), "e").port, 6379);
    stop(*demo);
}

TEST_F(QuelmctlDemoTest, LosesNoCommandOfABurstAndWorksOnTheRootItIsGiven)
{
    const fs::path root = temporary / "root";
    auto demo = startDemo({ "--root", root.string(), "--transition-seconds", "600" });
    EXPECT_TRUE(fs::exists(root / "snapshot.json"));
    EXPECT_FALSE(fs::exists(container)) << "--root replaces the container";

    // Every command gives exactly one line: the item moves, or it is there or on its way already.
    constexpr int count = 40;
    const std::vector<std::string> ids { "a", "b", "c", "d", "e" };
    for (int i = 0; i < count; ++i) {
        const WidgetCommand command(ids[std::size_t(i) % ids.size()], (i / 5) % 2 ? WidgetCommand::Action::start : WidgetCommand::Action::stop,
            Uuid::random(), Date(1795384610 + i));
        fs::create_directories(root / "commands");
        const fs::path staged = temporary / ("staged-" + command.id.string());
        writeFile(staged, encode(command));
        fs::rename(staged, root / "commands" / (command.id.string() + ".json"));
        Notification::post(SharedConstants::commandNotification);
    }

    const std::regex commandLine(R"(demo: (start|stop) [a-e] → .*)");
    int answered = 0;
    while (answered < count) {
        const std::optional<std::string> line = demo->readLine(lineDeadline);
        if (!line)
            break;
        seen.push_back(*line);
        answered += std::regex_match(*line, commandLine);
    }
    EXPECT_EQ(answered, count) << printed();
    EXPECT_EQ(demo->readLine(300ms), std::nullopt) << "no command twice";
    EXPECT_TRUE(fs::is_empty(root / "commands"));

    stop(*demo);
}

}
