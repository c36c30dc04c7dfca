// SPDX-License-Identifier: MIT
#include "Companion.h"

#include "ItemRules.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <utility>

#include <unistd.h>

namespace quelmd {

Companion::Companion(ServiceManager& manager, std::function<void(const std::string&)> log)
    : m_manager(manager)
    , m_log(std::move(log))
{
}

void Companion::configure(ServiceConfiguration configuration)
{
    std::set<std::string> units;
    for (const ServiceDefinition& service : configuration.services)
        units.insert(service.unitName());
    for (auto unit = m_units.begin(); unit != m_units.end();) {
        if (units.contains(unit->first)) {
            ++unit;
        } else {
            m_manager.unfollow(unit->first);
            unit = m_units.erase(unit);
        }
    }
    // A command that changed runs from its next start on: the unit made for the old one goes.
    for (const ServiceDefinition& service : m_configuration.services) {
        const ServiceDefinition* now = configuration.service(service.id);
        if (!service.unit && (!now || *now != service))
            m_manager.forget(service.unitName());
    }
    std::erase_if(m_detectedPorts, [&](const auto& entry) { return !configuration.service(entry.first); });
    std::erase_if(m_failures, [&](const auto& entry) { return !configuration.service(entry.first); });
    m_configuration = std::move(configuration);
    for (const std::string& unit : units)
        m_units[unit] = m_manager.follow(unit);
}

const ServiceDefinition* Companion::serviceOfUnit(const std::string& unit) const
{
    const auto found = std::find_if(m_configuration.services.begin(), m_configuration.services.end(),
        [&](const ServiceDefinition& service) { return service.unitName() == unit; });
    return found == m_configuration.services.end() ? nullptr : &*found;
}

void Companion::unitChanged(const std::string& unit, const UnitState& state)
{
    const auto known = m_units.find(unit);
    if (known == m_units.end())
        return;
    const UnitState previous = std::exchange(known->second, state);
    const ServiceDefinition* service = serviceOfUnit(unit);
    if (!service)
        return;
    if (!isUp(state))
        m_detectedPorts.erase(service->id);
    // The manager tells the new state and how the process ended in two signals, one per
    // interface: a failure's reason is completed by the second.
    if (state.activeState == "failed") {
        const std::string reason = unit + ' ' + failureReason(state);
        const auto recorded = m_failures.find(service->id);
        if (previous.activeState != "failed" || recorded == m_failures.end())
            fail(*service, reason);
        else if (recorded->second.reason != reason) {
            recorded->second.reason = reason;
            m_log(service->id + ": " + reason);
        }
    }
}

void Companion::fail(const ServiceDefinition& service, const std::string& reason)
{
    m_failures[service.id] = ServiceFailure { quelm::Date::now(), reason };
    m_log(service.id + ": " + reason);
}

bool Companion::carryOut(const quelm::WidgetCommand& command)
{
    if (const ServiceDefinition* service = m_configuration.service(command.itemID))
        return act(*service, command.action);
    if (const GroupDefinition* group = m_configuration.group(command.itemID)) {
        bool followed = true;
        for (const std::string& member : group->members)
            if (const ServiceDefinition* service = m_configuration.service(member))
                followed = act(*service, command.action) && followed;
        return followed;
    }
    m_log(std::string(quelm::rawValue(command.action)) + ' ' + command.itemID + ": no such service or group; ignored");
    return false;
}

bool Companion::act(const ServiceDefinition& service, quelm::WidgetCommand::Action action)
{
    const std::string unit = service.unitName();
    const UnitState& state = m_units[unit];
    const bool up = state.activeState == "active" || state.activeState == "activating" || state.activeState == "reloading";
    // Nothing will change: no news will come from the manager.
    if ((action == quelm::WidgetCommand::Action::start) == up && state.activeState != "deactivating")
        return false;
    std::optional<std::string> refusal;
    if (action == quelm::WidgetCommand::Action::stop) {
        refusal = m_manager.stop(unit);
    } else if (service.unit) {
        refusal = m_manager.start(unit);
    } else {
        TransientService transient { unit, "Quelm: " + service.title, service.arguments, service.directory, service.environment };
        const char* path = std::getenv("PATH");
        transient.arguments.front() = resolveProgram(transient.arguments.front(), path ? path : "/usr/local/bin:/usr/bin:/bin");
        // The user's manager has its own environment; the service gets quelmd's search path, as a
        // command typed in the user's shell would.
        if (path && !transient.environment.contains("PATH"))
            transient.environment["PATH"] = path;
        refusal = m_manager.startTransient(transient);
    }
    if (refusal)
        fail(service, (action == quelm::WidgetCommand::Action::start ? "start of " : "stop of ") + unit + " refused: " + *refusal);
    return !refusal;
}

std::map<std::string, std::string> Companion::portCandidates() const
{
    std::map<std::string, std::string> candidates;
    for (const ServiceDefinition& service : m_configuration.services) {
        if (service.port)
            continue;
        const auto unit = m_units.find(service.unitName());
        if (unit != m_units.end() && isUp(unit->second) && !unit->second.controlGroup.empty())
            candidates.emplace(service.id, unit->second.controlGroup);
    }
    return candidates;
}

bool Companion::setDetectedPort(const std::string& serviceId, std::optional<std::uint16_t> port)
{
    const auto found = m_detectedPorts.find(serviceId);
    const std::optional<std::uint16_t> before = found == m_detectedPorts.end() ? std::nullopt : std::optional(found->second);
    if (before == port)
        return false;
    if (port)
        m_detectedPorts[serviceId] = *port;
    else
        m_detectedPorts.erase(serviceId);
    return true;
}

quelm::WidgetSnapshot Companion::snapshot(quelm::Date now) const
{
    quelm::WidgetSnapshot snapshot;
    for (const ServiceDefinition& service : m_configuration.services) {
        const auto unit = m_units.find(service.unitName());
        const auto port = m_detectedPorts.find(service.id);
        snapshot.items.push_back(itemFor(service, unit == m_units.end() ? UnitState {} : unit->second,
            port == m_detectedPorts.end() ? std::nullopt : std::optional(port->second)));
    }
    for (const GroupDefinition& group : m_configuration.groups)
        snapshot.groups.push_back(groupFor(group, snapshot.items));
    for (const SessionReport& report : m_sessions)
        snapshot.sessions.push_back(report.session);
    snapshot.language = m_language;
    snapshot.updatedAt = now;
    return snapshot;
}

StatusReport Companion::status(quelm::Date now) const
{
    StatusReport report;
    report.updatedAt = now;
    report.pid = ::getpid();
    report.configuration = m_configurationFile;
    report.configurationError = m_configurationError;
    const quelm::WidgetSnapshot shown = snapshot(now);
    for (std::size_t index = 0; index < m_configuration.services.size(); ++index) {
        const ServiceDefinition& service = m_configuration.services[index];
        const auto unit = m_units.find(service.unitName());
        const UnitState state = unit == m_units.end() ? UnitState {} : unit->second;
        ServiceStatus entry { service.id, service.title, service.unitName(),
            state.subState.empty() ? state.activeState : state.activeState + " (" + state.subState + ")", shown.items[index].port,
            std::nullopt };
        if (const auto failure = m_failures.find(service.id); failure != m_failures.end())
            entry.lastFailure = failure->second;
        report.services.push_back(std::move(entry));
    }
    return report;
}

std::string resolveProgram(const std::string& name, const std::string& searchPath)
{
    if (name.empty() || name.find('/') != std::string::npos)
        return name;
    std::string_view rest = searchPath;
    while (true) {
        const std::size_t colon = rest.find(':');
        const std::string_view folder = rest.substr(0, colon);
        if (!folder.empty() && folder.front() == '/') {
            const std::string candidate = std::string(folder) + '/' + name;
            if (::access(candidate.c_str(), X_OK) == 0)
                return candidate;
        }
        if (colon == std::string_view::npos)
            return name;
        rest = rest.substr(colon + 1);
    }
}

}
