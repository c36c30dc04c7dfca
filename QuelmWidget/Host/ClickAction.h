// SPDX-License-Identifier: MIT
#pragma once

#include "Intent/ToggleItemIntent.h"
#include "Views/ViewTree.h"

#include <string>
#include <variant>

namespace quelm::host {

// What a click on a widget does, decided from the laid-out view tree alone.
struct OpenAddress {
    std::string url;
    bool operator==(const OpenAddress&) const = default;
};
struct NoAction {
    bool operator==(const NoAction&) const = default;
};
using ClickAction = std::variant<NoAction, ToggleItemIntent, OpenAddress>;

// The innermost button or link under (x, y), in points from the widget's top-left corner: an
// enabled button runs its toggle intent, a busy (disabled) one does nothing, a link opens its
// address — a session, or "quelm://open" over the closed-app message. Anywhere else, nothing.
ClickAction clickAction(const views::ViewNode& root, double x, double y);

}
