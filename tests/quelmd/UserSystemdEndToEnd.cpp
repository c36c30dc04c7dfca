// SPDX-License-Identifier: MIT
// quelmd against a real systemd user manager, with real services (python3 -m http.server): run
// through with-user-systemd.sh, which gives it a private manager; skipped, saying why, where
// there cannot be one.

#include "QuelmdProcess.h"

#include "ChildWithOutput.h"
#include "TestSupport.h"

#include <SessionReport.h>

#include <quelm/SharedStore.h>
#include <quelm/WidgetSnapshot.h>

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <csignal>

using namespace quelm::test;
using quelm::WidgetItem;

namespace {

class QuelmdEndToEnd : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (const char* why = std::getenv("QUELM_NO_USER_SYSTEMD"))
            GTEST_SKIP() << "no systemd user manager: " << why;
        if (!std::getenv("QUELM_USER_SYSTEMD"))
            GTEST_SKIP() << "no systemd user manager of the tests' own: run through tests/quelmd/with-user-systemd.sh (CTest does)";
        m_quelmd = programPath("QUELMD");
        m_quelmctl = programPath("QUELMCTL");
        m_data.emplace("XDG_DATA_HOME", (m_directory / "data").string());
        m_config.emplace("XDG_CONFIG_HOME", (m_directory / "config").string());
        std::filesystem::create_directories(m_directory / "config" / "quelm");
    }

    void TearDown() override
    {
        m_daemon.reset();
        for (const std::string& unit : m_units)
            runProgram({ "systemctl", "--user", "stop", unit });
    }

    std::filesystem::path configurationFile() const { return m_directory / "config" / "quelm" / "services.toml"; }
    quelm::SharedStore store() const { return quelm::SharedStore(m_directory / "data" / "group-containers" / "local.dev.quelm.Quelm"); }

    // A [[service]] serving HTTP on `port`; its unit is stopped after the test.
    std::string webService(const std::string& id, std::uint16_t port)
    {
        m_units.push_back("quelm-" + id + ".service");
        return "[[service]]\nid = \"" + id + "\"\ntitle = \"" + id + " (dev)\"\ncommand = [\"python3\", \"-m\", \"http.server\", \""
            + std::to_string(port) + "\", \"--bind\", \"127.0.0.1\"]\n\n";
    }

    void configure(const std::string& text) { writeFile(configurationFile(), text); }

    void startQuelmd()
    {
        m_daemon.emplace(std::vector<std::string> { m_quelmd });
        ASSERT_TRUE(eventually([&] { return store().appStatus(quelm::Date::now()) == quelm::SharedStore::AppStatus::running; }))
            << "quelmd never beat";
    }

    void stopQuelmd() { m_daemon.reset(); }

    std::optional<WidgetItem> item(const std::string& id) const
    {
        for (const WidgetItem& candidate : store().readSnapshot().items)
            if (candidate.id == id)
                return candidate;
        return std::nullopt;
    }

    bool shows(const std::string& id, const std::function<bool(const WidgetItem&)>& wanted) const
    {
        const std::optional<WidgetItem> found = item(id);
        return found && wanted(*found);
    }

    ProgramResult quelmctl(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), m_quelmctl);
        return runProgram(arguments);
    }

    void toggle(const std::string& id, bool start)
    {
        const ProgramResult result = quelmctl({ "toggle", id, start ? "--start" : "--stop" });
        ASSERT_EQ(result.exitCode, 0) << result.output;
    }

    TemporaryDirectory m_directory;
    std::optional<ScopedEnvironment> m_data;
    std::optional<ScopedEnvironment> m_config;
    std::string m_quelmd;
    std::string m_quelmctl;
    std::vector<std::string> m_units;
    std::optional<ChildWithOutput> m_daemon;
};

const auto running = [](const WidgetItem& item) { return item.isRunning && !item.transition; };
const auto stopped = [](const WidgetItem& item) { return !item.isRunning && !item.transition; };

}

