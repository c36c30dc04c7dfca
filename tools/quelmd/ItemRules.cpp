// SPDX-License-Identifier: MIT
#include "ItemRules.h"

#include <algorithm>

#include <csignal>
#include <string.h>
#include <sys/wait.h>

namespace quelmd {

quelm::WidgetItem itemFor(const ServiceDefinition& service, const UnitState& state, std::optional<std::uint16_t> detectedPort)
{
    quelm::WidgetItem item { service.id, service.title, service.category, false };
    const std::string& active = state.activeState;
    item.isRunning = active == "active" || active == "reloading" || active == "deactivating";
    if (active == "activating" || active == "reloading")
        item.transition = quelm::WidgetItem::Transition::starting;
    else if (active == "deactivating")
        item.transition = quelm::WidgetItem::Transition::stopping;
    if (item.isRunning) {
        if (state.activeEnterTimestamp > 0)
            item.startedAt = quelm::Date(static_cast<double>(state.activeEnterTimestamp) / 1e6);
        item.port = service.port ? service.port : detectedPort;
    }
    return item;
}

quelm::WidgetGroup groupFor(const GroupDefinition& group, std::span<const quelm::WidgetItem> items)
{
    std::int64_t members = 0;
    std::int64_t running = 0;
    bool starting = false;
    bool stopping = false;
    for (const std::string& member : group.members) {
        const auto found = std::find_if(items.begin(), items.end(), [&](const quelm::WidgetItem& item) { return item.id == member; });
        if (found == items.end())
            continue;
        ++members;
        if (found->isRunning)
            ++running;
        starting = starting || found->transition == quelm::WidgetItem::Transition::starting;
        stopping = stopping || found->transition == quelm::WidgetItem::Transition::stopping;
    }
    std::optional<quelm::WidgetItem::Transition> transition;
    if (starting)
        transition = quelm::WidgetItem::Transition::starting;
    else if (stopping)
        transition = quelm::WidgetItem::Transition::stopping;
    return quelm::WidgetGroup { group.id, group.name, members, running, members > 0 && running == members, transition };
}

bool isUp(const UnitState& state)
{
    return state.activeState == "active" || state.activeState == "reloading" || state.activeState == "activating";
}

std::string failureReason(const UnitState& state)
{
    if (state.result == "exit-code" || (state.execMainCode == CLD_EXITED && state.execMainStatus != 0))
        return "exited with status " + std::to_string(state.execMainStatus);
    if (state.result == "signal" || state.result == "core-dump" || state.execMainCode == CLD_KILLED || state.execMainCode == CLD_DUMPED) {
        const char* name = sigabbrev_np(state.execMainStatus);
        return "killed by signal " + (name ? std::string("SIG") + name : std::to_string(state.execMainStatus));
    }
    if (state.result == "timeout")
        return "timed out";
    if (state.result == "resources")
        return "could not be set up (missing directory, program or permission)";
    if (state.result.empty() || state.result == "success")
        return "failed";
    return "failed (" + state.result + ")";
}

}
