// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/WidgetItem.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quelm {

// A named group of items. The constructor takes `isActive` before `transition`, unlike the
// storage and key order.
struct WidgetGroup {
    // Marks a group's id where group and item ids share one namespace.
    static constexpr std::string_view idPrefix = "group:";

    std::string id;
    std::string name;
    std::int64_t memberCount = 0;
    std::int64_t runningCount = 0;
    std::optional<WidgetItem::Transition> transition {};
    bool isActive = false;

    WidgetGroup() = default;
    WidgetGroup(std::string groupID, std::string groupName, std::int64_t members, std::int64_t running,
        bool active, std::optional<WidgetItem::Transition> change = std::nullopt)
        : id(std::move(groupID))
        , name(std::move(groupName))
        , memberCount(members)
        , runningCount(running)
        , transition(change)
        , isActive(active)
    {
    }

    // Lets a group be read through the same running flag as an item.
    bool isRunning() const { return isActive; }

    bool operator==(const WidgetGroup&) const = default;
};

}

template<>
struct std::hash<quelm::WidgetGroup> {
    std::size_t operator()(const quelm::WidgetGroup&) const noexcept;
};
