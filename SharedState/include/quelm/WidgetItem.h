// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/Date.h>
#include <quelm/RawValue.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quelm {

// One managed process or service, as the app publishes it.
// Aggregate: `WidgetItem { "id", "title", "node", true }` leaves the optional fields absent.
struct WidgetItem {
    enum class Transition {
        starting,
        stopping,
    };

    std::string id;
    std::string title;
    std::string category;
    bool isRunning = false;
    std::optional<Transition> transition {};
    std::optional<std::uint16_t> port {};
    std::optional<Date> startedAt {};

    bool operator==(const WidgetItem&) const = default;
};

std::string_view rawValue(WidgetItem::Transition);
template<>
std::optional<WidgetItem::Transition> fromRawValue<WidgetItem::Transition>(std::string_view);

}

template<>
struct std::hash<quelm::WidgetItem> {
    std::size_t operator()(const quelm::WidgetItem&) const noexcept;
};
