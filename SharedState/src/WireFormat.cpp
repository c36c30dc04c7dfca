#include <quelm/WireFormat.h>

#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>
#include <optional>
#include <type_traits>

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

// Walks a parsed document and remembers where it is, so every error names the bad value. The
// path is spelled out only when an error needs it: a reader points at its parent and holds its own
// key or index, and readers live no longer than the calls that make them.
class JsonReader {
public:
    // The document itself; its values are named from `name` on ("" for none).
    explicit JsonReader(const Json& value, std::string_view name = {})
        : m_value(value)
        , m_key(name)
    {
    }

    std::string path() const
    {
        std::string prefix = m_parent ? m_parent->path() : std::string();
        if (m_index)
            return prefix + "[" + std::to_string(*m_index) + "]";
        if (prefix.empty())
            return std::string(m_key);
        return prefix + "." + std::string(m_key);
    }
    const Json& value() const { return m_value; }

    [[noreturn]] void fail(const std::string& problem) const { throw DecodingError(path(), problem); }

    void expectObject() const
    {
        if (!m_value.is_object())
            fail("expected an object, found " + describe(m_value));
    }

    JsonReader member(std::string_view key) const
    {
        auto it = m_value.find(key);
        if (it == m_value.end())
            JsonReader(m_value, this, key).fail("required key is missing");
        if (it->is_null())
            JsonReader(*it, this, key).fail("required value is null");
        return JsonReader(*it, this, key);
    }

    // None for a key that is missing or null. The value type is named through a default argument:
    // clang rejects calling into this still incomplete class in a trailing return type.
    template<class Decode, class Value = std::invoke_result_t<Decode, const JsonReader&>>
    std::optional<Value> optionalMember(std::string_view key, Decode decode) const
    {
        auto it = m_value.find(key);
        if (it == m_value.end() || it->is_null())
            return std::nullopt;
        return decode(JsonReader(*it, this, key));
    }

    std::string string() const { return stringReference(); }

    bool boolean() const
    {
        if (!m_value.is_boolean())
            fail("expected a boolean, found " + describe(m_value));
        return m_value.get<bool>();
    }

    double number() const
    {
        if (!m_value.is_number())
            fail("expected a number, found " + describe(m_value));
        return m_value.get<double>();
    }

    std::int64_t integer(std::int64_t minimum, std::int64_t maximum) const
    {
        std::int64_t result;
        if (m_value.is_number_integer() && !m_value.is_number_unsigned()) {
            result = m_value.get<std::int64_t>();
        } else if (m_value.is_number_unsigned()) {
            auto value = m_value.get<std::uint64_t>();
            if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
                fail("number " + m_value.dump() + " is out of range");
            result = static_cast<std::int64_t>(value);
        } else if (m_value.is_number_float()) {
            // 3.0 is the integer 3; 3.5 or 1e300 is no integer at all.
            double value = m_value.get<double>();
            if (!(value >= -9223372036854775808.0 && value < 9223372036854775808.0) || std::trunc(value) != value)
                fail("number " + m_value.dump() + " is not an integer in range");
            result = static_cast<std::int64_t>(value);
        } else {
            fail("expected an integer, found " + describe(m_value));
        }
        if (result < minimum || result > maximum)
            fail("number " + std::to_string(result) + " is out of range " + std::to_string(minimum) + "…" + std::to_string(maximum));
        return result;
    }

    template<class Enum>
    Enum enumeration() const
    {
        const std::string& raw = stringReference();
        auto value = fromRawValue<Enum>(raw);
        if (!value)
            fail("unknown value " + Json(raw).dump(-1, ' ', false, Json::error_handler_t::replace));
        return *value;
    }

    template<class Decode>
    auto array(Decode decode) const -> std::vector<decltype(decode(std::declval<const JsonReader&>()))>
    {
        if (!m_value.is_array())
            fail("expected an array, found " + describe(m_value));
        std::vector<decltype(decode(std::declval<const JsonReader&>()))> result;
        result.reserve(m_value.size());
        for (std::size_t i = 0; i < m_value.size(); ++i)
            result.push_back(decode(JsonReader(m_value[i], this, i)));
        return result;
    }

private:
    const std::string& stringReference() const
    {
        if (!m_value.is_string())
            fail("expected a string, found " + describe(m_value));
        return m_value.get_ref<const std::string&>();
    }

