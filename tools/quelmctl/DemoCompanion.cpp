// SPDX-License-Identifier: MIT
#include "DemoCompanion.h"

#include "Timeline/TimelineEntry.h"

#include <algorithm>
#include <map>

namespace quelmctl {

namespace {

using Action = quelm::WidgetCommand::Action;
using Transition = quelm::WidgetItem::Transition;

// The sample tells only how many items its group has and how many of them run (3 and 2): the
// two node services and the database make that up.
const std::map<std::string, std::vector<std::string>, std::less<>> groupMembers {
    { "group:x", { "a", "b", "c" } },
};

// Where the items that the sample shows stopped listen once they run.
const std::map<std::string, std::uint16_t, std::less<>> stoppedItemPorts {
    { "c", 5432 },
    { "e", 6379 },
};

Transition transitionTowards(Action action)
{
    return action == Action::start ? Transition::starting : Transition::stopping;
}

DemoPhase phaseOf(const quelm::WidgetItem& item)
{
    if (item.transition)
        return *item.transition == Transition::starting ? DemoPhase::starting : DemoPhase::stopping;
    return item.isRunning ? DemoPhase::running : DemoPhase::stopped;
}

}

std::string_view describe(DemoPhase phase)
{
    switch (phase) {
    case DemoPhase::stopped:
        return "stopped";
    case DemoPhase::starting:
        return "starting";
    case DemoPhase::running:
        return "running";
    case DemoPhase::stopping:
        return "stopping";
    }
    return "stopped";
}

DemoCompanion::DemoCompanion(quelm::Date now, Clock::duration transitionTime)
    : m_transitionTime(transitionTime)
{
    const quelm::WidgetSnapshot& sample = quelm::TimelineEntry::sample().snapshot;
    for (quelm::WidgetItem item : sample.items) {
        // Keep each start time's distance from the moment the sample was dated.
        if (item.startedAt)
            item.startedAt = now.addingSeconds(-sample.updatedAt.secondsSince(*item.startedAt));
        std::optional<std::uint16_t> usualPort = item.port;
        if (const auto known = stoppedItemPorts.find(item.id); !usualPort && known != stoppedItemPorts.end())
            usualPort = known->second;
        m_services.push_back(Service { std::move(item), usualPort, std::nullopt });
    }
    for (const quelm::WidgetGroup& group : sample.groups) {
        const auto members = groupMembers.find(group.id);
        m_groups.push_back(Group { group.id, group.name, members == groupMembers.end() ? std::vector<std::string> {} : members->second,
            group.transition, {} });
    }
    m_sessions = sample.sessions;
    m_language = sample.language;
}

std::vector<DemoEvent> DemoCompanion::take(const quelm::WidgetCommand& command, Clock::time_point now)
{
    if (Service* service = findService(command.itemID)) {
        if (std::optional<DemoEvent> moved = move(*service, command.action, now))
            return { std::move(*moved) };
        return { DemoEvent { DemoEvent::Kind::unchanged, command.itemID, command.action, phaseOf(service->item) } };
    }
    if (Group* group = findGroup(command.itemID))
        return takeForGroup(*group, command.action, now);
    return { DemoEvent { DemoEvent::Kind::unknown, command.itemID, command.action, DemoPhase::stopped } };
}

std::optional<DemoEvent> DemoCompanion::move(Service& service, Action action, Clock::time_point now)
{
    quelm::WidgetItem& item = service.item;
    const bool wantsRunning = action == Action::start;
    const bool thereOrOnItsWay = item.transition ? *item.transition == transitionTowards(action) : item.isRunning == wantsRunning;
    if (thereOrOnItsWay)
        return std::nullopt;

    // A start shows nothing of the process until it is up; a stop keeps it listed as it was
    // until it is down.
    item.transition = transitionTowards(action);
    if (wantsRunning) {
        item.isRunning = false;
        item.port.reset();
        item.startedAt.reset();
    }
    service.due = now + m_transitionTime;
    return DemoEvent { DemoEvent::Kind::accepted, item.id, action, phaseOf(item) };
}

std::vector<DemoEvent> DemoCompanion::takeForGroup(Group& group, Action action, Clock::time_point now)
{
    std::vector<DemoEvent> memberEvents;
    for (const std::string& member : group.members) {
        if (Service* service = findService(member)) {
            if (std::optional<DemoEvent> moved = move(*service, action, now))
                memberEvents.push_back(std::move(*moved));
        }
    }

    // The group shows its transition for as long as any of its members is still moving, also
    // one that an earlier command set going.
    group.awaited.clear();
    for (const std::string& member : group.members) {
        if (const Service* service = findService(member); service && service->due)
            group.awaited.insert(member);
    }
    if (group.awaited.empty()) {
        group.transition.reset();
        return { DemoEvent { DemoEvent::Kind::unchanged, group.id, action,
            runningCount(group) > 0 ? DemoPhase::running : DemoPhase::stopped } };
    }
    const DemoPhase phase = action == Action::start ? DemoPhase::starting : DemoPhase::stopping;
    if (memberEvents.empty() && group.transition == transitionTowards(action))
        return { DemoEvent { DemoEvent::Kind::unchanged, group.id, action, phase } };
    group.transition = transitionTowards(action);
    std::vector<DemoEvent> events { DemoEvent { DemoEvent::Kind::accepted, group.id, action, phase } };
    events.insert(events.end(), memberEvents.begin(), memberEvents.end());
    return events;
}

std::vector<DemoEvent> DemoCompanion::settle(Clock::time_point now, quelm::Date wallNow)
{
    std::vector<DemoEvent> events;
    std::set<std::string> settled;
    for (Service& service : m_services) {
        if (!service.due || *service.due > now)
            continue;
        quelm::WidgetItem& item = service.item;
        const bool started = item.transition == Transition::starting;
        item.transition.reset();
        item.isRunning = started;
        item.port = started ? service.usualPort : std::nullopt;
        item.startedAt = started ? std::optional<quelm::Date>(wallNow) : std::nullopt;
        service.due.reset();
        settled.insert(item.id);
        events.push_back(DemoEvent { DemoEvent::Kind::settled, item.id, started ? Action::start : Action::stop, phaseOf(item) });
    }
    for (Group& group : m_groups) {
        if (!group.transition)
            continue;
        std::erase_if(group.awaited, [&](const std::string& member) { return settled.contains(member); });
        if (!group.awaited.empty())
            continue;
        const Action action = *group.transition == Transition::starting ? Action::start : Action::stop;
        group.transition.reset();
        events.push_back(DemoEvent { DemoEvent::Kind::settled, group.id, action,
            runningCount(group) > 0 ? DemoPhase::running : DemoPhase::stopped });
    }
    return events;
}

std::optional<DemoCompanion::Clock::time_point> DemoCompanion::nextDue() const
{
    std::optional<Clock::time_point> next;
    for (const Service& service : m_services) {
        if (service.due && (!next || *service.due < *next))
            next = service.due;
    }
    return next;
}

quelm::WidgetSnapshot DemoCompanion::snapshot(quelm::Date updatedAt) const
{
    quelm::WidgetSnapshot snapshot;
    for (const Service& service : m_services)
        snapshot.items.push_back(service.item);
    for (const Group& group : m_groups) {
        const std::int64_t running = runningCount(group);
        // A group counts as running while any member does, as the sample's two of three shows.
        snapshot.groups.emplace_back(group.id, group.name, std::int64_t(group.members.size()), running, running > 0, group.transition);
    }
    snapshot.sessions = m_sessions;
    snapshot.language = m_language;
    snapshot.updatedAt = updatedAt;
    return snapshot;
}

DemoCompanion::Service* DemoCompanion::findService(const std::string& id)
{
    const auto found = std::find_if(m_services.begin(), m_services.end(), [&](const Service& s) { return s.item.id == id; });
    return found == m_services.end() ? nullptr : &*found;
}

DemoCompanion::Group* DemoCompanion::findGroup(const std::string& id)
{
    const auto found = std::find_if(m_groups.begin(), m_groups.end(), [&](const Group& g) { return g.id == id; });
    return found == m_groups.end() ? nullptr : &*found;
}

std::int64_t DemoCompanion::runningCount(const Group& group) const
{
    return std::count_if(group.members.begin(), group.members.end(), [&](const std::string& member) {
        const auto found = std::find_if(m_services.begin(), m_services.end(), [&](const Service& s) { return s.item.id == member; });
        return found != m_services.end() && found->item.isRunning;
    });
}

}
