// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/Date.h>
#include <quelm/RawValue.h>
#include <quelm/Uuid.h>

#include <string>
#include <string_view>

namespace quelm {

// A request from the widget to the app to start or stop one item (or group).
// Built as `WidgetCommand(itemID, action, Uuid::random(), Date::now())`. Equatable only.
struct WidgetCommand {
    enum class Action {
        start,
        stop,
    };

    Uuid id;
    std::string itemID;
    Action action = Action::start;
    Date issuedAt;

    WidgetCommand() = default;
    WidgetCommand(std::string forItem, Action requested, Uuid uuid, Date issued)
        : id(uuid)
        , itemID(std::move(forItem))
        , action(requested)
        , issuedAt(issued)
    {
    }

    bool operator==(const WidgetCommand&) const = default;
};

std::string_view rawValue(WidgetCommand::Action);
template<>
std::optional<WidgetCommand::Action> fromRawValue<WidgetCommand::Action>(std::string_view);

}
