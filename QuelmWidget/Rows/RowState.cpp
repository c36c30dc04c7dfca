// SPDX-License-Identifier: MIT
#include "Rows/RowState.h"

namespace quelm {

RowState RowState::of(std::optional<Transition> transition, std::optional<Action> pending, bool isRunning)
{
    if (transition)
        return { *transition == Transition::starting, true, isRunning };
    if (pending)
        return { *pending == Action::start, true, isRunning };
    return { isRunning, false, isRunning };
}

RowState RowState::of(const WidgetItem& item, std::optional<Action> pending)
{
    return of(item.transition, pending, item.isRunning);
}

RowState RowState::of(const WidgetGroup& group, std::optional<Action> pending)
{
    return of(group.transition, pending, group.isActive);
}

std::optional<WidgetCommand::Action> pendingAction(const std::map<std::string, WidgetCommand::Action>& pending, const std::string& id)
{
    const auto found = pending.find(id);
    if (found == pending.end())
        return std::nullopt;
    return found->second;
}

}
