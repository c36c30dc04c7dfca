// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/Date.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace quelmd {

// What quelmd tells `quelmctl status` about each service: "status.json" in the runtime folder,
// rewritten whenever a service changes.
struct ServiceFailure {
    quelm::Date at;
    std::string reason; // "quelm-web.service exited with status 127"
    bool operator==(const ServiceFailure&) const = default;
};

struct ServiceStatus {
    std::string id;
    std::string title;
    std::string unit;
    std::string state; // the unit's active state and sub-state: "active (running)"
    std::optional<std::uint16_t> port;
    std::optional<ServiceFailure> lastFailure;
    bool operator==(const ServiceStatus&) const = default;
};

struct StatusReport {
    quelm::Date updatedAt;
    std::int64_t pid = 0;
    std::string container;                      // the widget's container quelmd publishes to
    std::string configuration;                  // the services.toml in use
    std::optional<std::string> configurationError; // why its last change was refused
    std::vector<ServiceStatus> services;
    bool operator==(const StatusReport&) const = default;
};

std::string encodeStatusReport(const StatusReport&);
std::optional<StatusReport> decodeStatusReport(const std::string&);

void writeStatusReport(const std::filesystem::path& runtimeFolder, const StatusReport&);
std::optional<StatusReport> readStatusReport(const std::filesystem::path& runtimeFolder);

}
