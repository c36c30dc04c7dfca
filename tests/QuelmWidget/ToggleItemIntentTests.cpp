// SPDX-License-Identifier: MIT
#include "Intent/ToggleItemIntent.h"

#include <quelm/NotificationObserver.h>
#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>
#include <quelm/WireFormat.h>

#include "SessionBus.h"
#include "ChildProcess.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace quelm;
namespace fs = std::filesystem;

namespace {

const std::string commandNotification(SharedConstants::commandNotification);

// The intent's whole effect on a test container, plus what it posted on a bus of the test's own:
// no other program posts there, so every command notification seen comes from this test.
class ToggleItemIntentTests : public ::testing::Test {
protected:
    void SetUp() override
    {
        auto store = SharedStore::forAppGroup(SharedConstants::appGroupIdentifier);
        ASSERT_TRUE(store.has_value());
        ASSERT_EQ(store->root(), m_dataHome.path() / "group-containers" / std::string(SharedConstants::appGroupIdentifier));
        m_root = store->root();
        ASSERT_TRUE(m_probe.connected());
    }

    const fs::path& root() const { return m_root; }
    fs::path commandsDirectory() const { return m_root / "commands"; }

    std::vector<WidgetCommand> commandFiles() const
    {
        std::vector<WidgetCommand> commands;
        if (!fs::is_directory(commandsDirectory()))
            return commands;
        for (const auto& entry : fs::directory_iterator(commandsDirectory())) {
            auto command = decode<WidgetCommand>(test::readFile(entry.path()));
            EXPECT_EQ(entry.path().filename().string(), command.id.string() + ".json");
            commands.push_back(command);
        }
        std::sort(commands.begin(), commands.end(), [](const auto& a, const auto& b) { return a.issuedAt < b.issuedAt; });
        return commands;
    }

    PendingCommands pendingFile() const
    {
        const auto path = m_root / "pending.json";
        return fs::exists(path) ? decode<PendingCommands>(test::readFile(path)) : PendingCommands {};
    }

    // How many command notifications were posted on the bus up to now, in bus order: a fence posted
    // after them comes through the same connection, so it arrives after every one of them.
    int commandNotificationsPosted()
    {
        EXPECT_TRUE(m_fence.pass());
        const auto signals = m_probe.signalsBefore(m_fence.name());
        EXPECT_TRUE(signals.has_value());
        if (!signals)
            return -1;
        return int(std::count_if(signals->begin(), signals->end(), [](const auto& signal) { return signal.name == commandNotification; }));
    }

    test::TemporaryDirectory m_dataHome;
    test::ScopedEnvironment m_xdgDataHome { "XDG_DATA_HOME", m_dataHome.path().string() };
    test::DedicatedSessionBus m_bus;
    test::ScopedEnvironment m_busAddress { "DBUS_SESSION_BUS_ADDRESS", m_bus.address() };
    test::DeliveryCounter m_woken;
    NotificationObserver m_app { commandNotification, [this] { m_woken(); } };
    test::BusProbe m_probe;
    test::Fence m_fence;
    fs::path m_root;
};

class ScopedCurrentDirectory {
public:
    explicit ScopedCurrentDirectory(const fs::path& directory)
        : m_previous(fs::current_path())
    {
        fs::current_path(directory);
    }
    ~ScopedCurrentDirectory() { fs::current_path(m_previous); }
    ScopedCurrentDirectory(const ScopedCurrentDirectory&) = delete;
    ScopedCurrentDirectory& operator=(const ScopedCurrentDirectory&) = delete;

private:
    fs::path m_previous;
};

}

TEST(ToggleItemIntentSettingsTests, DescribeTheIntentForTheHost)
{
    EXPECT_EQ(ToggleItemIntent::title, "Iniciar ou parar item");
    ASSERT_EQ(ToggleItemIntent::parameters.size(), 2u);
    EXPECT_EQ(ToggleItemIntent::parameters[0], (IntentParameter { "itemID", "Item" }));
    EXPECT_EQ(ToggleItemIntent::parameters[1], (IntentParameter { "start", "Iniciar" }));
}

TEST(ToggleItemIntentSettingsTests, TheButtonsConstructorSetsBothParametersAndTheDefaultNeither)
{
    const ToggleItemIntent intent("api", false);
    EXPECT_EQ(intent.itemID, "api");
    EXPECT_EQ(intent.start, false);

    const ToggleItemIntent unset;
    EXPECT_FALSE(unset.itemID.has_value());
    EXPECT_FALSE(unset.start.has_value());
}

