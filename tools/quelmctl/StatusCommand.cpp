// SPDX-License-Identifier: MIT
#include "StatusCommand.h"

#include "Arguments.h"
#include "StoreLocation.h"
#include "TimeFormat.h"

#include <RuntimeFolder.h>
#include <StatusReport.h>

#include <quelm/SharedStore.h>
#include <quelm/WireFormat.h>

#include <nlohmann/json.hpp>

#include <csignal>

namespace quelmctl {

namespace {

// The widget keeps a command pending for this long unless a newer snapshot answers it.
constexpr double pendingMaximumAge = 20;

struct Status {
    quelm::SharedStore::AppStatus appStatus;
    quelm::WidgetSnapshot snapshot;
    quelm::PendingCommands pending;
    std::optional<quelmd::StatusReport> services; // quelmd's report, when quelmd publishes to this store
};

Status readStatus(const quelm::SharedStore& store)
{
    const quelm::Date now = quelm::Date::now();
    Status status { store.appStatus(now), store.readSnapshot(), {}, std::nullopt };
    status.pending = store.pendingCommands(status.snapshot, now, pendingMaximumAge);
    if (const std::optional<std::filesystem::path> runtime = quelmd::runtimeFolder())
        if (std::optional<quelmd::StatusReport> report = quelmd::readStatusReport(*runtime); report && report->container == store.root().string())
            status.services = std::move(report);
    return status;
}

nlohmann::ordered_json servicesJson(const quelmd::StatusReport& report)
{
    nlohmann::ordered_json services = nlohmann::ordered_json::array();
    for (const quelmd::ServiceStatus& service : report.services) {
        nlohmann::ordered_json entry { { "id", service.id }, { "unit", service.unit }, { "state", service.state } };
        if (service.port)
            entry["port"] = *service.port;
        if (service.lastFailure)
            entry["lastFailure"] = { { "at", service.lastFailure->at.secondsSince1970() }, { "reason", service.lastFailure->reason } };
        services.push_back(std::move(entry));
    }
    return services;
}

void printServices(std::ostream& out, const quelmd::StatusReport& report)
{
    // The report outlives a quelmd that stopped: say so rather than pass old states off as now.
    const bool quelmdRuns = report.pid > 0 && ::kill(static_cast<pid_t>(report.pid), 0) == 0;
    out << "Services (quelmd, " << report.configuration << (quelmdRuns ? "" : "; quelmd is not running, as it last saw them")
        << "): " << report.services.size() << '\n';
    if (report.configurationError)
        out << "  configuration refused: " << *report.configurationError << '\n';
    for (const quelmd::ServiceStatus& service : report.services) {
        out << "  " << service.id << "  " << service.unit << "  " << service.state;
        if (service.port)
            out << "  port " << *service.port;
        out << '\n';
        if (service.lastFailure)
            out << "    last failure " << iso8601(service.lastFailure->at) << ": " << service.lastFailure->reason << '\n';
    }
}

void printJson(std::ostream& out, const Status& status)
{
    nlohmann::ordered_json pending = nlohmann::ordered_json::object();
    for (const auto& [id, command] : status.pending)
        pending[id] = std::string(quelm::rawValue(command.action));
    nlohmann::ordered_json document {
        { "appStatus", std::string(quelm::rawValue(status.appStatus)) },
        { "snapshot", nlohmann::ordered_json::parse(quelm::encode(status.snapshot)) },
        { "pending", pending },
    };
    if (status.services)
        document["services"] = servicesJson(*status.services);
    out << document.dump() << '\n';
}

std::string itemLine(const quelm::WidgetItem& item)
{
    std::string line = "  " + item.id + "  \"" + item.title + "\"  " + (item.category.empty() ? "-" : item.category) + "  "
        + (item.isRunning ? "running" : "stopped");
    if (item.transition)
        line += " (" + std::string(quelm::rawValue(*item.transition)) + ")";
    if (item.port)
        line += "  port " + std::to_string(*item.port);
    if (item.startedAt)
        line += "  since " + iso8601(*item.startedAt);
    return line;
}

std::string groupLine(const quelm::WidgetGroup& group)
{
    std::string line = "  " + group.id + "  \"" + group.name + "\"  " + std::to_string(group.runningCount) + "/"
        + std::to_string(group.memberCount) + " running  " + (group.isActive ? "active" : "inactive");
    if (group.transition)
        line += " (" + std::string(quelm::rawValue(*group.transition)) + ")";
    return line;
}

std::string sessionLine(const quelm::WidgetSession& session)
{
    return "  " + session.id + "  \"" + session.title + "\"  " + session.project + "  "
        + std::string(quelm::rawValue(session.state));
}

void printReadable(std::ostream& out, const Status& status)
{
    const quelm::WidgetSnapshot& snapshot = status.snapshot;
    out << "App: " << quelm::rawValue(status.appStatus) << '\n';
    if (snapshot == quelm::WidgetSnapshot::empty) {
        out << "Snapshot: none published\n";
    } else {
        // A snapshot stamped with the distant past was never really updated.
        out << "Snapshot: " << (snapshot.updatedAt == quelm::Date::distantPast() ? "updated never" : iso8601(snapshot.updatedAt));
        if (snapshot.language)
            out << ", language " << *snapshot.language;
        out << '\n';
    }
    out << "Items: " << snapshot.items.size() << '\n';
    for (const auto& item : snapshot.items)
        out << itemLine(item) << '\n';
    out << "Groups: " << snapshot.groups.size() << '\n';
    for (const auto& group : snapshot.groups)
        out << groupLine(group) << '\n';
    out << "Sessions: " << snapshot.sessions.size() << '\n';
    for (const auto& session : snapshot.sessions)
        out << sessionLine(session) << '\n';
    out << "Pending: " << status.pending.size() << '\n';
    for (const auto& [id, command] : status.pending)
        out << "  " << id << "  " << quelm::rawValue(command.action) << "  issued " << iso8601(command.issuedAt) << '\n';
    if (status.services)
        printServices(out, *status.services);
}

int runStatus(const Invocation& invocation)
{
    const Arguments arguments(invocation.arguments, { { "--json" } }, 0);
    const Status status = readStatus(openStore(invocation));
    if (arguments.has("--json"))
        printJson(invocation.out, status);
    else
        printReadable(invocation.out, status);
    return success;
}

}

const Command statusCommand {
    .name = "status",
    .summary = "show what the widget sees: app status, snapshot, pending commands",
    .usage = R"(Usage: quelmctl status [--json] [--root DIR]

Shows what the widget would show now: whether the app runs (from the
heartbeat), the published snapshot, and the items with a start or stop still
pending (issued after the snapshot and less than 20 seconds ago). When quelmd
publishes to the store, also its services: unit, state, port and last failure.

  --json      print one JSON object:
              {"appStatus": "running"|"notRunning"|"noAccess",
               "snapshot": <the snapshot in its wire form>,
               "pending": {"<item id>": "start"|"stop", ...},
               "services": [{"id", "unit", "state", "port",
                             "lastFailure": {"at", "reason"}}, ...]}
              ("services" only when quelmd publishes to the store)
  --root DIR  use DIR as the store instead of the app group container

Exit status: 0 success, 1 no container, 2 bad usage.
)",
    .run = runStatus,
};

}
