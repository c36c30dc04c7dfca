// SPDX-License-Identifier: MIT
#pragma once

#include "ServiceConfiguration.h"
#include "ServiceManager.h"
#include "SessionReport.h"
#include "StatusReport.h"
#include "UnitState.h"

#include <quelm/Date.h>
#include <quelm/WidgetCommand.h>
#include <quelm/WidgetSnapshot.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quelmd {

// What quelmd knows and does, between the service manager and the widget: the configured
// services and their units' states, the reported sessions and the language, turned into the
// snapshot and the status report; the widget's commands turned into starts and stops.
// Single-threaded: the daemon's loop calls everything.
class Companion {
public:
    // `log` gets one line per thing worth the journal (a failure, a refused start).
    Companion(ServiceManager& manager, std::function<void(const std::string&)> log);

    // Follows the units of the new configuration and lets go of the ones no longer in it.
    void configure(ServiceConfiguration);
    const ServiceConfiguration& configuration() const { return m_configuration; }

    // The manager's news of a unit; a unit that has just failed leaves its reason.
    void unitChanged(const std::string& unit, const UnitState&);

    // Starts or stops the item, or every member of the group; unknown ids are logged and ignored.
    // True when the manager took every request that changes a unit: its news will follow.
    bool carryOut(const quelm::WidgetCommand&);

    void setSessions(std::vector<SessionReport> sessions) { m_sessions = std::move(sessions); }
    void setLanguage(std::optional<std::string> language) { m_language = std::move(language); }
    void setConfigurationError(std::optional<std::string> error) { m_configurationError = std::move(error); }
    void setConfigurationFile(std::string file) { m_configurationFile = std::move(file); }

    // Services without a configured port whose unit is up: where a listening port may be found,
    // keyed by service id, with the unit's control group.
    std::map<std::string, std::string> portCandidates() const;
    // Returns true when the port shown changes.
    bool setDetectedPort(const std::string& serviceId, std::optional<std::uint16_t> port);

    quelm::WidgetSnapshot snapshot(quelm::Date now) const;
    StatusReport status(quelm::Date now) const;

    // The service running in `unit`, if any.
    const ServiceDefinition* serviceOfUnit(const std::string& unit) const;

private:
    bool act(const ServiceDefinition&, quelm::WidgetCommand::Action);
    void fail(const ServiceDefinition&, const std::string& reason);

    ServiceManager& m_manager;
    std::function<void(const std::string&)> m_log;
    ServiceConfiguration m_configuration;
    std::string m_configurationFile;
    std::optional<std::string> m_configurationError;
    std::map<std::string, UnitState> m_units;                 // by unit name
    std::map<std::string, std::uint16_t> m_detectedPorts;    // by service id
    std::map<std::string, ServiceFailure> m_failures;         // by service id
    std::vector<SessionReport> m_sessions;
    std::optional<std::string> m_language;
};

// The program a command names, as an absolute path: `name` itself when it holds a slash, else the
// first executable of that name along `searchPath` (PATH's form); `name` unchanged when none is.
std::string resolveProgram(const std::string& name, const std::string& searchPath);

}
