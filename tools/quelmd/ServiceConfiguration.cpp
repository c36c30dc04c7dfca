// SPDX-License-Identifier: MIT
#include "ServiceConfiguration.h"

#include "ServiceRules.h"

#include <quelm/WidgetGroup.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>

#define TOML_EXCEPTIONS 1
#include <toml++/toml.h>

namespace quelmd {

namespace detail {

std::string describe(const std::filesystem::path& file, std::optional<std::size_t> line, const std::string& key,
    const std::string& problem)
{
    std::string text = file.string();
    if (line)
        text += ':' + std::to_string(*line);
    text += ": ";
    if (!key.empty())
        text += key + ": ";
    return text + problem;
}

// Reads one table of the file, keeping the file and the key path for every error it raises.
class TableReader {
public:
    TableReader(const toml::table& table, const std::filesystem::path& file, std::string path)
        : m_table(table)
        , m_file(file)
        , m_path(std::move(path))
    {
    }

    [[noreturn]] void fail(const toml::node* node, std::string_view key, const std::string& problem) const
    {
        const toml::node* where = node ? node : &m_table;
        std::optional<std::size_t> line;
        if (where->source().begin)
            line = where->source().begin.line;
        throw ConfigurationError(m_file, line, key.empty() ? m_path : m_path + '.' + std::string(key), problem);
    }

    void allowOnly(std::initializer_list<std::string_view> keys) const
    {
        for (const auto& [key, node] : m_table)
            if (std::find(keys.begin(), keys.end(), key.str()) == keys.end())
                fail(&node, key.str(), "unknown key");
    }

    const toml::node* find(std::string_view key) const { return m_table.get(key); }

    std::optional<std::string> string(std::string_view key) const
    {
        const toml::node* node = find(key);
        if (!node)
            return std::nullopt;
        if (!node->is_string())
            fail(node, key, "must be a string");
        return std::string(node->as_string()->get());
    }

    std::optional<std::string> nonEmptyString(std::string_view key) const
    {
        std::optional<std::string> value = string(key);
        if (value && value->empty())
            fail(find(key), key, "must not be empty");
        return value;
    }

    std::vector<std::string> strings(std::string_view key) const
    {
        std::vector<std::string> values;
        const toml::node* node = find(key);
        if (!node)
            return values;
        const toml::array* array = node->as_array();
        if (!array)
            fail(node, key, "must be an array of strings");
        for (const toml::node& element : *array) {
            if (!element.is_string())
                fail(&element, key, "must be an array of strings");
            values.emplace_back(element.as_string()->get());
        }
        return values;
    }

