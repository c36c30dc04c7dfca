// SPDX-License-Identifier: MIT
#include <quelm/WireFormat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <random>
#include <unordered_set>

using namespace quelm;
using nlohmann::json;

namespace {

std::string decodingProblemPath(std::string_view document)
{
    try {
        decode<WidgetSnapshot>(document);
    } catch (const DecodingError& error) {
        return error.path();
    }
    return "<decoded>";
}

std::vector<std::string> keysOf(const std::string& encoded)
{
    std::vector<std::string> keys;
    auto document = nlohmann::ordered_json::parse(encoded);
    for (const auto& [key, value] : document.items())
        keys.push_back(key);
    return keys;
}

}

TEST(WireFormat, SnapshotWithOnlyItemsAndUpdatedAtHasEmptyGroupsAndSessionsAndNoLanguage)
{
    auto snapshot = decode<WidgetSnapshot>(R"({"items":[],"updatedAt":12.5})");
    EXPECT_TRUE(snapshot.groups.empty());
    EXPECT_TRUE(snapshot.sessions.empty());
    EXPECT_FALSE(snapshot.language.has_value());
    EXPECT_EQ(snapshot.updatedAt, Date(12.5));
}

TEST(WireFormat, SnapshotRequiresItemsAndUpdatedAt)
{
    EXPECT_EQ(decodingProblemPath(R"({"updatedAt":1})"), "items");
    EXPECT_EQ(decodingProblemPath(R"({"items":[]})"), "updatedAt");
    EXPECT_EQ(decodingProblemPath(R"({"items":null,"updatedAt":1})"), "items");
    EXPECT_THROW(decode<WidgetSnapshot>("{}"), DecodingError);
}

TEST(WireFormat, NullOptionalsAndNullGroupsReadAsAbsentOrEmpty)
{
    auto snapshot = decode<WidgetSnapshot>(
        R"({"items":[{"id":"a","title":"A","category":"node","isRunning":true,"transition":null,"port":null,"startedAt":null}],)"
        R"("groups":null,"sessions":null,"language":null,"updatedAt":1})");
    ASSERT_EQ(snapshot.items.size(), 1u);
    EXPECT_FALSE(snapshot.items[0].transition);
    EXPECT_FALSE(snapshot.items[0].port);
    EXPECT_FALSE(snapshot.items[0].startedAt);
    EXPECT_TRUE(snapshot.groups.empty());
    EXPECT_FALSE(snapshot.language);
}

struct GroupFallbackCase {
    const char* counts;
    bool expectedActive;

    // Names the case in test output by its document rather than by its bytes.
    friend void PrintTo(const GroupFallbackCase& c, std::ostream* out) { *out << c.counts; }
};

class GroupActiveFallback : public testing::TestWithParam<GroupFallbackCase> { };

TEST_P(GroupActiveFallback, IsDerivedFromTheCountsWhenMissing)
{
    auto group = decode<WidgetGroup>(std::string(R"({"id":"g","name":"G",)") + GetParam().counts + "}");
    EXPECT_EQ(group.isActive, GetParam().expectedActive);
    EXPECT_EQ(group.isRunning(), GetParam().expectedActive);
}

INSTANTIATE_TEST_SUITE_P(Counts, GroupActiveFallback,
    testing::Values(GroupFallbackCase { R"("memberCount":0,"runningCount":0)", false },
        GroupFallbackCase { R"("memberCount":3,"runningCount":3)", true },
        GroupFallbackCase { R"("memberCount":3,"runningCount":2)", false },
        GroupFallbackCase { R"("memberCount":3,"runningCount":2,"isActive":null)", false },
        GroupFallbackCase { R"("memberCount":3,"runningCount":0,"isActive":true)", true },
        GroupFallbackCase { R"("memberCount":3,"runningCount":3,"isActive":false)", false }),
    [](const testing::TestParamInfo<GroupFallbackCase>& param) { return "Case" + std::to_string(param.index); });

TEST(WireFormat, TransitionRawValueIsCaseSensitiveAndFailsTheWholeSnapshot)
{
    auto document = json::parse(R"({"items":[],"updatedAt":1})");
    for (int i = 0; i < 3; ++i)
        document["items"].push_back({ { "id", std::to_string(i) }, { "title", "t" }, { "category", "node" }, { "isRunning", false } });
    document["items"][2]["transition"] = "Starting";
    try {
        decode<WidgetSnapshot>(document.dump());
        FAIL() << "decoded a snapshot with an unknown transition";
    } catch (const DecodingError& error) {
        EXPECT_EQ(error.path(), "items[2].transition");
        EXPECT_THAT(error.what(), testing::HasSubstr("items[2].transition"));
        EXPECT_THAT(error.what(), testing::HasSubstr("Starting"));
    }
    document["items"][2]["transition"] = "starting";
    EXPECT_EQ(decode<WidgetSnapshot>(document.dump()).items[2].transition, WidgetItem::Transition::starting);
}