TEST_F(QuelmdEndToEnd, StartsAndStopsAServiceAsTheWidgetAsksAndSeesItDie)
{
    const std::uint16_t port = freePort();
    configure(webService("e2e-web", port));
    startQuelmd();
    ASSERT_TRUE(eventually([&] { return shows("e2e-web", stopped); })) << "the service never showed stopped";
    EXPECT_EQ(item("e2e-web")->title, "e2e-web (dev)");
    EXPECT_EQ(item("e2e-web")->category, "server");

    toggle("e2e-web", true);
    ASSERT_TRUE(eventually([&] { return unitProperty("quelm-e2e-web.service", "ActiveState") == "active"; }));
    ASSERT_TRUE(eventually([&] { return answersHttp(port); })) << "nothing answers HTTP on port " << port;
    ASSERT_TRUE(eventually([&] { return shows("e2e-web", [&](const WidgetItem& i) { return running(i) && i.port == port; }); }))
        << "the snapshot never showed the service running on its port: " << quelm::encode(store().readSnapshot());
    EXPECT_TRUE(item("e2e-web")->startedAt.has_value());
    // The answer ends the widget's pending mark.
    EXPECT_TRUE(eventually([&] { return nlohmann::json::parse(quelmctl({ "status", "--json" }).output)["pending"].empty(); }));

    toggle("e2e-web", false);
    ASSERT_TRUE(eventually([&] { return shows("e2e-web", stopped); })) << quelm::encode(store().readSnapshot());
    EXPECT_NE(unitProperty("quelm-e2e-web.service", "ActiveState"), "active");
    EXPECT_FALSE(answersHttp(port));

    toggle("e2e-web", true);
    ASSERT_TRUE(eventually([&] { return shows("e2e-web", running); }));
    const std::string mainPid = unitProperty("quelm-e2e-web.service", "MainPID");
    ASSERT_GT(std::stoi(mainPid), 0);
    ASSERT_EQ(::kill(std::stoi(mainPid), SIGKILL), 0);
    ASSERT_TRUE(eventually([&] { return shows("e2e-web", stopped); })) << "a killed service still shows running";
    EXPECT_TRUE(eventually([&] { return quelmctl({ "status" }).output.find("killed by signal SIGKILL") != std::string::npos; }))
        << quelmctl({ "status" }).output;
}

TEST_F(QuelmdEndToEnd, AServiceStopsWithItsWholeProcessTree)
{
    const std::uint16_t port = freePort();
    // A child the shell leaves behind, marked by an argument no other process has.
    const std::string marker = std::to_string(1'000'000 + port);
    m_units.push_back("quelm-e2e-tree.service");
    configure("[[service]]\nid = \"e2e-tree\"\ntitle = \"tree\"\ncommand = \"sleep " + marker + " & exec python3 -m http.server "
        + std::to_string(port) + " --bind 127.0.0.1\"\n");
    startQuelmd();
    toggle("e2e-tree", true);
    ASSERT_TRUE(eventually([&] { return shows("e2e-tree", [&](const WidgetItem& i) { return running(i) && i.port == port; }); }));
    ASSERT_EQ(runProgram({ "pgrep", "-f", "sleep " + marker }).exitCode, 0) << "the child never ran";

    toggle("e2e-tree", false);
    ASSERT_TRUE(eventually([&] { return shows("e2e-tree", stopped); }));
    EXPECT_TRUE(eventually([&] { return runProgram({ "pgrep", "-f", "sleep " + marker }).exitCode == 1; }))
        << "the service's child outlived it";
}

// A dev server often listens from a child started late, next to a process listening already.
TEST_F(QuelmdEndToEnd, APortOpenedLaterByAChildIsNoticed)
{
    std::uint16_t first = freePort();
    std::uint16_t later = freePort();
    while (later == first)
        later = freePort();
    // The lowest port counts: the late listener must win to show it was noticed.
    if (later > first)
        std::swap(first, later);
    // The child listens once the test has seen the first port, however slow the machine.
    const std::filesystem::path go = m_directory / "go";
    m_units.push_back("quelm-e2e-late.service");
    configure("[[service]]\nid = \"e2e-late\"\ntitle = \"late\"\ncommand = \"python3 -m http.server " + std::to_string(first)
        + " --bind 127.0.0.1 & while [ ! -e '" + go.string() + "' ]; do sleep 0.1; done; exec python3 -m http.server "
        + std::to_string(later) + " --bind 127.0.0.1\"\n");
    startQuelmd();
    toggle("e2e-late", true);
    ASSERT_TRUE(eventually([&] { return shows("e2e-late", [&](const WidgetItem& i) { return running(i) && i.port == first; }); }))
        << "the first port never showed: " << quelm::encode(store().readSnapshot());
    writeFile(go, "");
    ASSERT_TRUE(eventually([&] { return answersHttp(later); })) << "the late child never listened";
    EXPECT_TRUE(eventually([&] { return shows("e2e-late", [&](const WidgetItem& i) { return running(i) && i.port == later; }); }))
        << "the later, lower port never showed: " << quelm::encode(store().readSnapshot());
}

