// SPDX-License-Identifier: MIT
// Runs the built quelmctl (its path in $QUELMCTL) as a user would: arguments, standard input,
// environment; checks standard output, standard error, the exit status and the store's files.

#include <quelm/Notification.h>
#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>
#include <quelm/WireFormat.h>

#include "QuelmctlProcess.h"
#include "TestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <signal.h>
#include <unistd.h>

using namespace quelm;
using namespace std::chrono_literals;
using quelm::test::Child;
using quelm::test::EnvironmentChanges;
using quelm::test::lines;
using quelm::test::readFile;
using quelm::test::Result;
using quelm::test::run;
using quelm::test::SessionBus;
using quelm::test::TemporaryDirectory;
using quelm::test::writeFile;
using testing::HasSubstr;
using testing::StartsWith;
using Json = nlohmann::json;
namespace fs = std::filesystem;

namespace {

// ---------------------------------------------------------------------------------------------
// Documents

const std::string validSnapshot = R"({"items":[)"
                                  R"({"id":"my-api","title":"API","category":"node","isRunning":true,"port":8080,"startedAt":1795384000.5},)"
                                  R"({"id":"db","title":"Postgres","category":"database","isRunning":false},)"
                                  R"({"id":"web","title":"Web","category":"server","isRunning":false,"transition":"starting"}],)"
                                  R"("groups":[{"id":"group:backend","name":"Backend","memberCount":2,"runningCount":1,"isActive":false}],)"
                                  R"("sessions":[{"id":"s1","title":"Fix login","project":"quelm","state":"needsApproval"}],)"
                                  R"("language":"en","updatedAt":1795384610.25})";

std::string withTransition(std::string document, const std::string& from, const std::string& to)
{
    const auto at = document.find(from);
    if (at == std::string::npos)
        throw std::logic_error("no " + from + " in the document");
    return document.replace(at, from.size(), to);
}

// A store directory of its own for each test.
class QuelmctlTest : public testing::Test {
protected:
    TemporaryDirectory temporary;
    fs::path root = temporary / "store";
    SharedStore store { root };

    std::vector<std::string> withRoot(std::vector<std::string> arguments) const
    {
        arguments.push_back("--root");
        arguments.push_back(root.string());
        return arguments;
    }