TEST(WireFormat, ErrorsNameThePathOfNestedValues)
{
    EXPECT_EQ(decodingProblemPath(R"({"items":[],"sessions":[{"id":"s","title":"t","project":"p","state":"idle"}],"updatedAt":1})"),
        "sessions[0].state");
    EXPECT_EQ(decodingProblemPath(R"({"items":[],"groups":[{"id":"g","name":"n","memberCount":"3","runningCount":1}],"updatedAt":1})"),
        "groups[0].memberCount");
    EXPECT_EQ(decodingProblemPath(R"({"items":[{"id":"a","category":"c","isRunning":true}],"updatedAt":1})"), "items[0].title");
    EXPECT_EQ(decodingProblemPath(R"({"items":[],"updatedAt":"yesterday"})"), "updatedAt");
    EXPECT_EQ(decodingProblemPath(R"([1,2])"), "");
    EXPECT_EQ(decodingProblemPath(R"({"items":[)"), "");
}

TEST(WireFormat, PortMustFitSixteenBits)
{
    auto item = [](const std::string& port) {
        return decode<WidgetItem>(R"({"id":"a","title":"A","category":"c","isRunning":true,"port":)" + port + "}");
    };
    EXPECT_EQ(item("0").port, 0);
    EXPECT_EQ(item("65535").port, 65535);
    EXPECT_EQ(item("8080.0").port, 8080);
    EXPECT_THROW(item("65536"), DecodingError);
    EXPECT_THROW(item("-1"), DecodingError);
    EXPECT_THROW(item("80.5"), DecodingError);
    EXPECT_THROW(item("\"80\""), DecodingError);
}

TEST(WireFormat, BooleansAreNotNumbers)
{
    EXPECT_THROW(decode<WidgetItem>(R"({"id":"a","title":"A","category":"c","isRunning":1})"), DecodingError);
}

TEST(WireFormat, ItemWithoutOptionalsEncodesExactlyFourKeys)
{
    WidgetItem item { "a", "my-api", "node", false };
    EXPECT_THAT(keysOf(encode(item)), testing::ElementsAre("id", "title", "category", "isRunning"));
    EXPECT_EQ(encode(item), R"({"id":"a","title":"my-api","category":"node","isRunning":false})");
}

TEST(WireFormat, EncodingNeverWritesNullAndAlwaysWritesGroupsSessionsAndIsActive)
{
    WidgetSnapshot snapshot { {}, { WidgetGroup("g", "G", 0, 0, false) }, {}, std::nullopt, Date(10) };
    auto encoded = encode(snapshot);
    EXPECT_EQ(encoded.find("null"), std::string::npos);
    EXPECT_THAT(keysOf(encoded), testing::ElementsAre("items", "groups", "sessions", "updatedAt"));
    EXPECT_EQ(encode(WidgetGroup("g", "G", 0, 0, false)), R"({"id":"g","name":"G","memberCount":0,"runningCount":0,"isActive":false})");
    EXPECT_EQ(encode(WidgetSnapshot { {}, {}, {}, "en", Date(10) }), R"({"items":[],"groups":[],"sessions":[],"language":"en","updatedAt":10.0})");
}

TEST(WireFormat, DatesAreSecondsSince1970WithTheirFraction)
{
    WidgetCommand command("x", WidgetCommand::Action::stop, *Uuid::parse("6f1c0a4e-2b3d-4c5e-8f90-123456789abc"), Date(1700000000.25));
    EXPECT_EQ(encode(command), R"({"id":"6F1C0A4E-2B3D-4C5E-8F90-123456789ABC","itemID":"x","action":"stop","issuedAt":1700000000.25})");
    EXPECT_EQ(decode<WidgetCommand>(encode(command)), command);
    EXPECT_EQ(decode<WidgetCommand>(R"({"id":"6F1C0A4E-2B3D-4C5E-8F90-123456789ABC","itemID":"x","action":"start","issuedAt":5})").issuedAt, Date(5));
}