    const std::string& path() const { return m_path; }

private:
    const toml::table& m_table;
    const std::filesystem::path& m_file;
    std::string m_path;
};

// "~" is the home folder; a relative folder is taken from the configuration file's.
std::filesystem::path expandDirectory(const std::string& text, const std::filesystem::path& home, const std::filesystem::path& file)
{
    if (text == "~")
        return home;
    if (text.starts_with("~/"))
        return home / text.substr(2);
    const std::filesystem::path path(text);
    return path.is_absolute() ? path : (file.parent_path() / path).lexically_normal();
}

ServiceDefinition readService(const TableReader& reader, const std::filesystem::path& home, const std::filesystem::path& file)
{
    reader.allowOnly({ "id", "title", "command", "directory", "environment", "category", "port", "unit" });
    ServiceDefinition service;
    const std::optional<std::string> title = reader.nonEmptyString("title");
    if (!title)
        reader.fail(nullptr, "title", "is missing");
    service.title = *title;

    if (const std::optional<std::string> id = reader.nonEmptyString("id")) {
        if (!isServiceId(*id))
            reader.fail(reader.find("id"), "id", "may hold only letters, digits, '-', '_' and '.'");
        service.id = *id;
    } else {
        service.id = slug(service.title);
        if (service.id.empty())
            reader.fail(reader.find("title"), "title", "gives no id (no letter or digit); add an id");
    }

    const toml::node* command = reader.find("command");
    service.unit = reader.nonEmptyString("unit");
    if (command && service.unit)
        reader.fail(command, "command", "cannot go with unit: a service runs a command or an existing unit");
    if (!command && !service.unit)
        reader.fail(nullptr, "command", "is missing (or give the unit of an existing service)");
    if (service.unit && !service.unit->ends_with(".service"))
        reader.fail(reader.find("unit"), "unit", "must name a service unit (\"….service\")");
    if (command) {
        if (command->is_string()) {
            const std::string line(command->as_string()->get());
            if (line.empty())
                reader.fail(command, "command", "must not be empty");
            service.arguments = { "/bin/sh", "-c", line };
        } else if (command->is_array()) {
            service.arguments = reader.strings("command");
            if (service.arguments.empty() || service.arguments.front().empty())
                reader.fail(command, "command", "needs a program as its first argument");
        } else {
            reader.fail(command, "command", "must be a shell line or an array of arguments");
        }
    }
    if (service.unit && (reader.find("directory") || reader.find("environment")))
        reader.fail(reader.find("directory") ? reader.find("directory") : reader.find("environment"),
            reader.find("directory") ? "directory" : "environment", "applies only to a command, not to an existing unit");

    if (const std::optional<std::string> directory = reader.nonEmptyString("directory"))
        service.directory = expandDirectory(*directory, home, file);

    if (const toml::node* environment = reader.find("environment")) {
        const toml::table* table = environment->as_table();
        if (!table)
            reader.fail(environment, "environment", "must be a table of strings, as in { PORT = \"5173\" }");
        for (const auto& [name, value] : *table) {
            const std::string key = "environment." + std::string(name.str());
            if (name.str().empty() || name.str().find('=') != std::string_view::npos)
                reader.fail(&value, key, "is not a variable name");
            if (value.is_string())
                service.environment[std::string(name.str())] = std::string(value.as_string()->get());
            else if (value.is_integer())
                service.environment[std::string(name.str())] = std::to_string(value.as_integer()->get());
            else
                reader.fail(&value, key, "must be a string");
        }
    }

    if (const std::optional<std::string> category = reader.nonEmptyString("category"))
        service.category = *category;
    else if (service.unit)
        service.category = guessCategory(*service.unit);
    else
        service.category = guessCategory(command->is_string() ? service.arguments.back() : service.arguments.front());

    if (const toml::node* port = reader.find("port")) {
        const std::optional<std::int64_t> value = port->value_exact<std::int64_t>();
        if (!value || *value < 1 || *value > 65535)
            reader.fail(port, "port", "must be a whole number from 1 to 65535");
        service.port = static_cast<std::uint16_t>(*value);
    }
    return service;
}

GroupDefinition readGroup(const TableReader& reader, const std::set<std::string>& serviceIds)
{
    reader.allowOnly({ "name", "members" });
    GroupDefinition group;
    const std::optional<std::string> name = reader.nonEmptyString("name");
    if (!name)
        reader.fail(nullptr, "name", "is missing");
    group.name = *name;
    const std::string groupSlug = slug(group.name);
    if (groupSlug.empty())
        reader.fail(reader.find("name"), "name", "gives no id (no letter or digit)");
    group.id = std::string(quelm::WidgetGroup::idPrefix) + groupSlug;
    if (!reader.find("members"))
        reader.fail(nullptr, "members", "is missing");
    group.members = reader.strings("members");
    const toml::array& array = *reader.find("members")->as_array();
    for (std::size_t index = 0; index < group.members.size(); ++index) {
        const std::string& member = group.members[index];
        if (!serviceIds.contains(member))
            reader.fail(array.get(index), "members", "names no service with id \"" + member + "\"");
        if (std::count(group.members.begin(), group.members.end(), member) > 1)
            reader.fail(array.get(index), "members", "names \"" + member + "\" twice");
    }
    return group;
}

const toml::array* arrayOfTables(const toml::table& document, std::string_view key, const std::filesystem::path& file)
{
    const toml::node* node = document.get(key);
    if (!node)
        return nullptr;
    const toml::array* array = node->as_array();
    if (!array || !array->is_array_of_tables()) {
        std::optional<std::size_t> line;
        if (node->source().begin)
            line = node->source().begin.line;
        throw ConfigurationError(file, line, std::string(key), "must be written as [[" + std::string(key) + "]] tables");
    }
    return array;
}

}

ConfigurationError::ConfigurationError(std::filesystem::path file, std::optional<std::size_t> line, std::string key, std::string problem)
    : std::runtime_error(detail::describe(file, line, key, problem))
    , m_file(std::move(file))
    , m_line(line)
    , m_key(std::move(key))
    , m_problem(std::move(problem))
{
}

std::string ServiceDefinition::unitName() const
{
    return unit ? *unit : "quelm-" + id + ".service";
}

const ServiceDefinition* ServiceConfiguration::service(std::string_view id) const
{
    const auto found = std::find_if(services.begin(), services.end(), [&](const ServiceDefinition& s) { return s.id == id; });
    return found == services.end() ? nullptr : &*found;
}

const GroupDefinition* ServiceConfiguration::group(std::string_view id) const
{
    const auto found = std::find_if(groups.begin(), groups.end(), [&](const GroupDefinition& g) { return g.id == id; });
    return found == groups.end() ? nullptr : &*found;
}

ServiceConfiguration parseServiceConfiguration(std::string_view text, const std::filesystem::path& file,
    const std::filesystem::path& home)
{
    toml::table document;
    try {
        document = toml::parse(text, file.string());
    } catch (const toml::parse_error& error) {
        std::optional<std::size_t> line;
        if (error.source().begin)
            line = error.source().begin.line;
        throw ConfigurationError(file, line, "", std::string(error.description()));
    }

    for (const auto& [key, node] : document)
        if (key.str() != "service" && key.str() != "group") {
            std::optional<std::size_t> line;
            if (node.source().begin)
                line = node.source().begin.line;
            throw ConfigurationError(file, line, std::string(key.str()), "unknown key (the file holds [[service]] and [[group]] tables)");
        }

    ServiceConfiguration configuration;
    std::set<std::string> ids;
    std::set<std::string> units;
    if (const toml::array* services = detail::arrayOfTables(document, "service", file)) {
        std::size_t index = 0;
        for (const toml::node& node : *services) {
            ++index;
            const detail::TableReader reader(*node.as_table(), file, "service[" + std::to_string(index) + "]");
            ServiceDefinition service = detail::readService(reader, home, file);
            if (!ids.insert(service.id).second)
                reader.fail(reader.find("id") ? reader.find("id") : reader.find("title"), reader.find("id") ? "id" : "title",
                    "gives the id \"" + service.id + "\", which another service has");
            if (!units.insert(service.unitName()).second)
                reader.fail(reader.find("unit"), "unit", "names " + service.unitName() + ", which another service runs");
            configuration.services.push_back(std::move(service));
        }
    }
    if (const toml::array* groups = detail::arrayOfTables(document, "group", file)) {
        std::size_t index = 0;
        std::set<std::string> groupIds;
        for (const toml::node& node : *groups) {
            ++index;
            const detail::TableReader reader(*node.as_table(), file, "group[" + std::to_string(index) + "]");
            GroupDefinition group = detail::readGroup(reader, ids);
            if (!groupIds.insert(group.id).second)
                reader.fail(reader.find("name"), "name", "gives the id \"" + group.id + "\", which another group has");
            configuration.groups.push_back(std::move(group));
        }
    }
    return configuration;
}

ServiceConfiguration loadServiceConfiguration(const std::filesystem::path& file, const std::filesystem::path& home)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return {};
    if (error || !std::filesystem::is_regular_file(status))
        throw ConfigurationError(file, std::nullopt, "", "cannot be read as a file");
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        throw ConfigurationError(file, std::nullopt, "", "cannot be read");
    std::ostringstream text;
    text << stream.rdbuf();
    if (stream.bad())
        throw ConfigurationError(file, std::nullopt, "", "cannot be read");
    return parseServiceConfiguration(text.str(), file, home);
}

std::optional<std::filesystem::path> defaultConfigurationFile()
{
    const char* config = std::getenv("XDG_CONFIG_HOME");
    if (config && *config == '/')
        return std::filesystem::path(config) / "quelm" / "services.toml";
    const char* home = std::getenv("HOME");
    if (home && *home == '/')
        return std::filesystem::path(home) / ".config" / "quelm" / "services.toml";
    return std::nullopt;
}

}