    JsonReader(const Json& value, const JsonReader* parent, std::string_view key)
        : m_value(value)
        , m_parent(parent)
        , m_key(key)
    {
    }
    JsonReader(const Json& value, const JsonReader* parent, std::size_t index)
        : m_value(value)
        , m_parent(parent)
        , m_index(index)
    {
    }

    static std::string describe(const Json& value)
    {
        switch (value.type()) {
        case Json::value_t::null:
            return "null";
        case Json::value_t::object:
            return "an object";
        case Json::value_t::array:
            return "an array";
        case Json::value_t::string:
            return "a string";
        case Json::value_t::boolean:
            return "a boolean";
        case Json::value_t::binary:
        case Json::value_t::discarded:
            return "an unexpected value";
        default:
            return "a number";
        }
    }

    const Json& m_value;
    const JsonReader* m_parent = nullptr;
    std::string_view m_key;
    std::optional<std::size_t> m_index;
};

// Our documents nest three levels deep. The parsed tree is walked recursively (on copy,
// comparison, output), so a hostile file of a million "[" must be refused before it is built.
constexpr int maximumNesting = 64;

// Whether brackets outside strings open more than `limit` levels at some point. Only looks at the
// structure; whether the text is JSON at all is left to the parser.
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

Json parseDocument(std::string_view text)
{
    if (nestsDeeperThan(text, maximumNesting))
        throw DecodingError("", "nested deeper than " + std::to_string(maximumNesting) + " levels");
    try {
        return Json::parse(text.begin(), text.end());
    } catch (const Json::exception& error) {
        // parse_error, but also out_of_range for a number such as 1e400 that no double holds.
        throw DecodingError("", std::string("not valid JSON (") + error.what() + ")");
    }
}

Date readDate(const JsonReader& reader)
{
    return Date(reader.number());
}

WidgetItem readItem(const JsonReader& reader)
{
    reader.expectObject();
    WidgetItem item;
    item.id = reader.member("id").string();
    item.title = reader.member("title").string();
    item.category = reader.member("category").string();
    item.isRunning = reader.member("isRunning").boolean();
    item.transition = reader.optionalMember("transition", [](const JsonReader& r) { return r.enumeration<WidgetItem::Transition>(); });
    item.port = reader.optionalMember("port", [](const JsonReader& r) { return static_cast<std::uint16_t>(r.integer(0, 65535)); });
    item.startedAt = reader.optionalMember("startedAt", readDate);
    return item;
}

WidgetGroup readGroup(const JsonReader& reader)
{
    reader.expectObject();
    constexpr auto minimum = std::numeric_limits<std::int64_t>::min();
    constexpr auto maximum = std::numeric_limits<std::int64_t>::max();
    WidgetGroup group;
    group.id = reader.member("id").string();
    group.name = reader.member("name").string();
    group.memberCount = reader.member("memberCount").integer(minimum, maximum);
    group.runningCount = reader.member("runningCount").integer(minimum, maximum);
    group.transition = reader.optionalMember("transition", [](const JsonReader& r) { return r.enumeration<WidgetItem::Transition>(); });
    // Older writers left "isActive" out; by this fallback an empty group is never active.
    auto isActive = reader.optionalMember("isActive", [](const JsonReader& r) { return r.boolean(); });
    group.isActive = isActive.value_or(group.memberCount > 0 && group.runningCount == group.memberCount);
    return group;
}

WidgetSession readSession(const JsonReader& reader)
{
    reader.expectObject();
    WidgetSession session;
    session.id = reader.member("id").string();
    session.title = reader.member("title").string();
    session.project = reader.member("project").string();
    session.state = reader.member("state").enumeration<WidgetSession::State>();
    return session;
}

WidgetSnapshot readSnapshot(const JsonReader& reader)
{
    reader.expectObject();
    WidgetSnapshot snapshot;
    snapshot.items = reader.member("items").array(readItem);
    // Deliberately more tolerant than "items": writers that know no groups or sessions omit them.
    snapshot.groups = reader.optionalMember("groups", [](const JsonReader& r) { return r.array(readGroup); }).value_or(std::vector<WidgetGroup> {});
    snapshot.sessions = reader.optionalMember("sessions", [](const JsonReader& r) { return r.array(readSession); }).value_or(std::vector<WidgetSession> {});
    snapshot.language = reader.optionalMember("language", [](const JsonReader& r) { return r.string(); });
    snapshot.updatedAt = readDate(reader.member("updatedAt"));
    return snapshot;
}