TEST(WireFormat, CommandRequiresEveryKeyAndAValidUuid)
{
    const std::string valid = R"({"id":"6F1C0A4E-2B3D-4C5E-8F90-123456789ABC","itemID":"x","action":"start","issuedAt":5})";
    for (const char* key : { "id", "itemID", "action", "issuedAt" }) {
        auto document = json::parse(valid);
        document.erase(key);
        EXPECT_THROW(decode<WidgetCommand>(document.dump()), DecodingError) << key;
    }
    auto document = json::parse(valid);
    document["id"] = "not-a-uuid";
    EXPECT_THROW(decode<WidgetCommand>(document.dump()), DecodingError);
    document = json::parse(valid);
    document["action"] = "Start";
    EXPECT_THROW(decode<WidgetCommand>(document.dump()), DecodingError);
}

TEST(WireFormat, UnknownKeysAreIgnoredAndKeysMatchExactly)
{
    auto session = decode<WidgetSession>(R"({"id":"s","title":"t","project":"p","state":"working","extra":[1,2]})");
    EXPECT_EQ(session.state, WidgetSession::State::working);
    EXPECT_THROW(decode<WidgetSession>(R"({"ID":"s","title":"t","project":"p","state":"working"})"), DecodingError);
}

TEST(WireFormat, NonFiniteDatesAndInvalidUtf8CannotBeEncoded)
{
    EXPECT_THROW(encode(WidgetSnapshot { {}, {}, {}, std::nullopt, Date(std::numeric_limits<double>::infinity()) }), EncodingError);
    EXPECT_THROW(encode(WidgetItem { "\xff", "t", "c", false }), EncodingError);
}

TEST(WireFormat, PendingMapRoundTripsAndRejectsArrays)
{
    PendingCommands pending {
        { "a", WidgetCommand("a", WidgetCommand::Action::start, Uuid::random(), Date(1)) },
        { "group:x", WidgetCommand("group:x", WidgetCommand::Action::stop, Uuid::random(), Date(2.5)) },
    };
    EXPECT_EQ(decode<PendingCommands>(encode(pending)), pending);
    EXPECT_THROW(decode<PendingCommands>("[]"), DecodingError);
    EXPECT_TRUE(decode<PendingCommands>("{}").empty());
}

// Round trips over generated records: whatever the app writes, the widget reads back unchanged.
class GeneratedRecords : public testing::Test {
protected:
    std::mt19937_64 random { 20261122 };

    std::string text()
    {
        static const std::vector<std::string> pieces { "a", "Z", "0", " ", "\"", "\\", "/", "é", "ç", "日本", "\n", "\t", "#", "%", "😀", "\x01" };
        std::string result;
        auto length = random() % 6;
        for (std::size_t i = 0; i < length; ++i)
            result += pieces[random() % pieces.size()];
        return result;
    }
    bool coin() { return random() % 2 == 0; }
    Date date() { return Date(static_cast<double>(static_cast<std::int64_t>(random() % 4000000000ULL) - 1000000000) + static_cast<double>(random() % 1000) / 1000.0); }
    std::optional<WidgetItem::Transition> transition()
    {
        switch (random() % 3) {
        case 0:
            return WidgetItem::Transition::starting;
        case 1:
            return WidgetItem::Transition::stopping;
        default:
            return std::nullopt;
        }
    }

    WidgetItem item()
    {
        WidgetItem item { text(), text(), text(), coin(), transition() };
        if (coin())
            item.port = static_cast<std::uint16_t>(random());
        if (coin())
            item.startedAt = date();
        return item;
    }
    WidgetGroup group()
    {
        return WidgetGroup(text(), text(), static_cast<std::int64_t>(random()), static_cast<std::int64_t>(random() % 100) - 50, coin(), transition());
    }
    WidgetSession session()
    {
        return WidgetSession { text(), text(), text(), static_cast<WidgetSession::State>(random() % 3) };
    }
    WidgetSnapshot snapshot()
    {
        WidgetSnapshot snapshot;
        for (auto n = random() % 5; n > 0; --n)
            snapshot.items.push_back(item());
        for (auto n = random() % 3; n > 0; --n)
            snapshot.groups.push_back(group());
        for (auto n = random() % 3; n > 0; --n)
            snapshot.sessions.push_back(session());
        if (coin())
            snapshot.language = text();
        snapshot.updatedAt = date();
        return snapshot;
    }
};

TEST_F(GeneratedRecords, EncodeThenDecodeIsIdentity)
{
    for (int i = 0; i < 500; ++i) {
        auto original = snapshot();
        auto encoded = encode(original);
        ASSERT_EQ(decode<WidgetSnapshot>(encoded), original) << encoded;
        for (const auto& item : original.items)
            ASSERT_EQ(decode<WidgetItem>(encode(item)), item);
        for (const auto& group : original.groups)
            ASSERT_EQ(decode<WidgetGroup>(encode(group)), group);
        for (const auto& session : original.sessions)
            ASSERT_EQ(decode<WidgetSession>(encode(session)), session);
        WidgetCommand command(text(), coin() ? WidgetCommand::Action::start : WidgetCommand::Action::stop, Uuid::random(), date());
        ASSERT_EQ(decode<WidgetCommand>(encode(command)), command);
    }
}

