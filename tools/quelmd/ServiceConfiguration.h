// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quelmd {

// One [[service]] of services.toml: either a command quelmd runs as a transient unit, or an
// existing user unit (`unit`). `arguments` is what the unit executes: a shell line becomes
// {"/bin/sh", "-c", line}.
struct ServiceDefinition {
    std::string id;
    std::string title;
    std::vector<std::string> arguments;
    std::optional<std::filesystem::path> directory;
    std::map<std::string, std::string> environment;
    std::string category;
    std::optional<std::uint16_t> port;
    std::optional<std::string> unit;

    // The unit that runs the service: `unit`, or "quelm-<id>.service".
    std::string unitName() const;
    bool operator==(const ServiceDefinition&) const = default;
};

// One [[group]]: its id is "group:" and the slug of its name; members are service ids.
struct GroupDefinition {
    std::string id;
    std::string name;
    std::vector<std::string> members;
    bool operator==(const GroupDefinition&) const = default;
};

struct ServiceConfiguration {
    std::vector<ServiceDefinition> services;
    std::vector<GroupDefinition> groups;

    const ServiceDefinition* service(std::string_view id) const;
    const GroupDefinition* group(std::string_view id) const;
    bool operator==(const ServiceConfiguration&) const = default;
};

// What is wrong with a configuration file, and where: "services.toml:7: service[2].port: ...".
class ConfigurationError : public std::runtime_error {
public:
    ConfigurationError(std::filesystem::path file, std::optional<std::size_t> line, std::string key, std::string problem);

    const std::filesystem::path& file() const { return m_file; }
    std::optional<std::size_t> line() const { return m_line; }
    const std::string& key() const { return m_key; }
    const std::string& problem() const { return m_problem; }

private:
    std::filesystem::path m_file;
    std::optional<std::size_t> m_line;
    std::string m_key;
    std::string m_problem;
};

// Reads services.toml text; `file` names it in errors, `home` expands a leading "~" in
// directories. Throws ConfigurationError for the first problem found.
ServiceConfiguration parseServiceConfiguration(std::string_view text, const std::filesystem::path& file,
    const std::filesystem::path& home);

// Reads and parses the file; a missing file is an empty configuration, an unreadable one an error.
ServiceConfiguration loadServiceConfiguration(const std::filesystem::path& file, const std::filesystem::path& home);

// $XDG_CONFIG_HOME/quelm/services.toml (XDG_CONFIG_HOME defaults to ~/.config), or nothing
// when neither it nor HOME is known.
std::optional<std::filesystem::path> defaultConfigurationFile();

}