WidgetCommand readCommand(const JsonReader& reader)
{
    reader.expectObject();
    WidgetCommand command;
    auto idReader = reader.member("id");
    auto id = Uuid::parse(idReader.string());
    if (!id)
        idReader.fail("not a UUID");
    command.id = *id;
    command.itemID = reader.member("itemID").string();
    command.action = reader.member("action").enumeration<WidgetCommand::Action>();
    command.issuedAt = readDate(reader.member("issuedAt"));
    return command;
}

PendingCommands readPending(const JsonReader& reader)
{
    reader.expectObject();
    PendingCommands pending;
    for (const auto& [key, value] : reader.value().items())
        pending.emplace(key, readCommand(JsonReader(value, key)));
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
    json["id"] = item.id;
    json["title"] = item.title;
    json["category"] = item.category;
    json["isRunning"] = item.isRunning;
    if (item.transition)
        json["transition"] = rawValue(*item.transition);
    if (item.port)
        json["port"] = *item.port;
    if (item.startedAt)
        json["startedAt"] = dateValue(*item.startedAt);
    return json;
}

OrderedJson toJson(const WidgetGroup& group)
{
    OrderedJson json;
    json["id"] = group.id;
    json["name"] = group.name;
    json["memberCount"] = group.memberCount;
    json["runningCount"] = group.runningCount;
    if (group.transition)
        json["transition"] = rawValue(*group.transition);
    json["isActive"] = group.isActive;
    return json;
}

OrderedJson toJson(const WidgetSession& session)
{
    OrderedJson json;
    json["id"] = session.id;
    json["title"] = session.title;
    json["project"] = session.project;
    json["state"] = rawValue(session.state);
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
    json["items"] = arrayJson(snapshot.items);
    json["groups"] = arrayJson(snapshot.groups);
    json["sessions"] = arrayJson(snapshot.sessions);
    if (snapshot.language)
        json["language"] = *snapshot.language;
    json["updatedAt"] = dateValue(snapshot.updatedAt);
    return json;
}

OrderedJson toJson(const WidgetCommand& command)
{
    OrderedJson json;
    json["id"] = command.id.string();
    json["itemID"] = command.itemID;
    json["action"] = rawValue(command.action);
    json["issuedAt"] = dateValue(command.issuedAt);
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

template<class Record, class Read>
Record decodeDocument(std::string_view text, Read read)
{
    auto document = parseDocument(text);
    return read(JsonReader(document));
}

}

std::string encode(const WidgetItem& record) { return detail::dump(detail::toJson(record)); }
std::string encode(const WidgetGroup& record) { return detail::dump(detail::toJson(record)); }
std::string encode(const WidgetSession& record) { return detail::dump(detail::toJson(record)); }
std::string encode(const WidgetSnapshot& record) { return detail::dump(detail::toJson(record)); }
std::string encode(const WidgetCommand& record) { return detail::dump(detail::toJson(record)); }
std::string encode(const PendingCommands& record) { return detail::dump(detail::toJson(record)); }

template<>
WidgetItem decode<WidgetItem>(std::string_view text) { return detail::decodeDocument<WidgetItem>(text, detail::readItem); }
template<>
WidgetGroup decode<WidgetGroup>(std::string_view text) { return detail::decodeDocument<WidgetGroup>(text, detail::readGroup); }
template<>
WidgetSession decode<WidgetSession>(std::string_view text) { return detail::decodeDocument<WidgetSession>(text, detail::readSession); }
template<>
WidgetSnapshot decode<WidgetSnapshot>(std::string_view text) { return detail::decodeDocument<WidgetSnapshot>(text, detail::readSnapshot); }
template<>
WidgetCommand decode<WidgetCommand>(std::string_view text) { return detail::decodeDocument<WidgetCommand>(text, detail::readCommand); }
template<>
PendingCommands decode<PendingCommands>(std::string_view text) { return detail::decodeDocument<PendingCommands>(text, detail::readPending); }

}