TEST_F(QuelmdEndToEnd, StartsAndStopsAnExistingUnit)
{
    const std::uint16_t port = freePort();
    const std::filesystem::path units = std::filesystem::path(std::getenv("XDG_RUNTIME_DIR")) / "systemd" / "user";
    std::filesystem::create_directories(units);
    writeFile(units / "e2e-existing.service",
        "[Service]\nExecStart=/bin/sh -c 'exec python3 -m http.server " + std::to_string(port) + " --bind 127.0.0.1'\nEnvironment=PATH="
            + std::getenv("PATH") + "\n");
    ASSERT_EQ(runProgram({ "systemctl", "--user", "daemon-reload" }).exitCode, 0);
    m_units.push_back("e2e-existing.service");
    configure("[[service]]\ntitle = \"postgres\"\nunit = \"e2e-existing.service\"\n");
    startQuelmd();
    ASSERT_TRUE(eventually([&] { return shows("postgres", stopped); }));
    EXPECT_EQ(item("postgres")->category, "server");

    toggle("postgres", true);
    ASSERT_TRUE(eventually([&] { return shows("postgres", [&](const WidgetItem& i) { return running(i) && i.port == port; }); }))
        << quelm::encode(store().readSnapshot());
    EXPECT_TRUE(answersHttp(port));
    toggle("postgres", false);
    ASSERT_TRUE(eventually([&] { return shows("postgres", stopped); }));
    EXPECT_EQ(unitProperty("e2e-existing.service", "ActiveState"), "inactive");
}

TEST_F(QuelmdEndToEnd, AGroupStartsAndStopsEveryMember)
{
    const std::uint16_t first = freePort();
    const std::uint16_t second = freePort();
    configure(webService("e2e-one", first) + webService("e2e-two", second)
        + "[[group]]\nname = \"Trabalho E2E\"\nmembers = [\"e2e-one\", \"e2e-two\"]\n");
    startQuelmd();
    const auto group = [&]() -> std::optional<quelm::WidgetGroup> {
        for (const quelm::WidgetGroup& candidate : store().readSnapshot().groups)
            if (candidate.id == "group:trabalho-e2e")
                return candidate;
        return std::nullopt;
    };
    ASSERT_TRUE(eventually([&] { return group() && group()->memberCount == 2 && group()->runningCount == 0 && !group()->isActive; }));

    toggle("group:trabalho-e2e", true);
    ASSERT_TRUE(eventually([&] { return group()->runningCount == 2 && group()->isActive && !group()->transition; }))
        << quelm::encode(store().readSnapshot());
    EXPECT_TRUE(eventually([&] { return answersHttp(first) && answersHttp(second); }));
    EXPECT_TRUE(shows("e2e-one", running));
    EXPECT_TRUE(shows("e2e-two", running));

    toggle("group:trabalho-e2e", false);
    ASSERT_TRUE(eventually([&] { return group()->runningCount == 0 && !group()->isActive && !group()->transition; }));
    EXPECT_TRUE(shows("e2e-one", stopped));
    EXPECT_TRUE(shows("e2e-two", stopped));
}

