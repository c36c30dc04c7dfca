// SPDX-License-Identifier: MIT
// Runs the built quelm-widget program, found through $QUELM_WIDGET.

#include "TestSupport.h"
#include "ShellCommand.h"

#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>
#include <quelm/Uuid.h>
#include <quelm/WireFormat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <filesystem>
#include <utility>
#include <string>
#include <vector>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace quelm;
using quelm::test::shellQuoted;
using nlohmann::json;
using quelm::test::ScopedEnvironment;
using quelm::test::TemporaryDirectory;
using quelm::test::readFile;
using quelm::test::writeFile;
using testing::HasSubstr;

namespace {

struct Result {
    int status = -1;
    std::string out;
    std::string err;
};

std::string programPath()
{
    const char* path = std::getenv("QUELM_WIDGET");
    if (!path || !*path)
        throw std::runtime_error("QUELM_WIDGET is not set: run the tests through ctest");
    return path;
}

// Runs quelm-widget with `arguments` in this process's environment; `input` goes to its standard
// input when given.
Result run(const std::vector<std::string>& arguments, const std::optional<std::string>& input = std::nullopt)
{
    TemporaryDirectory scratch;
    std::string redirections;
    if (input) {
        writeFile(scratch / "stdin", *input);
        redirections = "<" + shellQuoted((scratch / "stdin").string());
    } else {
        redirections = "</dev/null";
    }
    redirections += " 2>" + shellQuoted((scratch / "stderr").string());
    std::vector<std::string> command { programPath() };
    command.insert(command.end(), arguments.begin(), arguments.end());
    const quelm::test::ShellRun finished = quelm::test::runThroughShell(command, redirections);

    Result result;
    result.status = finished.status;
    result.out = finished.output;
    result.err = readFile(scratch / "stderr");
    return result;
}

WidgetSnapshot sampleSnapshot(Date updatedAt)
{
    WidgetSnapshot snapshot;
    snapshot.items = {
        WidgetItem { "stopped", "alpha", "node", false },
        WidgetItem { "svc10", "svc 10", "server", true, std::nullopt, 8010, updatedAt.addingSeconds(-100) },
        WidgetItem { "svc2", "svc 2", "server", true, std::nullopt, 8002, updatedAt.addingSeconds(-50) },
        WidgetItem { "web", "Web", "node", true, WidgetItem::Transition::starting, std::nullopt, updatedAt.addingSeconds(-500) },
    };
    snapshot.groups = { WidgetGroup("group:g", "G", 2, 2, true) };
    snapshot.sessions = {
        WidgetSession { "w", "Working", "p", WidgetSession::State::working },
        WidgetSession { "a", "Approve", "p", WidgetSession::State::needsApproval },
    };
    snapshot.language = "pt-BR";
    snapshot.updatedAt = updatedAt;
    return snapshot;
}

// The container under a temporary XDG_DATA_HOME, inherited by the program; the collation locale
// pinned.
class QuelmWidgetCli : public testing::Test {
protected:
    SharedStore store() const { return *SharedStore::forAppGroup(SharedConstants::appGroupIdentifier); }

    TemporaryDirectory directory;

private:
    ScopedEnvironment m_dataHome { "XDG_DATA_HOME", directory.path().string() };
    ScopedEnvironment m_locale { "LC_ALL", "en_US.UTF-8" };
};

std::vector<std::string> idsOf(const json& list)
{
    std::vector<std::string> ids;
    for (const auto& id : list)
        ids.push_back(id.get<std::string>());
    return ids;
}

using Ids = std::vector<std::string>;

}

// ---- Dispatcher ----------------------------------------------------------------------------------

TEST_F(QuelmWidgetCli, HelpPrintsUsageAndSucceeds)
{
    for (const auto& arguments : std::vector<std::vector<std::string>> { { "--help" }, { "-h" }, { "help" } }) {
        const auto result = run(arguments);
        EXPECT_EQ(result.status, 0);
        EXPECT_THAT(result.out, HasSubstr("Usage: quelm-widget"));
        EXPECT_THAT(result.out, HasSubstr("timeline"));
        EXPECT_THAT(result.out, HasSubstr("layout"));
    }
}

TEST_F(QuelmWidgetCli, EachCommandHasItsOwnHelp)
{
    for (const std::string name : { "timeline", "layout" }) {
        for (const auto& arguments : std::vector<std::vector<std::string>> { { name, "--help" }, { "help", name }, { name, "--family", "nope", "--help" } }) {
            const auto result = run(arguments);
            EXPECT_EQ(result.status, 0);
            EXPECT_THAT(result.out, HasSubstr("Usage: quelm-widget " + name));
            EXPECT_THAT(result.out, HasSubstr("--family"));
        }
    }
}

