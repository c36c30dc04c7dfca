// SPDX-License-Identifier: MIT
#include <quelm/WireFormat.h>

#include "JsonCursor.h"
#include "SnapshotDecoding.h"
#include "WireKeys.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quelm {

DecodingError::DecodingError(std::string path, const std::string& problem)
    : std::runtime_error(path.empty() ? problem : path + ": " + problem)
    , m_path(std::move(path))
    , m_problem(problem)
{
}

namespace detail {

using Json = nlohmann::json;
// Keys go out in declaration order, as the records declare their fields.
using OrderedJson = nlohmann::ordered_json;

// Our documents nest three levels deep. The reader recurses into what it skips, so a hostile file
// of a million "[" must be refused before the stack runs out: the cursor stops past this depth.
constexpr int maximumNesting = 64;

// Whether brackets outside strings open more than `limit` levels at some point. Only looks at the
// structure, whether the text is JSON or not: a document that fails is looked at once more with
// this, since too deep is the first of its errors.
bool nestsDeeperThan(std::string_view text, int limit)
{
    int depth = 0;
    bool inString = false;
    bool escaped = false;
    for (char c : text) {
        if (inString) {
            if (escaped)
                escaped = false;
            else if (c == '\\')
                escaped = true;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > limit)
                return true;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

// Where a value lies in its document, spelled out only when an error names it: a path points at
// its parent and holds its own key or index, and lives no longer than the call reading the value.
class JsonPath {
public:
    // The document itself; its values are named from `name` on ("" for none).
    explicit JsonPath(std::string_view name = {})
        : m_key(name)
    {
    }
    JsonPath(const JsonPath& parent, std::string_view key)
        : m_parent(&parent)
        , m_key(key)
    {
    }
    JsonPath(const JsonPath& parent, std::size_t index)
        : m_parent(&parent)
        , m_index(index)
        , m_isIndex(true)
    {
    }
    JsonPath(const JsonPath&) = delete;
    JsonPath& operator=(const JsonPath&) = delete;

    std::string spelled() const
    {
        std::string prefix = m_parent ? m_parent->spelled() : std::string();
        if (m_isIndex)
            return prefix + "[" + std::to_string(m_index) + "]";
        if (prefix.empty())
            return std::string(m_key);
        return prefix + "." + std::string(m_key);
    }

    [[noreturn]] void fail(const std::string& problem) const { throw DecodingError(spelled(), problem); }

private:
    const JsonPath* m_parent = nullptr;
    std::string_view m_key;
    std::size_t m_index = 0;
    bool m_isIndex = false;
};

std::string describe(JsonCursor::Kind kind)
{
    switch (kind) {
    case JsonCursor::Kind::null:
        return "null";
    case JsonCursor::Kind::object:
        return "an object";
    case JsonCursor::Kind::array:
        return "an array";
    case JsonCursor::Kind::string:
        return "a string";
    case JsonCursor::Kind::boolean:
        return "a boolean";
    case JsonCursor::Kind::number:
        break;
    }
    return "a number";
}

// The value at the cursor, read as one of the wire format's types. A value of another type fails
// before anything of it is consumed.
class ValueReader {
public:
    ValueReader(JsonCursor& cursor, const JsonPath& path)
        : m_cursor(cursor)
        , m_path(path)
    {
    }

    JsonCursor& cursor() const { return m_cursor; }
    const JsonPath& path() const { return m_path; }
    [[noreturn]] void fail(const std::string& problem) const { m_path.fail(problem); }

    void expect(JsonCursor::Kind kind, const char* expected) const
    {
        if (const auto found = m_cursor.peek(); found != kind) [[unlikely]]
            mismatch(expected, found);
    }

    void string(std::string& value) const
    {
        expect(JsonCursor::Kind::string, "a string");
        m_cursor.readString(value);
    }
    std::string string() const
    {
        std::string value;
        string(value);
        return value;
    }

    bool boolean() const
    {
        expect(JsonCursor::Kind::boolean, "a boolean");
        return m_cursor.readBoolean();
    }

    double number() const
    {
        expect(JsonCursor::Kind::number, "a number");
        return m_cursor.readNumber().asDouble();
    }

    std::int64_t integer(std::int64_t minimum, std::int64_t maximum) const
    {
        expect(JsonCursor::Kind::number, "an integer");
        const auto number = m_cursor.readNumber();
        std::int64_t result = 0;
        switch (number.kind) {
        case JsonNumber::Kind::negative:
            result = number.negativeValue;
            break;
        case JsonNumber::Kind::unsignedInteger:
            if (number.unsignedValue > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
                fail("number " + std::to_string(number.unsignedValue) + " is out of range");
            result = static_cast<std::int64_t>(number.unsignedValue);
            break;
        case JsonNumber::Kind::floating: {
            // 3.0 is the integer 3; 3.5 or 1e300 is no integer at all.
            const double value = number.floatingValue;
            if (!(value >= -9223372036854775808.0 && value < 9223372036854775808.0) || std::trunc(value) != value)
                fail("number " + Json(value).dump() + " is not an integer in range");
            result = static_cast<std::int64_t>(value);
            break;
        }
        }
        if (result < minimum || result > maximum)
            fail("number " + std::to_string(result) + " is out of range " + std::to_string(minimum) + "…" + std::to_string(maximum));
        return result;
    }

    template<class Enum>
    Enum enumeration() const
    {
        const std::string raw = string();
        auto value = fromRawValue<Enum>(raw);
        if (!value)
            fail("unknown value " + Json(raw).dump(-1, ' ', false, Json::error_handler_t::replace));
        return *value;
    }

    Date date() const { return Date(number()); }

    // The elements, each read by `read(cursor, path, record)` into a record made in place.
    // `smallestElement` is the fewest bytes an element that reads can take, its comma included.
    template<class Record, class Read>
    std::vector<Record> array(Read read, std::size_t smallestElement) const
    {
        expect(JsonCursor::Kind::array, "an array");
        std::vector<Record> records;
        // A large array gets room at once for as many elements as its bytes could hold: growing it
        // would hold the old and the new copy at the same time. What is never written stays
        // unmapped.
        if (m_cursor.remaining() > largeArray)
            records.reserve(m_cursor.remaining() / smallestElement + 1);
        m_cursor.beginArray();
        for (std::size_t index = 0; m_cursor.nextElement(index == 0); ++index) {
            read(m_cursor, JsonPath(m_path, index), records.emplace_back());
            m_cursor.giveBackConsumed();
        }
        return records;
    }

private:
    // Kept out of line, so that the checks of every value stay small.
    [[noreturn, gnu::cold, gnu::noinline]] void mismatch(const char* expected, JsonCursor::Kind found) const
    {
        fail(std::string("expected ") + expected + ", found " + describe(found));
    }

    static constexpr std::size_t largeArray = 1024 * 1024;

    JsonCursor& m_cursor;
    const JsonPath& m_path;
};

// The smallest elements that read as records, each with its comma.
constexpr std::size_t smallestItem = std::string_view(R"({"id":"","title":"","category":"","isRunning":true},)").size();
constexpr std::size_t smallestGroup = std::string_view(R"({"id":"","name":"","memberCount":0,"runningCount":0},)").size();
constexpr std::size_t smallestSession = std::string_view(R"({"id":"","title":"","project":"","state":"working"},)").size();

// What an object holds under one key a record knows. A key may come more than once: the last
// value counts, as if the others were not there, and so does the last one's error.
class Member {
public:
    // Reads the value with `read(const ValueReader&)`, unless it is null. A value that fails is
    // consumed all the same, and its error kept for when the record asks for the value.
    template<class Read>
    void read(JsonCursor& cursor, const JsonPath& path, Read read)
    {
        m_error = nullptr;
        if (cursor.peek() == JsonCursor::Kind::null) {
            cursor.readNull();
            m_state = State::null;
            return;
        }
        const auto start = cursor.mark();
        try {
            read(ValueReader(cursor, path));
            m_state = State::present;
        } catch (DecodingError& error) {
            cursor.rewind(start);
            cursor.skipValue();
            m_error = std::make_unique<DecodingError>(std::move(error));
            m_state = State::failed;
        }
    }

    // A required value: throws unless it was there and read.
    void require(const JsonPath& object, std::string_view key) const
    {
        switch (m_state) {
        case State::missing:
            JsonPath(object, key).fail("required key is missing");
        case State::null:
            JsonPath(object, key).fail("required value is null");
        case State::failed:
            throw *m_error;
        case State::present:
            break;
        }
    }

    // An optional value: whether it was there (false for null); throws if it failed.
    bool isPresent() const
    {
        if (m_state == State::failed)
            throw *m_error;
        return m_state == State::present;
    }

private:
    enum class State : unsigned char {
        missing,
        null,
        present,
        failed,
    };

    State m_state = State::missing;
    // Held apart: a record's reader has a Member for every key, on the stack, for every record.
    std::unique_ptr<DecodingError> m_error;
};

// Whether `key` is `name`, compared at the length the compiler knows.
template<std::size_t size>
bool is(std::string_view key, const char (&name)[size])
{
    return key.size() == size - 1 && std::memcmp(key.data(), name, size - 1) == 0;
}

// Calls `onMember(key)` for each member of the object at the cursor, which reads the member's
// value and returns true, or returns false to have it skipped.
template<class OnMember>
void readMembers(JsonCursor& cursor, const JsonPath& path, OnMember onMember)
{
    ValueReader(cursor, path).expect(JsonCursor::Kind::object, "an object");
    cursor.beginObject();
    std::string scratch;
    for (bool first = true; cursor.nextMember(first); first = false) {
        if (!onMember(cursor.readKey(scratch)))
            cursor.skipValue();
    }
}

void readItem(JsonCursor& cursor, const JsonPath& path, WidgetItem& item)
{
    Member id, title, category, isRunning, transition, port, startedAt;
    readMembers(cursor, path, [&](std::string_view key) {
        const JsonPath at(path, key);
        if (is(key, keys::id))
            id.read(cursor, at, [&](const ValueReader& r) { r.string(item.id); });
        else if (is(key, keys::title))
            title.read(cursor, at, [&](const ValueReader& r) { r.string(item.title); });
        else if (is(key, keys::category))
            category.read(cursor, at, [&](const ValueReader& r) { r.string(item.category); });
        else if (is(key, keys::isRunning))
            isRunning.read(cursor, at, [&](const ValueReader& r) { item.isRunning = r.boolean(); });
        else if (is(key, keys::transition))
            transition.read(cursor, at, [&](const ValueReader& r) { item.transition = r.enumeration<WidgetItem::Transition>(); });
        else if (is(key, keys::port))
            port.read(cursor, at, [&](const ValueReader& r) { item.port = static_cast<std::uint16_t>(r.integer(0, 65535)); });
        else if (is(key, keys::startedAt))
            startedAt.read(cursor, at, [&](const ValueReader& r) { item.startedAt = r.date(); });
        else
            return false;
        return true;
    });
    id.require(path, keys::id);
    title.require(path, keys::title);
    category.require(path, keys::category);
    isRunning.require(path, keys::isRunning);
    if (!transition.isPresent())
        item.transition.reset();
    if (!port.isPresent())
        item.port.reset();
    if (!startedAt.isPresent())
        item.startedAt.reset();
}

void readGroup(JsonCursor& cursor, const JsonPath& path, WidgetGroup& group)
{
    constexpr auto minimum = std::numeric_limits<std::int64_t>::min();
    constexpr auto maximum = std::numeric_limits<std::int64_t>::max();
    Member id, name, memberCount, runningCount, transition, isActive;
    readMembers(cursor, path, [&](std::string_view key) {
        const JsonPath at(path, key);
        if (is(key, keys::id))
            id.read(cursor, at, [&](const ValueReader& r) { r.string(group.id); });
        else if (is(key, keys::name))
            name.read(cursor, at, [&](const ValueReader& r) { r.string(group.name); });
        else if (is(key, keys::memberCount))
            memberCount.read(cursor, at, [&](const ValueReader& r) { group.memberCount = r.integer(minimum, maximum); });
        else if (is(key, keys::runningCount))
            runningCount.read(cursor, at, [&](const ValueReader& r) { group.runningCount = r.integer(minimum, maximum); });
        else if (is(key, keys::transition))
            transition.read(cursor, at, [&](const ValueReader& r) { group.transition = r.enumeration<WidgetItem::Transition>(); });
        else if (is(key, keys::isActive))
            isActive.read(cursor, at, [&](const ValueReader& r) { group.isActive = r.boolean(); });
        else
            return false;
        return true;
    });
    id.require(path, keys::id);
    name.require(path, keys::name);
    memberCount.require(path, keys::memberCount);
    runningCount.require(path, keys::runningCount);
    if (!transition.isPresent())
        group.transition.reset();
    // Older writers left "isActive" out; by this fallback an empty group is never active.
    if (!isActive.isPresent())
        group.isActive = group.memberCount > 0 && group.runningCount == group.memberCount;
}

void readSession(JsonCursor& cursor, const JsonPath& path, WidgetSession& session)
{
    Member id, title, project, state;
    readMembers(cursor, path, [&](std::string_view key) {
        const JsonPath at(path, key);
        if (is(key, keys::id))
            id.read(cursor, at, [&](const ValueReader& r) { r.string(session.id); });
        else if (is(key, keys::title))
            title.read(cursor, at, [&](const ValueReader& r) { r.string(session.title); });
        else if (is(key, keys::project))
            project.read(cursor, at, [&](const ValueReader& r) { r.string(session.project); });
        else if (is(key, keys::state))
            state.read(cursor, at, [&](const ValueReader& r) { session.state = r.enumeration<WidgetSession::State>(); });
        else
            return false;
        return true;
    });
    id.require(path, keys::id);
    title.require(path, keys::title);
    project.require(path, keys::project);
    state.require(path, keys::state);
}

// A record read alone, as a whole document.
template<class Record, void (*read)(JsonCursor&, const JsonPath&, Record&)>
Record readRecord(JsonCursor& cursor, const JsonPath& path)
{
    Record record;
    read(cursor, path, record);
    return record;
}

WidgetSnapshot readSnapshot(JsonCursor& cursor, const JsonPath& path)
{
    WidgetSnapshot snapshot;
    Member items, groups, sessions, language, updatedAt;
    readMembers(cursor, path, [&](std::string_view key) {
        const JsonPath at(path, key);
        if (is(key, keys::items)) {
            // A repeated key's earlier value is let go before the next one is read.
            snapshot.items = {};
            items.read(cursor, at, [&](const ValueReader& r) { snapshot.items = r.array<WidgetItem>(readItem, smallestItem); });
        } else if (is(key, keys::groups)) {
            snapshot.groups = {};
            groups.read(cursor, at, [&](const ValueReader& r) { snapshot.groups = r.array<WidgetGroup>(readGroup, smallestGroup); });
        } else if (is(key, keys::sessions)) {
            snapshot.sessions = {};
            sessions.read(cursor, at, [&](const ValueReader& r) { snapshot.sessions = r.array<WidgetSession>(readSession, smallestSession); });
        } else if (is(key, keys::language)) {
            language.read(cursor, at, [&](const ValueReader& r) { snapshot.language = r.string(); });
        } else if (is(key, keys::updatedAt)) {
            updatedAt.read(cursor, at, [&](const ValueReader& r) { snapshot.updatedAt = r.date(); });
        } else {
            return false;
        }
        return true;
    });
    items.require(path, keys::items);
    // Deliberately more tolerant than "items": writers that know no groups or sessions omit them.
    if (!groups.isPresent())
        snapshot.groups.clear();
    if (!sessions.isPresent())
        snapshot.sessions.clear();
    if (!language.isPresent())
        snapshot.language.reset();
    updatedAt.require(path, keys::updatedAt);
    return snapshot;
}

WidgetCommand readCommand(JsonCursor& cursor, const JsonPath& path)
{
    WidgetCommand command;
    Member id, itemID, action, issuedAt;
    readMembers(cursor, path, [&](std::string_view key) {
        const JsonPath at(path, key);
        if (is(key, keys::id)) {
            id.read(cursor, at, [&](const ValueReader& r) {
                auto uuid = Uuid::parse(r.string());
                if (!uuid)
                    r.fail("not a UUID");
                command.id = *uuid;
            });
        } else if (is(key, keys::itemID)) {
            itemID.read(cursor, at, [&](const ValueReader& r) { r.string(command.itemID); });
        } else if (is(key, keys::action)) {
            action.read(cursor, at, [&](const ValueReader& r) { command.action = r.enumeration<WidgetCommand::Action>(); });
        } else if (is(key, keys::issuedAt)) {
            issuedAt.read(cursor, at, [&](const ValueReader& r) { command.issuedAt = r.date(); });
        } else {
            return false;
        }
        return true;
    });
    id.require(path, keys::id);
    itemID.require(path, keys::itemID);
    action.require(path, keys::action);
    issuedAt.require(path, keys::issuedAt);
    return command;
}

// Reads the command under `key`; on a DecodingError the value is consumed all the same.
std::optional<WidgetCommand> readPendingEntry(JsonCursor& cursor, const std::string& key, std::optional<DecodingError>* error)
{
    const auto start = cursor.mark();
    try {
        return readCommand(cursor, JsonPath(key));
    } catch (DecodingError& problem) {
        cursor.rewind(start);
        cursor.skipValue();
        if (error)
            *error = std::move(problem);
        return std::nullopt;
    }
}

PendingCommands readPending(JsonCursor& cursor, const JsonPath& path)
{
    ValueReader(cursor, path).expect(JsonCursor::Kind::object, "an object");
    const auto start = cursor.mark();
    PendingCommands pending;
    bool failed = false;
    std::string scratch;
    cursor.beginObject();
    for (bool first = true; cursor.nextMember(first); first = false) {
        std::string key(cursor.readKey(scratch));
        // The last entry under a key counts.
        if (auto command = readPendingEntry(cursor, key, nullptr)) {
            pending.insert_or_assign(std::move(key), std::move(*command));
        } else {
            pending.erase(key);
            failed = true;
        }
    }
    if (!failed)
        return pending;
    // The error is the one of the first key, in key order, whose last entry fails: a key that
    // failed and was not kept is one. Found in a second pass, so that failing entries cost no
    // memory in the first.
    cursor.rewind(start);
    cursor.beginObject();
    std::optional<std::string> firstKey;
    std::optional<DecodingError> firstError;
    for (bool first = true; cursor.nextMember(first); first = false) {
        std::string key(cursor.readKey(scratch));
        std::optional<DecodingError> error;
        // A later entry under the first key replaces its error.
        if (!readPendingEntry(cursor, key, &error) && !pending.contains(key) && (!firstKey || key <= *firstKey)) {
            firstKey = std::move(key);
            firstError = std::move(error);
        }
    }
    if (firstError)
        throw *firstError;
    return pending;
}

double dateValue(Date date)
{
    // A JSON number cannot hold these, and a reader could never decode what we wrote.
    if (!std::isfinite(date.secondsSince1970()))
        throw EncodingError("a date is not a finite number of seconds");
    return date.secondsSince1970();
}

OrderedJson toJson(const WidgetItem& item)
{
    OrderedJson json;
    json[keys::id] = item.id;
    json[keys::title] = item.title;
    json[keys::category] = item.category;
    json[keys::isRunning] = item.isRunning;
    if (item.transition)
        json[keys::transition] = rawValue(*item.transition);
    if (item.port)
        json[keys::port] = *item.port;
    if (item.startedAt)
        json[keys::startedAt] = dateValue(*item.startedAt);
    return json;
}

OrderedJson toJson(const WidgetGroup& group)
{
    OrderedJson json;
    json[keys::id] = group.id;
    json[keys::name] = group.name;
    json[keys::memberCount] = group.memberCount;
    json[keys::runningCount] = group.runningCount;
    if (group.transition)
        json[keys::transition] = rawValue(*group.transition);
    json[keys::isActive] = group.isActive;
    return json;
}

OrderedJson toJson(const WidgetSession& session)
{
    OrderedJson json;
    json[keys::id] = session.id;
    json[keys::title] = session.title;
    json[keys::project] = session.project;
    json[keys::state] = rawValue(session.state);
    return json;
}

template<class Record>
OrderedJson arrayJson(const std::vector<Record>& records)
{
    auto json = OrderedJson::array();
    for (const auto& record : records)
        json.push_back(toJson(record));
    return json;
}

OrderedJson toJson(const WidgetSnapshot& snapshot)
{
    OrderedJson json;
    json[keys::items] = arrayJson(snapshot.items);
    json[keys::groups] = arrayJson(snapshot.groups);
    json[keys::sessions] = arrayJson(snapshot.sessions);
    if (snapshot.language)
        json[keys::language] = *snapshot.language;
    json[keys::updatedAt] = dateValue(snapshot.updatedAt);
    return json;
}

OrderedJson toJson(const WidgetCommand& command)
{
    OrderedJson json;
    json[keys::id] = command.id.string();
    json[keys::itemID] = command.itemID;
    json[keys::action] = rawValue(command.action);
    json[keys::issuedAt] = dateValue(command.issuedAt);
    return json;
}

OrderedJson toJson(const PendingCommands& pending)
{
    auto json = OrderedJson::object();
    for (const auto& [itemID, command] : pending)
        json[itemID] = toJson(command);
    return json;
}

std::string dump(const OrderedJson& json)
{
    try {
        return json.dump();
    } catch (const OrderedJson::type_error&) {
        throw EncodingError("a string is not valid UTF-8");
    }
}

// Takes every value and keeps none: runs nlohmann/json's parser only for its error message.
class SyntaxErrorCatcher : public nlohmann::json_sax<Json> {
public:
    std::string message;

    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t) override { return true; }
    bool number_unsigned(number_unsigned_t) override { return true; }
    bool number_float(number_float_t, const string_t&) override { return true; }
    bool string(string_t&) override { return true; }
    bool binary(binary_t&) override { return true; }
    bool start_object(std::size_t) override { return true; }
    bool key(string_t&) override { return true; }
    bool end_object() override { return true; }
    bool start_array(std::size_t) override { return true; }
    bool end_array() override { return true; }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) override
    {
        message = error.what();
        return false;
    }
};

DecodingError syntaxError(std::string_view text)
{
    SyntaxErrorCatcher catcher;
    Json::sax_parse(text.begin(), text.end(), &catcher);
    // nlohmann/json names the fault and where it is; it parses nothing we refuse otherwise.
    return DecodingError("", "not valid JSON" + (catcher.message.empty() ? std::string() : " (" + catcher.message + ")"));
}

DecodingError nestingError()
{
    return DecodingError("", "nested deeper than " + std::to_string(maximumNesting) + " levels");
}

// Reads the record at the top of `text` with `read(cursor, path)`. Errors come in a fixed order,
// whatever their places in the document: nesting too deep, then anything that is not JSON, then
// the first problem of the record.
template<class Record, class Read>
Record decodeDocument(std::string_view text, Read read, PageBuffer* pages = nullptr)
{
    try {
        JsonCursor cursor(text, maximumNesting, pages);
        const auto start = cursor.mark();
        const JsonPath root;
        std::optional<Record> record;
        std::optional<DecodingError> problem;
        try {
            record.emplace(read(cursor, root));
        } catch (DecodingError& error) {
            // The rest must still be JSON for this error to be the one that counts.
            problem = std::move(error);
            cursor.rewind(start);
            cursor.skipValue();
        }
        cursor.expectEnd();
        // A NUL byte ends the document, but brackets after it still count.
        if (nestsDeeperThan(cursor.rest(), maximumNesting))
            throw nestingError();
        if (problem)
            throw *problem;
        return std::move(*record);
    } catch (const MalformedJson&) {
        if (pages && pages->keptFrom() != pages->data())
            throw BytesGivenBack();
        if (nestsDeeperThan(text, maximumNesting))
            throw nestingError();
        throw syntaxError(text);
    }
}

}

std::string encode(const WidgetItem& record) { return detail::dump(detail::toJson(record)); }
std::string encode(const WidgetGroup& record) { return detail::dump(detail::toJson(record)); }
std::string encode(const WidgetSession& record) { return detail::dump(detail::toJson(record)); }
std::string encode(const WidgetSnapshot& record) { return detail::dump(detail::toJson(record)); }
std::string encode(const WidgetCommand& record) { return detail::dump(detail::toJson(record)); }
std::string encode(const PendingCommands& record) { return detail::dump(detail::toJson(record)); }

template<>
WidgetItem decode<WidgetItem>(std::string_view text) { return detail::decodeDocument<WidgetItem>(text, detail::readRecord<WidgetItem, detail::readItem>); }
template<>
WidgetGroup decode<WidgetGroup>(std::string_view text) { return detail::decodeDocument<WidgetGroup>(text, detail::readRecord<WidgetGroup, detail::readGroup>); }
template<>
WidgetSession decode<WidgetSession>(std::string_view text) { return detail::decodeDocument<WidgetSession>(text, detail::readRecord<WidgetSession, detail::readSession>); }
template<>
WidgetSnapshot decode<WidgetSnapshot>(std::string_view text) { return detail::decodeDocument<WidgetSnapshot>(text, detail::readSnapshot); }
template<>
WidgetCommand decode<WidgetCommand>(std::string_view text) { return detail::decodeDocument<WidgetCommand>(text, detail::readCommand); }
template<>
PendingCommands decode<PendingCommands>(std::string_view text) { return detail::decodeDocument<PendingCommands>(text, detail::readPending); }

WidgetSnapshot detail::decodeGivingBack(DocumentBytes& document)
{
    return detail::decodeDocument<WidgetSnapshot>(document.view(), detail::readSnapshot, document.pages());
}

}
