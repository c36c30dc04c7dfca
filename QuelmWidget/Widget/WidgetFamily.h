// SPDX-License-Identifier: MIT
#pragma once

#include "Widget/WidgetSize.h"

#include <optional>
#include <string_view>

namespace quelm {

// The widget sizes the host offers, in the order the widget declares them.
enum class WidgetFamily {
    small,
    medium,
    large,
    extraLarge,
};

// "small", "medium", "large", "extraLarge"; `parseWidgetFamily` also accepts the names earlier
// versions wrote ("systemSmall"…).
std::string_view rawValue(WidgetFamily);
std::optional<WidgetFamily> parseWidgetFamily(std::string_view);

// Small 170 × 170, medium 364 × 170, large 364 × 382, extra large 766 × 382.
WidgetSize familySize(WidgetFamily);

// Every widget's container has rounded corners of this radius, and keeps its content this far
// from its edge on every side.
inline constexpr double widgetCornerRadius = 22;
inline constexpr double widgetContentMargin = 16;

}