    Json statusJson()
    {
        const Result status = run(withRoot({ "status", "--json" }));
        EXPECT_EQ(status.exitCode, 0) << status.err;
        return Json::parse(status.out);
    }
};

// ---------------------------------------------------------------------------------------------
// publish

TEST_F(QuelmctlTest, PublishAcceptsAValidDocumentAndStatusShowsIt)
{
    const Result publish = run(withRoot({ "publish" }), validSnapshot);
    ASSERT_EQ(publish.exitCode, 0) << publish.err;
    EXPECT_EQ(publish.err, "");

    EXPECT_EQ(store.readSnapshot(), decode<WidgetSnapshot>(validSnapshot));
    const Json status = statusJson();
    EXPECT_EQ(status["snapshot"], Json::parse(encode(decode<WidgetSnapshot>(validSnapshot))));
    EXPECT_EQ(status["snapshot"]["items"][0]["port"], 8080);
    EXPECT_EQ(status["snapshot"]["updatedAt"], 1795384610.25);
    EXPECT_EQ(status["appStatus"], "notRunning");
    EXPECT_EQ(status["pending"], Json::object());
}

TEST_F(QuelmctlTest, PublishReadsAFileOrStandardInputNamedByADash)
{
    writeFile(temporary / "snapshot-in.json", validSnapshot);
    Result publish = run(withRoot({ "publish", (temporary / "snapshot-in.json").string() }));
    ASSERT_EQ(publish.exitCode, 0) << publish.err;
    EXPECT_EQ(store.readSnapshot(), decode<WidgetSnapshot>(validSnapshot));

    const std::string other = R"({"items":[],"updatedAt":12.5})";
    publish = run({ "--root", root.string(), "publish", "-" }, other);
    ASSERT_EQ(publish.exitCode, 0) << publish.err;
    EXPECT_EQ(store.readSnapshot().updatedAt, Date(12.5));
}

TEST_F(QuelmctlTest, PublishRefusesWhatTheWidgetWouldRefuseAndKeepsTheSnapshot)
{
    ASSERT_EQ(run(withRoot({ "publish" }), validSnapshot).exitCode, 0);
    const std::string before = readFile(root / "snapshot.json");

    const std::string refused = withTransition(validSnapshot, R"("transition":"starting")", R"("transition":"Starting")");
    const Result publish = run(withRoot({ "publish" }), refused);
    EXPECT_EQ(publish.exitCode, 2);
    EXPECT_EQ(publish.out, "");
    ASSERT_EQ(lines(publish.err).size(), 1u) << publish.err;
    EXPECT_THAT(publish.err, HasSubstr("items[2].transition"));
    EXPECT_THAT(publish.err, HasSubstr("Starting"));
    EXPECT_EQ(readFile(root / "snapshot.json"), before);
}

TEST_F(QuelmctlTest, PublishRefusesBrokenJsonAndMissingKeysOnOneLine)
{
    ASSERT_EQ(run(withRoot({ "publish" }), validSnapshot).exitCode, 0);
    const std::string before = readFile(root / "snapshot.json");

    for (const std::string& document : { std::string(R"({"items":[)"), std::string("{}"),
             std::string(R"({"items":[{"id":"a","category":"node","isRunning":true}],"updatedAt":1})"), std::string() }) {
        const Result publish = run(withRoot({ "publish", "-" }), document);
        EXPECT_EQ(publish.exitCode, 2) << document;
        EXPECT_EQ(lines(publish.err).size(), 1u) << publish.err;
        EXPECT_THAT(publish.err, StartsWith("quelmctl publish: ")) << publish.err;
        EXPECT_EQ(readFile(root / "snapshot.json"), before);
    }
}

TEST_F(QuelmctlTest, PublishStampSetsUpdatedAtToNow)
{
    const double before = Date::now().secondsSince1970();
    Result publish = run(withRoot({ "publish", "--stamp" }), validSnapshot);
    const double after = Date::now().secondsSince1970();
    ASSERT_EQ(publish.exitCode, 0) << publish.err;

    const double stamped = statusJson()["snapshot"]["updatedAt"].get<double>();
    EXPECT_GE(stamped, before);
    EXPECT_LE(stamped, after);
    EXPECT_TRUE(store.readSnapshot().hasSameContent(decode<WidgetSnapshot>(validSnapshot)));

    publish = run(withRoot({ "publish" }), validSnapshot);
    ASSERT_EQ(publish.exitCode, 0) << publish.err;
    EXPECT_EQ(store.readSnapshot().updatedAt, Date(1795384610.25)) << "without --stamp the document's time stays";
}

TEST_F(QuelmctlTest, PublishStampSuppliesAMissingUpdatedAt)
{
    const std::string withoutTime = R"({"items":[{"id":"a","title":"A","category":"node","isRunning":true}]})";
    const Result unstamped = run(withRoot({ "publish" }), withoutTime);
    EXPECT_EQ(unstamped.exitCode, 2);
    EXPECT_THAT(unstamped.err, HasSubstr("updatedAt"));
    EXPECT_FALSE(fs::exists(root / "snapshot.json"));

    const double before = Date::now().secondsSince1970();
    const Result stamped = run(withRoot({ "publish", "--stamp" }), withoutTime);
    const double after = Date::now().secondsSince1970();
    ASSERT_EQ(stamped.exitCode, 0) << stamped.err;
    const WidgetSnapshot published = store.readSnapshot();
    EXPECT_GE(published.updatedAt.secondsSince1970(), before);
    EXPECT_LE(published.updatedAt.secondsSince1970(), after);
    ASSERT_EQ(published.items.size(), 1u);
    EXPECT_EQ(published.items[0].id, "a");
}

TEST_F(QuelmctlTest, PublishOfADirectorySaysSoPlainly)
{
    fs::create_directories(temporary / "a-folder");
    const Result publish = run(withRoot({ "publish", (temporary / "a-folder").string() }));
    EXPECT_EQ(publish.exitCode, 2);
    EXPECT_EQ(publish.out, "");
    EXPECT_EQ(lines(publish.err).size(), 1u) << publish.err;
    EXPECT_THAT(publish.err, HasSubstr("a-folder"));
    EXPECT_THAT(publish.err, HasSubstr("is a directory"));
    EXPECT_THAT(publish.err, testing::Not(HasSubstr("basic_filebuf")));
    EXPECT_FALSE(fs::exists(root / "snapshot.json"));
}

TEST_F(QuelmctlTest, PublishReportsAWriteFailureWithExitOne)
{
    writeFile(temporary / "file", "not a directory");
    const Result publish = run({ "publish", "--root", (temporary / "file" / "store").string() }, validSnapshot);
    EXPECT_EQ(publish.exitCode, 1);
    EXPECT_THAT(publish.err, HasSubstr("cannot write"));
}

TEST_F(QuelmctlTest, PublishOfAFileThatCannotBeReadIsBadInput)
{
    const Result publish = run(withRoot({ "publish", (temporary / "missing.json").string() }));
    EXPECT_EQ(publish.exitCode, 2);
    EXPECT_THAT(publish.err, HasSubstr("missing.json"));
    EXPECT_FALSE(fs::exists(root / "snapshot.json"));
}

// ---------------------------------------------------------------------------------------------
// The store: --root or the app group container

TEST_F(QuelmctlTest, WithoutRootTheAppGroupContainerIsUsed)
{
    const fs::path container = temporary / "data" / "group-containers" / std::string(SharedConstants::appGroupIdentifier);
    const EnvironmentChanges environment { { "XDG_DATA_HOME", (temporary / "data").string() } };
    const Result publish = run({ "publish" }, validSnapshot, environment);
    ASSERT_EQ(publish.exitCode, 0) << publish.err;
    EXPECT_EQ(SharedStore(container).readSnapshot(), decode<WidgetSnapshot>(validSnapshot));
}

TEST_F(QuelmctlTest, WithoutContainerOrRootCommandsExitOne)
{
    const EnvironmentChanges noContainer { { "XDG_DATA_HOME", std::nullopt }, { "HOME", std::nullopt } };
    for (const std::vector<std::string>& arguments :
        { std::vector<std::string> { "status" }, { "publish" }, { "drain" }, { "heartbeat" } }) {
        const Result result = run(arguments, validSnapshot, noContainer);
        EXPECT_EQ(result.exitCode, 1) << arguments[0];
        EXPECT_THAT(result.err, HasSubstr("no app group container")) << arguments[0];
        EXPECT_THAT(result.err, HasSubstr("--root")) << arguments[0];
    }
    const Result withRootGiven = run(withRoot({ "status" }), {}, noContainer);
    EXPECT_EQ(withRootGiven.exitCode, 0) << withRootGiven.err;
}

TEST_F(QuelmctlTest, RootMayStandBeforeOrAfterTheCommand)
{
    ASSERT_EQ(run({ "--root", root.string(), "publish" }, validSnapshot).exitCode, 0);
    ASSERT_EQ(run({ "status", "--json", "--root=" + root.string() }).exitCode, 0);
    EXPECT_EQ(store.readSnapshot(), decode<WidgetSnapshot>(validSnapshot));
}

// ---------------------------------------------------------------------------------------------
// heartbeat

TEST_F(QuelmctlTest, HeartbeatThenStatusSaysRunning)
{
    ASSERT_EQ(run(withRoot({ "publish" }), validSnapshot).exitCode, 0);
    EXPECT_EQ(statusJson()["appStatus"], "notRunning");

    const Result beat = run(withRoot({ "heartbeat" }));
    ASSERT_EQ(beat.exitCode, 0) << beat.err;
    EXPECT_EQ(beat.out, "");
    EXPECT_EQ(statusJson()["appStatus"], "running");
    EXPECT_EQ(store.appStatus(Date::now()), SharedStore::AppStatus::running);
}

TEST_F(QuelmctlTest, HeartbeatSaysSoWhenTheRootDoesNotExist)
{
    const Result beat = run(withRoot({ "heartbeat" }));
    EXPECT_EQ(beat.exitCode, 1);
    EXPECT_THAT(beat.err, HasSubstr("does not exist"));
    EXPECT_THAT(beat.err, HasSubstr(root.string()));
    EXPECT_FALSE(fs::exists(root)) << "a heartbeat never creates the store";
}

TEST_F(QuelmctlTest, HeartbeatEveryBeatsUntilTerminated)
{
    fs::create_directories(root);
    for (int signal : { SIGTERM, SIGINT }) {
        fs::remove(root / "heartbeat");
        Child beating(withRoot({ "heartbeat", "--every", "0.2" }));

        const auto waitForBeat = [&](const std::string& other) {
            const auto deadline = std::chrono::steady_clock::now() + 5s;
            while (std::chrono::steady_clock::now() < deadline) {
                std::error_code error;
                if (fs::exists(root / "heartbeat", error)) {
                    std::string beat = readFile(root / "heartbeat");
                    if (!beat.empty() && beat != other)
                        return beat;
                }
                std::this_thread::sleep_for(20ms);
            }
            return std::string();
        };
        const std::string first = waitForBeat("");
        ASSERT_NE(first, "") << "no first beat";
        const std::string second = waitForBeat(first);
        ASSERT_NE(second, "") << "no second beat";
        EXPECT_GT(std::stod(second), std::stod(first));

        beating.signal(signal);
        const Result result = beating.finish(60s);
        EXPECT_EQ(result.exitCode, 0) << "signal " << signal << ": " << result.err;
        EXPECT_EQ(result.err, "");
    }
}

TEST_F(QuelmctlTest, HeartbeatEveryEndsOnASignalWithoutWaitingForTheNextBeat)
{
    fs::create_directories(root);
    for (int signal : { SIGTERM, SIGINT }) {
        fs::remove(root / "heartbeat");
        // The next beat is 85 s away: ending within the minute that `finish` waits shows that the
        // signal, not the beat, ended it.
        Child beating(withRoot({ "heartbeat", "--every", "85" }));
        for (int i = 0; i < 3000 && !fs::exists(root / "heartbeat"); ++i)
            std::this_thread::sleep_for(20ms);
        ASSERT_TRUE(fs::exists(root / "heartbeat")) << "no first beat";
        beating.signal(signal);
        const Result result = beating.finish(60s);
        EXPECT_EQ(result.exitCode, 0) << "signal " << signal << ": " << result.err;
        EXPECT_EQ(result.err, "");
    }
}

TEST_F(QuelmctlTest, HeartbeatEveryNeedsAPositiveNumber)
{
    fs::create_directories(root);
    for (const std::string every : { "0", "-1", "abc", "", "1x", "nan", "inf" }) {
        const Result result = run(withRoot({ "heartbeat", "--every", every }));
        EXPECT_EQ(result.exitCode, 2) << every;
        EXPECT_THAT(result.err, HasSubstr("--every")) << every;
    }
    EXPECT_FALSE(fs::exists(root / "heartbeat"));
}

// ---------------------------------------------------------------------------------------------
// drain

WidgetCommand command(const std::string& itemID, WidgetCommand::Action action, double issuedAt)
{
    return WidgetCommand(itemID, action, Uuid::random(), Date(issuedAt));
}

TEST_F(QuelmctlTest, DrainJsonPrintsCommandsInIssueOrderAndEmptiesTheQueue)
{
    const WidgetCommand late = command("web", WidgetCommand::Action::stop, 1795384612);
    const WidgetCommand early = command("my-api", WidgetCommand::Action::start, 1795384610.123);
    const WidgetCommand middle = command("group:backend", WidgetCommand::Action::start, 1795384611);
    for (const auto& c : { late, early, middle })
        store.enqueue(c);

    const Result drain = run(withRoot({ "drain", "--json" }));
    ASSERT_EQ(drain.exitCode, 0) << drain.err;
    const auto printed = lines(drain.out);
    ASSERT_EQ(printed.size(), 3u) << drain.out;
    EXPECT_EQ(decode<WidgetCommand>(printed[0]), early);
    EXPECT_EQ(decode<WidgetCommand>(printed[1]), middle);
    EXPECT_EQ(decode<WidgetCommand>(printed[2]), late);
    EXPECT_EQ(printed[0], encode(early)) << "the wire form, one object per line";
    EXPECT_TRUE(fs::is_empty(root / "commands"));

    const Result again = run(withRoot({ "drain", "--json" }));
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_EQ(again.out, "");
}

TEST_F(QuelmctlTest, DrainPrintsReadableLines)
{
    const WidgetCommand start = command("my-api", WidgetCommand::Action::start, 1795384610.123);
    const WidgetCommand stop = command("db", WidgetCommand::Action::stop, 1795384611);
    store.enqueue(stop);
    store.enqueue(start);

    const Result drain = run(withRoot({ "drain" }));
    ASSERT_EQ(drain.exitCode, 0) << drain.err;
    EXPECT_EQ(drain.out, "2026-11-22T21:56:50.123Z start my-api (" + start.id.string() + ")\n"
                         "2026-11-22T21:56:51.000Z stop db ("
            + stop.id.string() + ")\n");
    EXPECT_TRUE(fs::is_empty(root / "commands"));
}

TEST_F(QuelmctlTest, DrainWithoutQueuePrintsNothingAndCreatesNothing)
{
    fs::create_directories(root);
    const Result drain = run(withRoot({ "drain" }));
    EXPECT_EQ(drain.exitCode, 0) << drain.err;
    EXPECT_EQ(drain.out, "");
    EXPECT_TRUE(fs::is_empty(root));
}

TEST_F(QuelmctlTest, DrainOfAMissingContainerExitsOneAsItsHelpSays)
{
    const Result drain = run(withRoot({ "drain", "--json" }));
    EXPECT_EQ(drain.exitCode, 1);
    EXPECT_EQ(drain.out, "");
    EXPECT_THAT(drain.err, HasSubstr("no container at " + root.string()));
    EXPECT_FALSE(fs::exists(root));
    EXPECT_THAT(run({ "drain", "--help" }).out, HasSubstr("1 no container"));
}

// ---------------------------------------------------------------------------------------------
// status

std::string commandJson(const std::string& itemID, const std::string& action, double issuedAt)
{
    return encode(WidgetCommand(itemID, *fromRawValue<WidgetCommand::Action>(action), Uuid::random(), Date(issuedAt)));
}

TEST_F(QuelmctlTest, StatusPendingFollowsTheTwentySecondRule)
{
    const double now = Date::now().secondsSince1970();
    const double snapshotTime = now - 60;
    fs::create_directories(root);
    writeFile(root / "snapshot.json", R"({"items":[],"updatedAt":)" + nlohmann::json(snapshotTime).dump() + "}");
    writeFile(root / "pending.json",
        "{\"fresh\":" + commandJson("fresh", "start", now - 5)           // younger than 20 s: pending
            + ",\"nearly\":" + commandJson("nearly", "stop", now - 15)  // still younger
            + ",\"expired\":" + commandJson("expired", "start", now - 25) // older than 20 s
            + ",\"answered\":" + commandJson("answered", "stop", snapshotTime) // issued at the snapshot
            + ",\"future\":" + commandJson("future", "stop", now + 30) + "}"); // negative age: pending

    const Json status = statusJson();
    EXPECT_EQ(status["pending"], Json::parse(R"({"fresh":"start","nearly":"stop","future":"stop"})"));
    EXPECT_EQ(status["snapshot"]["updatedAt"].get<double>(), snapshotTime);

    // A snapshot written after a command answers it.
    writeFile(root / "snapshot.json", R"({"items":[],"updatedAt":)" + nlohmann::json(now - 10).dump() + "}");
    EXPECT_EQ(statusJson()["pending"], Json::parse(R"({"fresh":"start","future":"stop"})"));
}

TEST_F(QuelmctlTest, StatusJsonOfAnEmptyStore)
{
    const Json status = statusJson();
    EXPECT_EQ(status["appStatus"], "notRunning");
    EXPECT_EQ(status["snapshot"], Json::parse(encode(WidgetSnapshot::empty)));
    EXPECT_EQ(status["pending"], Json::object());
    EXPECT_EQ(status.size(), 3u);
}

TEST_F(QuelmctlTest, StatusSaysNeverForASnapshotOfTheDistantPast)
{
    ASSERT_EQ(run(withRoot({ "publish" }), R"({"items":[{"id":"a","title":"A","category":"node","isRunning":false}],"updatedAt":-62135769600})").exitCode, 0);
    const Result status = run(withRoot({ "status" }));
    ASSERT_EQ(status.exitCode, 0) << status.err;
    EXPECT_THAT(status.out, HasSubstr("Snapshot: updated never\n"));
    EXPECT_THAT(status.out, testing::Not(HasSubstr("0000-")));
    EXPECT_THAT(status.out, testing::Not(HasSubstr("0001-")));
}

TEST_F(QuelmctlTest, StatusWithoutJsonIsAReadableSummary)
{
    ASSERT_EQ(run(withRoot({ "publish" }), validSnapshot).exitCode, 0);
    ASSERT_EQ(run(withRoot({ "heartbeat" })).exitCode, 0);
    const Result status = run(withRoot({ "status" }));
    ASSERT_EQ(status.exitCode, 0) << status.err;
    EXPECT_THAT(status.out, HasSubstr("App: running"));
    EXPECT_THAT(status.out, HasSubstr("Snapshot: 2026-11-22T21:56:50.250Z, language en"));
    EXPECT_THAT(status.out, HasSubstr("Items: 3"));
    EXPECT_THAT(status.out, HasSubstr("my-api"));
    EXPECT_THAT(status.out, HasSubstr("port 8080"));
    EXPECT_THAT(status.out, HasSubstr("(starting)"));
    EXPECT_THAT(status.out, HasSubstr("1/2 running"));
    EXPECT_THAT(status.out, HasSubstr("needsApproval"));
    EXPECT_THAT(status.out, HasSubstr("Pending: 0"));

    const Result empty = run({ "status", "--root", (temporary / "nothing").string() });
    EXPECT_THAT(empty.out, HasSubstr("App: notRunning"));
    EXPECT_THAT(empty.out, HasSubstr("Snapshot: none published"));
}

// ---------------------------------------------------------------------------------------------
// mark

void expectPoint(const Json& point, double x, double y)
{
    ASSERT_TRUE(point.is_array() && point.size() == 2) << point;
    EXPECT_NEAR(point[0].get<double>(), x, 1e-3);
    EXPECT_NEAR(point[1].get<double>(), y, 1e-3);
}

void expectRect(const Json& rect, double x, double y, double w, double h)
{
    EXPECT_DOUBLE_EQ(rect.at("x").get<double>(), x);
    EXPECT_DOUBLE_EQ(rect.at("y").get<double>(), y);
    EXPECT_DOUBLE_EQ(rect.at("w").get<double>(), w);
    EXPECT_DOUBLE_EQ(rect.at("h").get<double>(), h);
}

TEST_F(QuelmctlTest, MarkJsonForSizeOneHundred)
{
    const Result mark = run({ "mark", "--json" });
    ASSERT_EQ(mark.exitCode, 0) << mark.err;
    EXPECT_EQ(lines(mark.out).size(), 1u);
    const Json json = Json::parse(mark.out);

    EXPECT_DOUBLE_EQ(json["strokeWidth"].get<double>(), 6);
    const Json& path = json["path"];
    ASSERT_EQ(path.size(), 6u);
    EXPECT_EQ(path[0]["op"], "move");
    expectPoint(path[0]["to"], 83.234, 83.234);
    EXPECT_EQ(path[1]["op"], "curve");
    expectPoint(path[1]["c1"], 50, 62.69);
    expectPoint(path[1]["c2"], 50, 62.69);
    expectPoint(path[1]["to"], 16.766, 83.234);
    expectPoint(path[2]["to"], 16.766, 16.766);
    expectPoint(path[3]["to"], 83.234, 16.766);
    expectPoint(path[4]["to"], 83.234, 83.234);
    for (int k = 1; k <= 4; ++k)
        EXPECT_EQ(path[k]["op"], "curve");
    EXPECT_EQ(path[5], Json::parse(R"({"op":"close"})"));
    expectRect(json["hole"], 35.25, 35.25, 29.5, 29.5);
    expectRect(json["sphere"], 37.5, 37.5, 25, 25);

    EXPECT_EQ(Json::parse(run({ "mark", "--size", "100", "--json" }).out), json);
}

TEST_F(QuelmctlTest, MarkJsonForOtherFrames)
{
    Json json = Json::parse(run({ "mark", "--size", "200", "--json", "--no-sphere" }).out);
    EXPECT_DOUBLE_EQ(json["strokeWidth"].get<double>(), 12);
    expectRect(json["hole"], 70.5, 70.5, 59, 59);
    EXPECT_FALSE(json.contains("sphere"));

    // Only the width sizes the mark; it stays centred on the rectangle.
    const Result rect = run({ "mark", "--rect", "10,20,100,40", "--json" });
    ASSERT_EQ(rect.exitCode, 0) << rect.err;
    json = Json::parse(rect.out);
    expectPoint(json["path"][0]["to"], 93.234, 73.234);
    expectRect(json["hole"], 45.25, 25.25, 29.5, 29.5);
    expectRect(json["sphere"], 47.5, 27.5, 25, 25);

    // A zero size is refused as a mistake, but an empty rectangle still computes, to nothing.
    json = Json::parse(run({ "mark", "--rect", "0,0,0,0", "--json" }).out);
    EXPECT_EQ(json["strokeWidth"].get<double>(), 0);
    expectPoint(json["path"][2]["to"], 0, 0);
}

// Whether `text` is a well-formed XML document: one root element, tags nested and closed,
// attributes quoted and not repeated, only the five predefined entities or character references.
// Returns the element names in document order, or an explanation of the first fault.
struct XmlCheck {
    bool wellFormed = false;
    std::string fault;
    std::vector<std::string> elements;
};

XmlCheck checkXml(const std::string& text)
{
    XmlCheck check;
    std::vector<std::string> open;
    bool rootSeen = false;
    const auto isNameChar = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_' || c == ':' || c == '.'; };
    const auto entityOk = [&](std::size_t at) {
        static const std::regex entity(R"(^&(amp|lt|gt|quot|apos|#[0-9]+|#x[0-9a-fA-F]+);)");
        return std::regex_search(text.begin() + static_cast<std::ptrdiff_t>(at), text.end(), entity);
    };
    const auto fail = [&](const std::string& why, std::size_t at) {
        check.fault = why + " at " + std::to_string(at);
        return check;
    };
    std::size_t i = 0;
    if (text.starts_with("<?xml")) {
        i = text.find("?>");
        if (i == std::string::npos)
            return fail("unterminated declaration", 0);
        i += 2;
    }
    while (i < text.size()) {
        if (text[i] != '<') {
            if (text[i] == '&' && !entityOk(i))
                return fail("bad entity", i);
            if (open.empty() && !std::isspace(static_cast<unsigned char>(text[i])))
                return fail("text outside the root element", i);
            ++i;
            continue;
        }
        if (text.compare(i, 4, "<!--") == 0) {
            const auto end = text.find("-->", i + 4);
            if (end == std::string::npos)
                return fail("unterminated comment", i);
            i = end + 3;
            continue;
        }
        if (text.compare(i, 2, "</") == 0) {
            std::size_t j = i + 2;
            while (j < text.size() && isNameChar(text[j]))
                ++j;
            const std::string name = text.substr(i + 2, j - i - 2);
            while (j < text.size() && std::isspace(static_cast<unsigned char>(text[j])))
                ++j;
            if (j >= text.size() || text[j] != '>')
                return fail("bad end tag", i);
            if (open.empty() || open.back() != name)
                return fail("end tag </" + name + "> does not match", i);
            open.pop_back();
            i = j + 1;
            continue;
        }
        std::size_t j = i + 1;
        while (j < text.size() && isNameChar(text[j]))
            ++j;
        const std::string name = text.substr(i + 1, j - i - 1);
        if (name.empty() || std::isdigit(static_cast<unsigned char>(name[0])))
            return fail("bad element name", i);
        if (open.empty()) {
            if (rootSeen)
                return fail("second root element", i);
            rootSeen = true;
        }
        check.elements.push_back(name);
        std::set<std::string> attributes;
        while (true) {
            const std::size_t before = j;
            while (j < text.size() && std::isspace(static_cast<unsigned char>(text[j])))
                ++j;
            if (j >= text.size())
                return fail("unterminated tag", i);
            if (text[j] == '>') {
                open.push_back(name);
                ++j;
                break;
            }
            if (text.compare(j, 2, "/>") == 0) {
                j += 2;
                break;
            }
            if (j == before)
                return fail("attributes need white space between them", j);
            const std::size_t nameStart = j;
            while (j < text.size() && isNameChar(text[j]))
                ++j;
            const std::string attribute = text.substr(nameStart, j - nameStart);
            if (attribute.empty() || j >= text.size() || text[j] != '=' || j + 1 >= text.size())
                return fail("bad attribute", j);
            if (!attributes.insert(attribute).second)
                return fail("repeated attribute " + attribute, j);
            const char quote = text[j + 1];
            if (quote != '"' && quote != '\'')
                return fail("unquoted attribute", j);
            const auto end = text.find(quote, j + 2);
            if (end == std::string::npos)
                return fail("unterminated attribute", j);
            for (std::size_t k = j + 2; k < end; ++k) {
                if (text[k] == '<' || (text[k] == '&' && !entityOk(k)))
                    return fail("bad character in attribute", k);
            }
            j = end + 1;
        }
        i = j;
    }
    if (!rootSeen)
        return fail("no root element", 0);
    if (!open.empty())
        return fail("unclosed <" + open.back() + ">", text.size());
    check.wellFormed = true;
    return check;
}

TEST(XmlCheck, TellsWellFormedFromBroken)
{
    EXPECT_TRUE(checkXml(R"(<?xml version="1.0"?><a x="1"><b/>t &amp; u</a>)").wellFormed);
    EXPECT_FALSE(checkXml("<a><b></a></b>").wellFormed);
    EXPECT_FALSE(checkXml("<a x=1/>").wellFormed);
    EXPECT_FALSE(checkXml(R"(<a x="1" x="2"/>)").wellFormed);
    EXPECT_FALSE(checkXml("<a/><b/>").wellFormed);
    EXPECT_FALSE(checkXml("<a>").wellFormed);
    EXPECT_FALSE(checkXml("<a>&</a>").wellFormed);
}

TEST_F(QuelmctlTest, MarkSvgIsWellFormedWithAMaskedHoleAndTheSphere)
{
    const Result mark = run({ "mark", "--svg" });
    ASSERT_EQ(mark.exitCode, 0) << mark.err;
    const XmlCheck xml = checkXml(mark.out);
    ASSERT_TRUE(xml.wellFormed) << xml.fault << "\n" << mark.out;
    EXPECT_EQ(xml.elements.front(), "svg");
    EXPECT_THAT(mark.out, HasSubstr(R"(xmlns="http://www.w3.org/2000/svg")"));
    EXPECT_THAT(mark.out, HasSubstr(R"(viewBox="0 0 100 100")"));
    EXPECT_EQ(std::count(xml.elements.begin(), xml.elements.end(), "mask"), 1);
    EXPECT_THAT(mark.out, HasSubstr(R"(<mask id="quelm-hole")"));
    EXPECT_THAT(mark.out, HasSubstr(R"x(mask="url(#quelm-hole)")x"));
    // The hole: a black circle in the mask, centred, 14.75 in radius.
    EXPECT_THAT(mark.out, HasSubstr(R"(<circle cx="50" cy="50" r="14.75" fill="black"/>)"));
    // The star: filled and stroked, round joins, butt caps, the stroke 6 wide.
    EXPECT_THAT(mark.out, HasSubstr(R"(d="M83.234019 83.234019 C50 62.69 50 62.69 16.765981 83.234019)"));
    EXPECT_THAT(mark.out, HasSubstr(R"(stroke-width="6")"));
    EXPECT_THAT(mark.out, HasSubstr(R"(stroke-linejoin="round")"));
    EXPECT_THAT(mark.out, HasSubstr(R"(stroke-linecap="butt")"));
    EXPECT_THAT(mark.out, HasSubstr(R"(fill="currentColor")"));
    // The sphere.
    EXPECT_THAT(mark.out, HasSubstr(R"(<circle cx="50" cy="50" r="12.5" fill="currentColor"/>)"));
    EXPECT_EQ(std::count(xml.elements.begin(), xml.elements.end(), "circle"), 2);

    const Result noSphere = run({ "mark", "--svg", "--no-sphere", "--size", "64" });
    ASSERT_EQ(noSphere.exitCode, 0) << noSphere.err;
    const XmlCheck bare = checkXml(noSphere.out);
    ASSERT_TRUE(bare.wellFormed) << bare.fault;
    EXPECT_EQ(std::count(bare.elements.begin(), bare.elements.end(), "circle"), 1) << "only the hole";
    EXPECT_THAT(noSphere.out, HasSubstr(R"(viewBox="0 0 64 64")"));
    EXPECT_THAT(noSphere.out, HasSubstr("<mask"));
}

// ---------------------------------------------------------------------------------------------
// toggle and watch

// The app group container under a data directory of the test's own, shared by toggle and watch.
class QuelmctlContainerTest : public QuelmctlTest {
protected:
    fs::path data = temporary / "data";
    fs::path container = data / "group-containers" / std::string(SharedConstants::appGroupIdentifier);
    SharedStore containerStore { container };

    EnvironmentChanges environment() const
    {
        return { { "XDG_DATA_HOME", data.string() }, { "DBUS_SESSION_BUS_ADDRESS", SessionBus::address() } };
    }

    // Puts a command file into `directory` the way a reader can never see half of it, without
    // going through the store, and wakes the watchers.
    void deliver(const fs::path& directory, const WidgetCommand& command)
    {
        fs::create_directories(directory / "commands");
        const fs::path staged = temporary / ("staged-" + command.id.string());
        writeFile(staged, encode(command));
        fs::rename(staged, directory / "commands" / (command.id.string() + ".json"));
        Notification::post(SharedConstants::commandNotification);
    }

    // Starts `watch` and waits for the pre-queued `ready` command to come out of its first drain,
    // which also means that it observes the notification.
    std::unique_ptr<Child> startWatch(std::vector<std::string> arguments, const SharedStore& queue, const WidgetCommand& ready,
        bool json = true)
    {
        queue.enqueue(ready);
        auto watch = std::make_unique<Child>(std::move(arguments), environment());
        const auto line = watch->readLine(10s);
        EXPECT_TRUE(line.has_value()) << "watch printed nothing at start";
        if (line && json) {
            EXPECT_EQ(decode<WidgetCommand>(*line), ready);
        }
        return watch;
    }
};

TEST_F(QuelmctlContainerTest, ToggleQueuesACommandAndMarksItPending)
{
    Result toggle = run({ "toggle", "x", "--start" }, {}, environment());
    ASSERT_EQ(toggle.exitCode, 0) << toggle.err;
    EXPECT_EQ(toggle.out, "");
    toggle = run({ "toggle", "group:backend", "--stop" }, {}, environment());
    ASSERT_EQ(toggle.exitCode, 0) << toggle.err;

    const PendingCommands pending = decode<PendingCommands>(readFile(container / "pending.json"));
    ASSERT_EQ(pending.size(), 2u);
    EXPECT_EQ(pending.at("x").action, WidgetCommand::Action::start);
    EXPECT_EQ(pending.at("group:backend").action, WidgetCommand::Action::stop);

    const Result drain = run({ "drain", "--json" }, {}, environment());
    ASSERT_EQ(drain.exitCode, 0) << drain.err;
    const auto printed = lines(drain.out);
    ASSERT_EQ(printed.size(), 2u) << drain.out;
    EXPECT_EQ(decode<WidgetCommand>(printed[0]), pending.at("x"));
    EXPECT_EQ(decode<WidgetCommand>(printed[1]), pending.at("group:backend"));
    EXPECT_NE(pending.at("x").id, pending.at("group:backend").id);

    // The widget shows both as pending until a newer snapshot answers them.
    const Json status = Json::parse(run({ "status", "--json" }, {}, environment()).out);
    EXPECT_EQ(status["pending"], Json::parse(R"({"x":"start","group:backend":"stop"})"));
}

TEST_F(QuelmctlContainerTest, ToggleTakesRootLikeEveryCommandThatTouchesTheContainer)
{
    const fs::path other = temporary / "other-store";
    const Result toggle = run({ "toggle", "db", "--stop", "--root", other.string() }, {}, environment());
    ASSERT_EQ(toggle.exitCode, 0) << toggle.err;

    const PendingCommands pending = decode<PendingCommands>(readFile(other / "pending.json"));
    ASSERT_EQ(pending.size(), 1u);
    EXPECT_EQ(pending.at("db").action, WidgetCommand::Action::stop);
    const Result drain = run({ "drain", "--json", "--root", other.string() }, {}, environment());
    ASSERT_EQ(drain.exitCode, 0) << drain.err;
    EXPECT_EQ(decode<WidgetCommand>(drain.out), pending.at("db"));
    EXPECT_FALSE(fs::exists(container / "pending.json")) << "the app group container stays untouched";
    EXPECT_THAT(run({ "toggle", "--help" }).out, HasSubstr("--root DIR"));
}

TEST_F(QuelmctlContainerTest, ToggleRefusesAnEmptyId)
{
    const Result toggle = run({ "toggle", "", "--start" }, {}, environment());
    EXPECT_EQ(toggle.exitCode, 2);
    EXPECT_THAT(toggle.err, HasSubstr("empty"));
    EXPECT_FALSE(fs::exists(container / "commands"));
    EXPECT_FALSE(fs::exists(container / "pending.json"));
}

TEST_F(QuelmctlContainerTest, ToggleWithoutContainerExitsOneAndWritesNothing)
{
    const Result toggle = run({ "toggle", "x", "--start" }, {}, { { "XDG_DATA_HOME", std::nullopt }, { "HOME", std::nullopt } });
    EXPECT_EQ(toggle.exitCode, 1);
    EXPECT_THAT(toggle.err, HasSubstr("no app group container"));
}

TEST_F(QuelmctlContainerTest, ToggleThatCannotWriteExitsOneAndMarksNothing)
{
    fs::create_directories(container);
    writeFile(container / "commands", "a file where the queue should be");
    const Result toggle = run({ "toggle", "x", "--start" }, {}, environment());
    EXPECT_EQ(toggle.exitCode, 1);
    EXPECT_THAT(toggle.err, HasSubstr("cannot enqueue"));
    EXPECT_EQ(lines(toggle.err).size(), 1u) << toggle.err;
    EXPECT_FALSE(fs::exists(container / "pending.json"));
}

TEST_F(QuelmctlContainerTest, WatchPrintsAToggledCommandWhenTheToggleWakesIt)
{
    const WidgetCommand ready = command("ready", WidgetCommand::Action::stop, 1795384600);
    auto watch = startWatch({ "watch", "--json" }, containerStore, ready);

    // A watch takes commands only when woken, never on a timer: a command it prints came by a
    // wake-up. How fast a wake-up arrives is for NotificationBench to measure.
    const Result toggle = run({ "toggle", "x", "--start" }, {}, environment());
    ASSERT_EQ(toggle.exitCode, 0) << toggle.err;
    const auto line = watch->readLine(30s);
    ASSERT_TRUE(line.has_value()) << "the toggle did not wake the watcher";
    const WidgetCommand printed = decode<WidgetCommand>(*line);
    EXPECT_EQ(printed.itemID, "x");
    EXPECT_EQ(printed.action, WidgetCommand::Action::start);
    EXPECT_EQ(printed, decode<PendingCommands>(readFile(container / "pending.json")).at("x"));
    EXPECT_TRUE(fs::is_empty(container / "commands"));

    watch->signal(SIGTERM);
    const Result result = watch->finish(5s);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "") << "nothing more was printed";
    EXPECT_EQ(result.err, "");
}

TEST_F(QuelmctlContainerTest, WatchPrintsReadableLinesAndEndsOnInterrupt)
{
    const WidgetCommand ready = command("ready", WidgetCommand::Action::start, 1795384610.123);
    auto watch = startWatch({ "watch" }, containerStore, ready, false);

    const Result toggle = run({ "toggle", "my api", "--stop" }, {}, environment());
    ASSERT_EQ(toggle.exitCode, 0) << toggle.err;
    const auto line = watch->readLine(30s);
    ASSERT_TRUE(line.has_value());
    EXPECT_TRUE(std::regex_match(*line, std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z stop my api \([0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\))")))
        << *line;

    watch->signal(SIGINT);
    const Result result = watch->finish(60s);
    EXPECT_EQ(result.exitCode, 0) << result.err;
}

TEST_F(QuelmctlContainerTest, WatchFirstReadableLineIsTheCommandWaitingAtStart)
{
    const WidgetCommand waiting = command("my-api", WidgetCommand::Action::start, 1795384610.123);
    containerStore.enqueue(waiting);
    Child watch({ "watch" }, environment());
    EXPECT_EQ(watch.readLine(10s), "2026-11-22T21:56:50.123Z start my-api (" + waiting.id.string() + ")");
    watch.signal(SIGTERM);
    EXPECT_EQ(watch.finish(5s).exitCode, 0);
}

TEST_F(QuelmctlContainerTest, WatchLosesNoCommandInABurstOfDeliveries)
{
    const WidgetCommand ready = command("ready", WidgetCommand::Action::stop, 1795384600);
    auto watch = startWatch({ "watch", "--json", "--root", root.string() }, store, ready);

    constexpr int count = 60;
    std::set<std::string> sent;
    for (int i = 0; i < count; ++i) {
        const WidgetCommand c = command("item-" + std::to_string(i), i % 2 ? WidgetCommand::Action::stop : WidgetCommand::Action::start,
            1795384610 + i);
        sent.insert(c.id.string());
        deliver(root, c);
    }

    std::multiset<std::string> received;
    while (received.size() < sent.size()) {
        const auto line = watch->readLine(5s);
        if (!line)
            break;
        received.insert(decode<WidgetCommand>(*line).id.string());
    }
    EXPECT_EQ(received, std::multiset<std::string>(sent.begin(), sent.end())) << "every command once, none lost";
    EXPECT_EQ(watch->readLine(300ms), std::nullopt) << "no command twice";
    EXPECT_TRUE(fs::is_empty(root / "commands"));

    watch->signal(SIGTERM);
    EXPECT_EQ(watch->finish(5s).exitCode, 0);
}

TEST_F(QuelmctlContainerTest, WatchTakesEveryCommandOfTogglesRacingItsDrains)
{
    const WidgetCommand ready = command("ready", WidgetCommand::Action::stop, 1795384600);
    auto watch = startWatch({ "watch", "--json" }, containerStore, ready);

    constexpr int count = 12;
    std::vector<std::unique_ptr<Child>> toggles;
    for (int i = 0; i < count; ++i)
        toggles.push_back(std::make_unique<Child>(std::vector<std::string> { "toggle", "item-" + std::to_string(i), "--start" }, environment()));
    for (auto& toggle : toggles) {
        const Result result = toggle->finish();
        EXPECT_EQ(result.exitCode, 0) << result.err;
    }

    std::multiset<std::string> received;
    while (received.size() < count) {
        const auto line = watch->readLine(30s);
        if (!line)
            break;
        received.insert(decode<WidgetCommand>(*line).itemID);
    }
    std::multiset<std::string> expected;
    for (int i = 0; i < count; ++i)
        expected.insert("item-" + std::to_string(i));
    EXPECT_EQ(received, expected);
    EXPECT_TRUE(fs::is_empty(container / "commands"));

    watch->signal(SIGTERM);
    EXPECT_EQ(watch->finish(5s).exitCode, 0);
}

TEST_F(QuelmctlContainerTest, WatchExecRunsTheCommandOncePerCommandWithItsEnvironment)
{
    const std::string script = R"(printf '%s|%s|%s|%s\n' "$QUELM_ITEM_ID" "$QUELM_ACTION" "$QUELM_COMMAND_ID" "$QUELM_ISSUED_AT")";
    const WidgetCommand first = command("my-api", WidgetCommand::Action::start, 1795384610.123);
    const WidgetCommand second = command("db", WidgetCommand::Action::stop, 1795384611);
    store.enqueue(second);
    store.enqueue(first);

    Child watch({ "watch", "--exec", script, "--root", root.string() }, environment());
    EXPECT_EQ(watch.readLine(10s), "my-api|start|" + first.id.string() + "|1795384610.123");
    EXPECT_EQ(watch.readLine(5s), "db|stop|" + second.id.string() + "|1795384611.0");

    const WidgetCommand third = command("web", WidgetCommand::Action::start, 1795384612.5);
    deliver(root, third);
    EXPECT_EQ(watch.readLine(30s), "web|start|" + third.id.string() + "|1795384612.5");

    watch.signal(SIGTERM);
    const Result result = watch.finish(5s);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
}

TEST_F(QuelmctlContainerTest, WatchExecReportsAFailingCommandAndGoesOn)
{
    const WidgetCommand failing = command("bad", WidgetCommand::Action::start, 1795384610);
    const WidgetCommand fine = command("good", WidgetCommand::Action::start, 1795384611);
    store.enqueue(failing);
    store.enqueue(fine);

    Child watch({ "watch", "--root", root.string(), "--exec", R"(test "$QUELM_ITEM_ID" = bad && exit 3; echo "ran $QUELM_ITEM_ID")" },
        environment());
    EXPECT_EQ(watch.readLine(10s), "ran good");
    watch.signal(SIGTERM);
    const Result result = watch.finish(5s);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, HasSubstr("start bad"));
    EXPECT_THAT(result.err, HasSubstr("status 3"));
}

// ---------------------------------------------------------------------------------------------
// Usage

const std::vector<std::string> commandNames { "publish", "heartbeat", "drain", "watch", "toggle", "status", "mark", "demo" };

TEST(QuelmctlUsage, HelpPrintsUsageAndExitsZeroEverywhere)
{
    for (const std::vector<std::string>& arguments : { std::vector<std::string> { "--help" }, { "-h" }, { "help" } }) {
        const Result help = run(arguments);
        EXPECT_EQ(help.exitCode, 0) << arguments[0];
        EXPECT_THAT(help.out, StartsWith("Usage: quelmctl"));
        EXPECT_EQ(help.err, "");
        for (const auto& name : commandNames)
            EXPECT_THAT(help.out, HasSubstr("  " + name + " "));
    }
    for (const auto& name : commandNames) {
        for (const std::vector<std::string>& arguments : { std::vector<std::string> { name, "--help" }, { "help", name },
                 { name, "--json", "-h" }, { "--root", "/nonexistent", name, "--help" } }) {
            const Result help = run(arguments);
            EXPECT_EQ(help.exitCode, 0) << name;
            EXPECT_THAT(help.out, StartsWith("Usage: quelmctl " + name)) << name;
            EXPECT_EQ(help.err, "") << name;
        }
    }
}

TEST(QuelmctlUsage, VersionIsTheProjectVersion)
{
    const Result version = run({ "--version" });
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out, "quelmctl " QUELM_PROJECT_VERSION "\n");
    EXPECT_EQ(version.err, "");
    EXPECT_THAT(run({ "--help" }).out, HasSubstr("--version"));
}

TEST(QuelmctlUsage, BadUsageIsOneLineNamingTheProblemAndWhereHelpIs)
{
    TemporaryDirectory temporary;
    const std::string root = (temporary / "store").string();
    const std::vector<std::vector<std::string>> cases {
        {},
        { "frobnicate" },
        { "--verbose", "status" },
        { "help", "frobnicate" },
        { "status", "--root" },
        { "--root=", "status" },
        { "status", "--yaml", "--root", root },
        { "status", "extra", "--root", root },
        { "drain", "--json=yes", "--root", root },
        { "publish", "a.json", "b.json", "--root", root },
        { "heartbeat", "--every", "--root", root },
        { "mark" },
        { "mark", "--json", "--svg" },
        { "mark", "--json", "--size", "-3" },
        { "mark", "--json", "--size", "0" },
        { "mark", "--svg", "--size=0" },
        { "mark", "--json", "--size", "big" },
        { "mark", "--json", "--size", "10", "--rect", "0,0,10,10" },
        { "mark", "--json", "--rect", "0,0,10" },
        { "mark", "--json", "--rect", "0,0,-10,10" },
        { "mark", "--svg", "--colour", "red" },
        { "toggle", "x" },
        { "toggle", "--start" },
        { "toggle", "x", "--start", "--stop" },
        { "toggle", "x", "y", "--start" },
        { "toggle", "", "--start", "--root", root },
        { "watch", "--json", "--exec", "true", "--root", root },
        { "watch", "--exec", "", "--root", root },
        { "watch", "--exec" },
        { "watch", "--every", "1", "--root", root },
        { "demo", "extra", "--root", root },
        { "demo", "--beat-every", "0", "--root", root },
        { "demo", "--beat-every", "soon", "--root", root },
        { "demo", "--transition-seconds", "-1", "--root", root },
        { "demo", "--json", "--root", root },
    };
    for (const auto& arguments : cases) {
        const Result result = run(arguments);
        std::string shown;
        for (const auto& a : arguments)
            shown += a + ' ';
        EXPECT_EQ(result.exitCode, 2) << shown;
        EXPECT_EQ(result.out, "") << shown;
        EXPECT_THAT(result.err, StartsWith("quelmctl")) << shown;
        const auto errorLines = lines(result.err);
        ASSERT_EQ(errorLines.size(), 2u) << result.err;
        EXPECT_THAT(errorLines[1], testing::MatchesRegex("Try 'quelmctl( [a-z]+)? --help'\\.")) << shown;
        EXPECT_THAT(result.err, testing::Not(HasSubstr("Usage:"))) << shown;
    }
    const Result unknownOption = run({ "status", "--yaml", "--root", root });
    EXPECT_EQ(unknownOption.err, "quelmctl status: unknown option \"--yaml\"\nTry 'quelmctl status --help'.\n");
    const Result noCommand = run({});
    EXPECT_EQ(noCommand.err, "quelmctl: no command given\nTry 'quelmctl --help'.\n");
    const Result zeroSize = run({ "mark", "--svg", "--size", "0" });
    EXPECT_THAT(zeroSize.err, HasSubstr("--size needs a size above 0"));
    EXPECT_FALSE(fs::exists(root));
}

}
