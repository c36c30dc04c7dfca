// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/Date.h>
#include <quelm/WidgetGroup.h>
#include <quelm/WidgetItem.h>
#include <quelm/WidgetSession.h>

#include <optional>
#include <string>
#include <vector>

namespace quelm {

// Everything the app publishes for the widget. Equatable only: no hashing, deliberately.
struct WidgetSnapshot {
    std::vector<WidgetItem> items;
    std::vector<WidgetGroup> groups;
    std::vector<WidgetSession> sessions;
    std::optional<std::string> language {};
    Date updatedAt;

    // No items, groups or sessions, no language, written at the distant past.
    static const WidgetSnapshot empty;

    // True when the two differ at most in `updatedAt`.
    bool hasSameContent(const WidgetSnapshot& other) const;

    bool operator==(const WidgetSnapshot&) const = default;
};

}