TEST_F(QuelmWidgetCli, AnUnknownCommandIsAUsageError)
{
    // Without a command the program is the desktop host (tested with the host).
    auto result = run({ "render-everything" });
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr("unknown command \"render-everything\""));
    EXPECT_TRUE(result.out.empty());
}

TEST_F(QuelmWidgetCli, AnUnknownFamilyIsRefusedWithTheAcceptedOnes)
{
    for (const std::string command : { "timeline", "layout" }) {
        const auto result = run({ command, "--family", "huge" });
        EXPECT_EQ(result.status, 2);
        EXPECT_THAT(result.err, HasSubstr("\"huge\""));
        EXPECT_THAT(result.err, HasSubstr("small, medium, large, extraLarge"));
        EXPECT_TRUE(result.out.empty());
    }
}

TEST_F(QuelmWidgetCli, AMissingFamilyIsRefused)
{
    for (const std::string command : { "timeline", "layout" }) {
        const auto result = run({ command, "--sort", "recent" });
        EXPECT_EQ(result.status, 2);
        EXPECT_THAT(result.err, HasSubstr("--family"));
        EXPECT_THAT(result.err, HasSubstr("small, medium, large, extraLarge"));
    }
    EXPECT_EQ(run({ "layout", "--family" }).status, 2);
}

TEST_F(QuelmWidgetCli, AnUnknownSortOrderIsRefusedWithTheAcceptedOnes)
{
    for (const std::string command : { "timeline", "layout" }) {
        const auto result = run({ command, "--family", "small", "--sort", "Recent" });
        EXPECT_EQ(result.status, 2);
        EXPECT_THAT(result.err, HasSubstr("category, recent"));
    }
}

TEST_F(QuelmWidgetCli, AnUnexpectedArgumentIsRefused)
{
    const auto result = run({ "layout", "--family", "small", "extra" });
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr("\"extra\""));
}

// ---- timeline ------------------------------------------------------------------------------------

TEST_F(QuelmWidgetCli, TimelineOfTheLiveContainerWithAPendingCommand)
{
    const Date now = Date::now();
    const auto snapshot = sampleSnapshot(now.addingSeconds(-30));
    store().writeSnapshot(snapshot);
    store().touchHeartbeat(now);
    store().markPending(WidgetCommand("svc2", WidgetCommand::Action::stop, Uuid::random(), now.addingSeconds(-2)));

    const auto result = run({ "timeline", "--family", "medium", "--sort", "recent" });
    ASSERT_EQ(result.status, 0) << result.err;
    const json document = json::parse(result.out);

    ASSERT_EQ(document["entries"].size(), 2u);
    const json& first = document["entries"][0];
    const json& second = document["entries"][1];
    EXPECT_EQ(first["appStatus"], "running");
    EXPECT_EQ(first["sortOrder"], "recent");
    EXPECT_EQ(first["pending"], json({ { "svc2", "stop" } }));
    EXPECT_EQ(first["snapshot"], json::parse(encode(snapshot)));
    EXPECT_EQ(decode<WidgetSnapshot>(first["snapshot"].dump()), snapshot);

    const double date = first["date"].get<double>();
    EXPECT_GE(date, now.secondsSince1970());
    EXPECT_LT(date, now.secondsSince1970() + 60);
    EXPECT_NEAR(second["date"].get<double>(), date + 20, 0.5);
    EXPECT_EQ(second["pending"], json::object());
    EXPECT_EQ(second["snapshot"], first["snapshot"]);
    EXPECT_EQ(second["appStatus"], "running");
    EXPECT_EQ(second["sortOrder"], "recent");
    EXPECT_NEAR(document["reloadAfter"].get<double>(), date + 1800, 0.5);
}

TEST_F(QuelmWidgetCli, TimelineWithoutPendingHasOneEntrySortedByCategoryByDefault)
{
    const Date now = Date::now();
    store().writeSnapshot(sampleSnapshot(now));
    const auto result = run({ "timeline", "--family", "small" });
    ASSERT_EQ(result.status, 0) << result.err;
    const json document = json::parse(result.out);
    ASSERT_EQ(document["entries"].size(), 1u);
    EXPECT_EQ(document["entries"][0]["sortOrder"], "category");
    EXPECT_EQ(document["entries"][0]["appStatus"], "notRunning"); // no heartbeat
    EXPECT_EQ(document["entries"][0]["pending"], json::object());
}