TEST_F(ToggleItemIntentTests, PerformQueuesOneCommandMarksItPendingAndWakesTheApp)
{
    const Date before = Date::now();
    ToggleItemIntent("api", true).perform();
    const Date after = Date::now();

    const auto commands = commandFiles();
    ASSERT_EQ(commands.size(), 1u);
    const auto& command = commands[0];
    EXPECT_EQ(command.itemID, "api");
    EXPECT_EQ(command.action, WidgetCommand::Action::start);
    EXPECT_GE(command.issuedAt, before);
    EXPECT_LE(command.issuedAt, after);

    EXPECT_EQ(pendingFile(), (PendingCommands { { "api", command } }));

    EXPECT_TRUE(m_woken.waitFor(1));
    EXPECT_EQ(commandNotificationsPosted(), 1);
    EXPECT_EQ(m_woken.count(), 1);
}

TEST_F(ToggleItemIntentTests, StartTrueAsksForAStartAndFalseForAStop)
{
    ToggleItemIntent("web", true).perform();
    ToggleItemIntent("db", false).perform();

    const auto pending = pendingFile();
    ASSERT_EQ(pending.size(), 2u);
    EXPECT_EQ(pending.at("web").action, WidgetCommand::Action::start);
    EXPECT_EQ(pending.at("db").action, WidgetCommand::Action::stop);
    const auto commands = commandFiles();
    ASSERT_EQ(commands.size(), 2u);
    for (const auto& command : commands)
        EXPECT_EQ(command.action, command.itemID == "web" ? WidgetCommand::Action::start : WidgetCommand::Action::stop);
    EXPECT_EQ(commandNotificationsPosted(), 2);
}

TEST_F(ToggleItemIntentTests, EveryRunMakesACommandWithItsOwnId)
{
    const ToggleItemIntent intent("api", false);
    intent.perform();
    intent.perform();
    intent.perform();

    const auto commands = commandFiles();
    ASSERT_EQ(commands.size(), 3u);
    std::set<Uuid> ids;
    for (const auto& command : commands) {
        ids.insert(command.id);
        EXPECT_EQ(command.itemID, "api");
        EXPECT_EQ(command.action, WidgetCommand::Action::stop);
    }
    EXPECT_EQ(ids.size(), 3u);

    // One mark per item: the last request's.
    const auto pending = pendingFile();
    ASSERT_EQ(pending.size(), 1u);
    EXPECT_TRUE(ids.contains(pending.at("api").id));
    EXPECT_EQ(pending.at("api").issuedAt, commands.back().issuedAt);
    EXPECT_EQ(commandNotificationsPosted(), 3);
}

TEST_F(ToggleItemIntentTests, TheIdOfAGroupOrAnyItemIsPassedOnUnchanged)
{
    const std::string id = "group:web/api ação ✓";
    ToggleItemIntent(id, true).perform();

    const auto commands = commandFiles();
    ASSERT_EQ(commands.size(), 1u);
    EXPECT_EQ(commands[0].itemID, id);
    EXPECT_EQ(pendingFile().count(id), 1u);
}

TEST_F(ToggleItemIntentTests, AnIntentWithAnUnsetParameterRefusesToRunAndLeavesNoTrace)
{
    EXPECT_THROW(ToggleItemIntent().perform(), std::logic_error);
    ToggleItemIntent onlyItem;
    onlyItem.itemID = "api";
    EXPECT_THROW(onlyItem.perform(), std::logic_error);
    ToggleItemIntent onlyStart;
    onlyStart.start = true;
    EXPECT_THROW(onlyStart.perform(), std::logic_error);

    EXPECT_FALSE(fs::exists(root()));
    EXPECT_EQ(commandNotificationsPosted(), 0);
    EXPECT_EQ(m_woken.count(), 0);
}