TEST_F(QuelmdEndToEnd, ABrokenCommandShowsItsFailureAtOnce)
{
    m_units.push_back("quelm-e2e-broken.service");
    configure("[[service]]\nid = \"e2e-broken\"\ntitle = \"broken\"\ncommand = \"exec /nonexistent/quelm-e2e-program\"\n");
    startQuelmd();
    ASSERT_TRUE(eventually([&] { return shows("e2e-broken", stopped); }));

    const quelm::Date before = quelm::Date::now();
    toggle("e2e-broken", true);
    // Answered by a snapshot newer than the command: the widget's mark ends there, not 20 s later.
    ASSERT_TRUE(eventually([&] {
        const quelm::WidgetSnapshot snapshot = store().readSnapshot();
        return snapshot.updatedAt > before && shows("e2e-broken", stopped)
            && nlohmann::json::parse(quelmctl({ "status", "--json" }).output)["pending"].empty();
    }));
    ASSERT_TRUE(eventually([&] {
        const nlohmann::json status = nlohmann::json::parse(quelmctl({ "status", "--json" }).output);
        return status.contains("services") && status["services"][0].contains("lastFailure");
    })) << quelmctl({ "status", "--json" }).output;
    EXPECT_TRUE(eventually([&] {
        const std::string readable = quelmctl({ "status" }).output;
        return readable.find("last failure") != std::string::npos
            && readable.find("quelm-e2e-broken.service exited with status 127") != std::string::npos;
    })) << quelmctl({ "status" }).output;
}

TEST_F(QuelmdEndToEnd, ServicesKeepRunningAcrossARestartOfQuelmd)
{
    const std::uint16_t port = freePort();
    configure(webService("e2e-kept", port));
    startQuelmd();
    toggle("e2e-kept", true);
    ASSERT_TRUE(eventually([&] { return shows("e2e-kept", [&](const WidgetItem& i) { return running(i) && i.port == port; }); }));

    stopQuelmd();
    EXPECT_EQ(unitProperty("quelm-e2e-kept.service", "ActiveState"), "active");
    EXPECT_TRUE(answersHttp(port));

    std::filesystem::remove(store().root() / "snapshot.json");
    startQuelmd();
    ASSERT_TRUE(eventually([&] { return shows("e2e-kept", [&](const WidgetItem& i) { return running(i) && i.port == port; }); }))
        << quelm::encode(store().readSnapshot());
}

TEST_F(QuelmdEndToEnd, ReloadsItsConfigurationAndKeepsTheLastGoodOne)
{
    configure(webService("e2e-first", freePort()));
    startQuelmd();
    ASSERT_TRUE(eventually([&] { return item("e2e-first").has_value(); }));

    configure(webService("e2e-first", freePort()) + webService("e2e-second", freePort()));
    ASSERT_TRUE(eventually([&] { return item("e2e-second").has_value(); })) << "the changed configuration was not read";

    configure("[[service]]\ntitle = \"x\"\ncommand = \"true\"\nport = \"many\"\n");
    ASSERT_TRUE(eventually([&] {
        const nlohmann::json status = nlohmann::json::parse(readFile(std::filesystem::path(std::getenv("XDG_RUNTIME_DIR")) / "quelm" / "status.json"));
        return status.contains("configurationError");
    }));
    const nlohmann::json status = nlohmann::json::parse(readFile(std::filesystem::path(std::getenv("XDG_RUNTIME_DIR")) / "quelm" / "status.json"));
    EXPECT_EQ(status["configurationError"], configurationFile().string() + ":4: service[1].port: must be a whole number from 1 to 65535");
    EXPECT_TRUE(item("e2e-first").has_value());
    EXPECT_TRUE(item("e2e-second").has_value());
}

TEST_F(QuelmdEndToEnd, PublishesTheSessionsAgentsReport)
{
    configure("");
    startQuelmd();
    const ProgramResult set = quelmctl({ "session", "set", "e2e session/1", "--title", "Fix the build", "--project", "quelm", "--state",
        "needsApproval", "--open", "touch " + (m_directory / "opened").string() });
    ASSERT_EQ(set.exitCode, 0) << set.output;
    ASSERT_TRUE(eventually([&] {
        const quelm::WidgetSnapshot snapshot = store().readSnapshot();
        return snapshot.sessions.size() == 1
            && snapshot.sessions[0] == quelm::WidgetSession { "e2e session/1", "Fix the build", "quelm", quelm::WidgetSession::State::needsApproval };
    })) << quelm::encode(store().readSnapshot());

    const ProgramResult opened = runProgram({ m_quelmd, "open", "quelm://session/e2e%20session%2F1" });
    EXPECT_EQ(opened.exitCode, 0) << opened.output;
    EXPECT_TRUE(eventually([&] { return std::filesystem::exists(m_directory / "opened"); })) << "the session's --open command did not run";

    ASSERT_EQ(quelmctl({ "session", "end", "e2e session/1" }).exitCode, 0);
    ASSERT_TRUE(eventually([&] { return store().readSnapshot().sessions.empty(); }));
}

