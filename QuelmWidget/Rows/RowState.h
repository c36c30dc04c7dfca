// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/WidgetCommand.h>
#include <quelm/WidgetGroup.h>
#include <quelm/WidgetItem.h>

#include <map>
#include <optional>
#include <string>

namespace quelm {

// What an item or group row shows of its record. The record's transition wins
// over a pending command, and a pending command wins over the record's own running flag:
//
//   transition  pending  appearsRunning       busy
//   starting    any      true                 true
//   stopping    any      false                true
//   none        start    true                 true
//   none        stop     false                true
//   none        none     the record's flag    false
//
// `isRunning` is always the record's own flag (`item.isRunning`, `group.isActive`), never the
// shown state, so the button asks for the opposite of what the record says, whatever is shown.
struct RowState {
    using Transition = WidgetItem::Transition;
    using Action = WidgetCommand::Action;

    bool appearsRunning = false;
    bool busy = false;
    bool isRunning = false;

    // The direction the row's button asks for: start when the record is not running.
    bool start() const { return !isRunning; }

    static RowState of(std::optional<Transition> transition, std::optional<Action> pending, bool isRunning);
    static RowState of(const WidgetItem& item, std::optional<Action> pending);
    static RowState of(const WidgetGroup& group, std::optional<Action> pending);

    bool operator==(const RowState&) const = default;
};

// The pending action of `id` in an entry's pending map (TimelineEntry::PendingActions); none for a missing id.
std::optional<WidgetCommand::Action> pendingAction(const std::map<std::string, WidgetCommand::Action>& pending, const std::string& id);

}