TEST_F(QuelmWidgetCli, TimelineWithoutAContainerIsNoAccessWithAReloadInThirtyMinutes)
{
    ScopedEnvironment noDataHome("XDG_DATA_HOME", std::nullopt);
    ScopedEnvironment noHome("HOME", std::nullopt);
    const double before = Date::now().secondsSince1970();
    const auto result = run({ "timeline", "--family=large" });
    const double after = Date::now().secondsSince1970();
    ASSERT_EQ(result.status, 0) << result.err;
    const json document = json::parse(result.out);
    ASSERT_EQ(document["entries"].size(), 1u);
    const json& entry = document["entries"][0];
    EXPECT_EQ(entry["appStatus"], "noAccess");
    EXPECT_EQ(entry["pending"], json::object());
    EXPECT_EQ(entry["snapshot"], json::parse(encode(WidgetSnapshot::empty)));
    EXPECT_GE(document["reloadAfter"].get<double>(), before + 1800);
    EXPECT_LE(document["reloadAfter"].get<double>(), after + 1800);
}

TEST_F(QuelmWidgetCli, PreviewIsTheSampleWithTheConfiguredSortOrder)
{
    store().writeSnapshot(sampleSnapshot(Date::now()));
    const auto result = run({ "timeline", "--family", "extraLarge", "--sort", "recent", "--preview" });
    ASSERT_EQ(result.status, 0) << result.err;
    const json document = json::parse(result.out);
    ASSERT_EQ(document["entries"].size(), 1u);
    const json& entry = document["entries"][0];
    EXPECT_EQ(entry["sortOrder"], "recent");
    EXPECT_EQ(entry["appStatus"], "running");
    EXPECT_EQ(entry["pending"], json::object());
    std::vector<std::string> items;
    for (const auto& item : entry["snapshot"]["items"])
        items.push_back(item["id"]);
    EXPECT_EQ(items, (Ids { "a", "b", "c", "d", "e" }));
    EXPECT_EQ(entry["snapshot"]["groups"][0]["id"], "group:x");
    EXPECT_EQ(entry["snapshot"]["updatedAt"], entry["date"]);
    EXPECT_TRUE(document["reloadAfter"].is_null());
}

// ---- layout --------------------------------------------------------------------------------------

TEST_F(QuelmWidgetCli, LayoutOfASnapshotFile)
{
    writeFile(directory / "snapshot.json", encode(sampleSnapshot(Date(1000))));
    auto result = run({ "layout", "--family", "large", "--snapshot", (directory / "snapshot.json").string() });
    ASSERT_EQ(result.status, 0) << result.err;
    json document = json::parse(result.out);
    EXPECT_EQ(idsOf(document["sessions"]), (Ids { "w", "a" }));
    EXPECT_EQ(idsOf(document["groups"]), (Ids { "group:g" }));
    EXPECT_EQ(idsOf(document["items"]), (Ids { "web", "svc2", "svc10", "stopped" }));

    result = run({ "layout", "--family", "large", "--sort", "recent", "--snapshot", (directory / "snapshot.json").string() });
    ASSERT_EQ(result.status, 0) << result.err;
    document = json::parse(result.out);
    EXPECT_EQ(idsOf(document["items"]), (Ids { "svc2", "svc10", "web", "stopped" }));

    result = run({ "layout", "--family", "small", "--snapshot", (directory / "snapshot.json").string() });
    ASSERT_EQ(result.status, 0) << result.err;
    document = json::parse(result.out);
    EXPECT_EQ(idsOf(document["sessions"]), (Ids { "a" }));
    EXPECT_EQ(idsOf(document["groups"]), (Ids { "group:g" }));
    EXPECT_EQ(idsOf(document["items"]), (Ids { "web" }));
}

TEST_F(QuelmWidgetCli, LayoutReadsStandardInputForADash)
{
    const auto result = run({ "layout", "--family", "medium", "--snapshot", "-" }, encode(sampleSnapshot(Date(1000))));
    ASSERT_EQ(result.status, 0) << result.err;
    const json document = json::parse(result.out);
    EXPECT_EQ(idsOf(document["sessions"]), (Ids { "w", "a" }));
    EXPECT_EQ(idsOf(document["items"]), (Ids { "web", "svc2", "svc10" }));
}

TEST_F(QuelmWidgetCli, LayoutOfTheLiveContainer)
{
    store().writeSnapshot(sampleSnapshot(Date(1000)));
    const auto result = run({ "layout", "--family", "extraLarge" });
    ASSERT_EQ(result.status, 0) << result.err;
    const json document = json::parse(result.out);
    EXPECT_EQ(idsOf(document["sessions"]), (Ids { "w", "a" }));
    EXPECT_EQ(idsOf(document["groups"]), (Ids { "group:g" }));
    EXPECT_EQ(idsOf(document["items"]), (Ids { "web", "svc2", "svc10", "stopped" }));
}

TEST_F(QuelmWidgetCli, LayoutWithoutASnapshotOrAContainerIsEmpty)
{
    const json empty = { { "sessions", json::array() }, { "groups", json::array() }, { "items", json::array() } };
    auto result = run({ "layout", "--family", "small" });
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(json::parse(result.out), empty);

    ScopedEnvironment noDataHome("XDG_DATA_HOME", std::nullopt);
    ScopedEnvironment noHome("HOME", std::nullopt);
    result = run({ "layout", "--family", "small" });
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(json::parse(result.out), empty);
}