TEST_F(QuelmdEndToEnd, DropsASessionSilentForTwelveHours)
{
    const std::filesystem::path sessions = std::filesystem::path(std::getenv("XDG_RUNTIME_DIR")) / "quelm" / "sessions";
    const quelm::Date now = quelm::Date::now();
    quelmd::writeSessionReport(sessions,
        { quelm::WidgetSession { "e2e-silent", "old", "p", quelm::WidgetSession::State::working }, std::nullopt, now.addingSeconds(-13 * 3600) });
    quelmd::writeSessionReport(sessions,
        { quelm::WidgetSession { "e2e-recent", "new", "p", quelm::WidgetSession::State::working }, std::nullopt, now.addingSeconds(-11 * 3600) });
    configure("");
    startQuelmd();
    ASSERT_TRUE(eventually([&] {
        const quelm::WidgetSnapshot snapshot = store().readSnapshot();
        return snapshot.sessions.size() == 1 && snapshot.sessions[0].id == "e2e-recent";
    })) << quelm::encode(store().readSnapshot());
    EXPECT_FALSE(quelmd::readSessionReport(sessions, "e2e-silent").has_value());
    quelmd::removeSessionReport(sessions, "e2e-recent");
    ASSERT_TRUE(eventually([&] { return store().readSnapshot().sessions.empty(); }));
}

TEST_F(QuelmdEndToEnd, PublishesTheLanguageOfTheLocale)
{
    configure("");
    {
        const ScopedEnvironment english("LANG", "en_GB.UTF-8");
        const ScopedEnvironment all("LC_ALL", std::nullopt);
        const ScopedEnvironment messages("LC_MESSAGES", std::nullopt);
        startQuelmd();
    }
    EXPECT_EQ(store().readSnapshot().language, "en");
    stopQuelmd();
    {
        const ScopedEnvironment portuguese("LC_ALL", "pt_BR.UTF-8");
        std::filesystem::remove(store().root() / "snapshot.json");
        startQuelmd();
    }
    ASSERT_TRUE(eventually([&] { return store().readSnapshot().updatedAt != quelm::WidgetSnapshot::empty.updatedAt; }));
    EXPECT_EQ(store().readSnapshot().language, std::nullopt);
}

TEST_F(QuelmdEndToEnd, TheOpenLinkStartsQuelmdAsTheUsersService)
{
    configure("");
    // The installed unit, pointed at this build and this test's container.
    const std::filesystem::path units = std::filesystem::path(std::getenv("XDG_RUNTIME_DIR")) / "systemd" / "user";
    std::filesystem::create_directories(units);
    writeFile(units / "quelmd.service",
        "[Service]\nExecStart=" + m_quelmd + " --config " + configurationFile().string() + " --root " + store().root().string() + "\n");
    ASSERT_EQ(runProgram({ "systemctl", "--user", "daemon-reload" }).exitCode, 0);
    m_units.push_back("quelmd.service");

    const ProgramResult first = runProgram({ m_quelmd, "open", "quelm://open" });
    EXPECT_EQ(first.exitCode, 0) << first.output;
    ASSERT_TRUE(eventually([&] { return unitProperty("quelmd.service", "ActiveState") == "active"; }));
    ASSERT_TRUE(eventually([&] { return store().appStatus(quelm::Date::now()) == quelm::SharedStore::AppStatus::running; }));

    const ProgramResult again = runProgram({ m_quelmd, "open", "quelm://open" });
    EXPECT_EQ(again.exitCode, 0) << again.output;
    EXPECT_NE(again.output.find("quelmd.service is running"), std::string::npos) << again.output;

    const ProgramResult unknown = runProgram({ m_quelmd, "open", "quelm://nowhere" });
    EXPECT_EQ(unknown.exitCode, 2) << unknown.output;
    const ProgramResult silent = runProgram({ m_quelmd, "open", "quelm://session/never-reported" });
    EXPECT_EQ(silent.exitCode, 1) << silent.output;
}