TEST_F(ToggleItemIntentTests, WithoutAContainerTheIntentSucceedsAndLeavesNoTrace)
{
    test::TemporaryDirectory workingDirectory;
    ScopedCurrentDirectory inWorkingDirectory(workingDirectory.path());
    {
        test::ScopedEnvironment noDataHome("XDG_DATA_HOME", std::nullopt);
        test::ScopedEnvironment noHome("HOME", std::nullopt);
        EXPECT_NO_THROW(ToggleItemIntent("api", true).perform());
    }
    {
        test::ScopedEnvironment relativeDataHome("XDG_DATA_HOME", "relative/share");
        test::ScopedEnvironment relativeHome("HOME", "relative-home");
        EXPECT_NO_THROW(ToggleItemIntent("api", false).perform());
    }

    EXPECT_TRUE(fs::is_empty(workingDirectory.path()));
    EXPECT_TRUE(fs::is_empty(m_dataHome.path()));
    EXPECT_EQ(commandNotificationsPosted(), 0);
    EXPECT_EQ(m_woken.count(), 0);
}

TEST_F(ToggleItemIntentTests, WhenTheCommandsDirectoryCannotBeMadeTheStoresErrorReachesTheCaller)
{
    fs::create_directories(root());
    test::writeFile(commandsDirectory(), "not a directory");

    std::error_code expected;
    try {
        SharedStore(root()).enqueue(WidgetCommand("api", WidgetCommand::Action::start, Uuid::random(), Date::now()));
    } catch (const std::system_error& error) {
        expected = error.code();
    }
    ASSERT_TRUE(expected) << "the store itself must fail here";

    try {
        ToggleItemIntent("api", true).perform();
        ADD_FAILURE() << "perform() did not fail";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), expected);
    }

    EXPECT_EQ(test::readFile(commandsDirectory()), "not a directory");
    EXPECT_FALSE(fs::exists(root() / "pending.json"));
    EXPECT_EQ(commandNotificationsPosted(), 0);
    EXPECT_EQ(m_woken.count(), 0);
}

TEST_F(ToggleItemIntentTests, WhenTheContainerIsAPlainFileTheErrorReachesTheCaller)
{
    fs::create_directories(root().parent_path());
    test::writeFile(root(), "");

    EXPECT_THROW(ToggleItemIntent("api", false).perform(), std::system_error);

    EXPECT_EQ(test::readFile(root()), "");
    EXPECT_EQ(commandNotificationsPosted(), 0);
    EXPECT_EQ(m_woken.count(), 0);
}

TEST_F(ToggleItemIntentTests, WhenTheContainerIsNotWritableTheErrorReachesTheCaller)
{
    // Reachable by anyone, writable by nobody but root.
    fs::create_directories(root());
    for (auto directory = root().parent_path(); directory != m_dataHome.path().parent_path(); directory = directory.parent_path())
        fs::permissions(directory, fs::perms(0755));
    fs::permissions(root(), fs::perms(0555));

    auto run = [] {
        try {
            ToggleItemIntent("api", true).perform();
            return 1;
        } catch (const std::system_error& error) {
            return error.code() == std::errc::permission_denied ? 0 : 2;
        } catch (...) {
            return 3;
        }
    };
    if (::geteuid() == 0) {
        // Root writes anywhere: run the intent as an unprivileged user instead.
        EXPECT_EQ(test::exitStatusOfChild([&] { return test::becomeUnprivileged().empty() ? run() : 100; }), 0);
    } else {
        EXPECT_EQ(run(), 0);
    }

    EXPECT_FALSE(fs::exists(commandsDirectory()));
    EXPECT_FALSE(fs::exists(root() / "pending.json"));
    EXPECT_EQ(commandNotificationsPosted(), 0);
    EXPECT_EQ(m_woken.count(), 0);
}

TEST_F(ToggleItemIntentTests, AnItemIdThatCannotBeEncodedFailsWithTheEncodingError)
{
    EXPECT_THROW(ToggleItemIntent("not utf-8 \xff", true).perform(), EncodingError);

    EXPECT_TRUE(commandFiles().empty());
    EXPECT_FALSE(fs::exists(root() / "pending.json"));
    EXPECT_EQ(commandNotificationsPosted(), 0);
    EXPECT_EQ(m_woken.count(), 0);
}

TEST_F(ToggleItemIntentTests, TwoQuickTapsMakeTwoIndependentCommands)
{
    std::thread first([] { ToggleItemIntent("web", true).perform(); });
    std::thread second([] { ToggleItemIntent("web", true).perform(); });
    first.join();
    second.join();

    const auto commands = commandFiles();
    ASSERT_EQ(commands.size(), 2u);
    EXPECT_NE(commands[0].id, commands[1].id);
    EXPECT_EQ(commandNotificationsPosted(), 2);
}
