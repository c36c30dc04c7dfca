// SPDX-License-Identifier: MIT
#pragma once

#include "UnitState.h"

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quelmd {

// A command to run as a unit of its own, made for the occasion and gone once it stops.
struct TransientService {
    std::string unit;        // "quelm-web.service"
    std::string description; // shown by systemctl status
    std::vector<std::string> arguments; // the program (an absolute path) and its arguments
    std::optional<std::filesystem::path> directory;
    std::map<std::string, std::string> environment;
};

// The platform's service manager, as quelmd needs it: follow units, start and stop them. On Linux
// that is the user's systemd instance (SystemdManager). Refusals come back as the manager's
// reason, never as an exception.
class ServiceManager {
public:
    // Called with a unit's state each time the manager reports a change of it.
    using StateHandler = std::function<void(const std::string& unit, const UnitState&)>;

    virtual ~ServiceManager() = default;

    // From now on the handler hears of every change of `unit`; returns its state now.
    virtual UnitState follow(const std::string& unit) = 0;
    virtual void unfollow(const std::string& unit) = 0;

    // Starts the command as `service.unit`. The unit made for it stays loaded after it stops, so
    // that the next start is as quick as any unit's, until `forget` (the command changed).
    virtual std::optional<std::string> startTransient(const TransientService&) = 0;
    virtual void forget(const std::string& unit) = 0;
    virtual std::optional<std::string> start(const std::string& unit) = 0;
    virtual std::optional<std::string> stop(const std::string& unit) = 0;
};

}