TEST_F(GeneratedRecords, EqualRecordsHashAlike)
{
    for (int i = 0; i < 200; ++i) {
        auto a = item();
        auto copy = a;
        EXPECT_EQ(std::hash<WidgetItem> {}(a), std::hash<WidgetItem> {}(copy));
        auto g = group();
        EXPECT_EQ(std::hash<WidgetGroup> {}(g), std::hash<WidgetGroup> {}(WidgetGroup(g)));
        auto s = session();
        EXPECT_EQ(std::hash<WidgetSession> {}(s), std::hash<WidgetSession> {}(WidgetSession(s)));
    }
}

TEST(WireFormat, ARepeatedKeyCountsByItsLastValue)
{
    auto snapshot = decode<WidgetSnapshot>(R"({"items":[0],"updatedAt":"soon","items":[],"updatedAt":7})");
    EXPECT_TRUE(snapshot.items.empty());
    EXPECT_EQ(snapshot.updatedAt, Date(7));
    EXPECT_EQ(decodingProblemPath(R"({"items":[],"updatedAt":7,"updatedAt":null})"), "updatedAt");
    auto item = decode<WidgetItem>(R"({"id":"a","title":"A","category":"c","isRunning":true,"port":80,"port":null})");
    EXPECT_FALSE(item.port);

    const std::string command = R"({"id":"6F1C0A4E-2B3D-4C5E-8F90-123456789ABC","itemID":"a","action":"stop","issuedAt":1})";
    auto pending = decode<PendingCommands>(R"({"a":5,"a":)" + command + "}");
    ASSERT_EQ(pending.size(), 1u);
    EXPECT_EQ(pending.at("a").action, WidgetCommand::Action::stop);
    try {
        decode<PendingCommands>(R"({"b":5,"a":)" + command + R"(,"a":[]})");
        FAIL() << "decoded pending marks whose last entry under a key is no command";
    } catch (const DecodingError& error) {
        // Of the keys whose last entry fails, the first in key order is named.
        EXPECT_EQ(error.path(), "a");
    }
}

TEST(WireFormat, KeysAndStringsReadAsTheTextTheirEscapesSpell)
{
    auto session = decode<WidgetSession>(R"({"\u0069d":"\ud83d\ude00\u00e9\n","title":"é","project":"\/","state":"working"})");
    EXPECT_EQ(session.id, "😀é\n");
    EXPECT_EQ(session.title, "é");
    EXPECT_EQ(session.project, "/");
    EXPECT_THROW(decode<WidgetSession>(R"({"id":"\ud83d","title":"","project":"","state":"working"})"), DecodingError);
    EXPECT_THROW(decode<WidgetSession>(R"({"id":"\x","title":"","project":"","state":"working"})"), DecodingError);
}

TEST(WireFormat, ADocumentThatIsNotJsonFailsAsSuchBeforeAnyValueInIt)
{
    try {
        decode<WidgetSnapshot>(R"({"items":[0],"updatedAt":1,})");
        FAIL() << "decoded a document with a trailing comma";
    } catch (const DecodingError& error) {
        EXPECT_EQ(error.path(), "");
        EXPECT_THAT(error.problem(), testing::StartsWith("not valid JSON"));
    }
    EXPECT_EQ(decodingProblemPath(R"({"items":[0],"updatedAt":1} x)"), "");
    EXPECT_EQ(decodingProblemPath(R"({"items":[0],"updatedAt":1})"), "items[0]");
}

TEST(WireFormat, ReadsAsNlohmannJsonDoesAtTheEdgesOfTheText)
{
    // A byte-order mark may open the text; a NUL byte ends it.
    EXPECT_EQ(decode<WidgetSnapshot>("\xef\xbb\xbf{\"items\":[],\"updatedAt\":2}").updatedAt, Date(2));
    EXPECT_EQ(decode<WidgetSnapshot>(std::string("{\"items\":[],\"updatedAt\":3}\0trailing", 36)).updatedAt, Date(3));
    EXPECT_THROW(decode<WidgetSnapshot>("\xef\xbb{\"items\":[],\"updatedAt\":2}"), DecodingError);
    EXPECT_THROW(decode<WidgetSnapshot>(" \t\r\n"), DecodingError);
}