TEST_F(QuelmWidgetCli, AnUndecodableSnapshotFileIsRefusedWithTheDecodingError)
{
    const std::string document = R"({"items":[{"id":"a","title":"A","category":"node","isRunning":true,"transition":"Starting"}],"updatedAt":1})";
    writeFile(directory / "bad.json", document);
    std::string message;
    try {
        decode<WidgetSnapshot>(document);
    } catch (const DecodingError& error) {
        message = error.what();
    }
    ASSERT_FALSE(message.empty());

    const auto result = run({ "layout", "--family", "small", "--snapshot", (directory / "bad.json").string() });
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr(message));
    EXPECT_TRUE(result.out.empty());

    writeFile(directory / "truncated.json", "{\"items\": [");
    EXPECT_EQ(run({ "layout", "--family", "small", "--snapshot", (directory / "truncated.json").string() }).status, 2);
}

TEST_F(QuelmWidgetCli, AMissingSnapshotFileIsRefused)
{
    const auto result = run({ "layout", "--family", "small", "--snapshot", (directory / "absent.json").string() });
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr("absent.json"));
}

// ---- Command line --------------------------------------------------------------------------------

TEST_F(QuelmWidgetCli, VersionIsTheProjectVersion)
{
    const auto result = run({ "--version" });
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "quelm-widget " QUELM_PROJECT_VERSION "\n");
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(run({ "--help" }).out, HasSubstr("--version"));
}

TEST_F(QuelmWidgetCli, ABadFlagIsOneLineAndWhereHelpIs)
{
    auto result = run({ "render", "--family", "small", "--colour", "red" });
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "quelm-widget render: unknown option \"--colour\"\nTry 'quelm-widget render --help'.\n");
    result = run({ "frobnicate" });
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "quelm-widget: unknown command \"frobnicate\"\nTry 'quelm-widget --help'.\n");
}

TEST_F(QuelmWidgetCli, RenderRepeatsPendingAndTakesTheLastOfOtherOptions)
{
    const auto result = run({ "render", "--family", "medium", "--family", "small", "--sample", "--format", "json",
        "--pending", "a=start", "--pending", "b=stop", "--pending", "b" });
    EXPECT_EQ(result.status, 2) << "a malformed --pending among several is still refused";
    const auto both = run({ "render", "--family", "medium", "--family", "small", "--sample", "--format", "json" });
    ASSERT_EQ(both.status, 0) << both.err;
    EXPECT_EQ(json::parse(both.out)["family"], "small");
}

// Runs quelm-widget with its standard output on a new pseudo-terminal, as in an interactive shell;
// returns the exit status and what reached the terminal.
std::pair<int, std::string> runOnTerminal(const std::vector<std::string>& arguments, const std::filesystem::path& errors)
{
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal < 0 || ::grantpt(terminal) != 0 || ::unlockpt(terminal) != 0)
        throw std::runtime_error("cannot open a pseudo-terminal");
    std::string command = shellQuoted(programPath());
    for (const auto& argument : arguments)
        command += " " + shellQuoted(argument);
    command += " </dev/null >" + shellQuoted(::ptsname(terminal)) + " 2>" + shellQuoted(errors.string());
    const int status = std::system(command.c_str());

    std::string shown;
    ::fcntl(terminal, F_SETFL, O_NONBLOCK);
    char buffer[4096];
    ssize_t read;
    while ((read = ::read(terminal, buffer, sizeof buffer)) > 0)
        shown.append(buffer, static_cast<std::size_t>(read));
    ::close(terminal);
    return { WIFEXITED(status) ? WEXITSTATUS(status) : -1, shown };
}

TEST_F(QuelmWidgetCli, RenderRefusesToWritePngBytesToATerminal)
{
    const ScopedEnvironment offscreen { "QT_QPA_PLATFORM", "offscreen" };
    const auto [status, shown] = runOnTerminal({ "render", "--family", "small", "--sample" }, directory / "errors");
    EXPECT_EQ(status, 2);
    EXPECT_EQ(shown, "") << "no PNG bytes reach the terminal";
    EXPECT_THAT(readFile(directory / "errors"), HasSubstr("-o FILE"));

    const auto [toFile, shownToo] = runOnTerminal({ "render", "--family", "small", "--sample", "-o", (directory / "small.png").string() },
        directory / "errors");
    EXPECT_EQ(toFile, 0) << readFile(directory / "errors");
    EXPECT_EQ(shownToo, "");
    EXPECT_EQ(readFile(directory / "small.png").substr(1, 3), "PNG");
}
