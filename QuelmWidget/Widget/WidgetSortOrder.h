// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/RawValue.h>

#include <array>
#include <optional>
#include <string_view>

namespace quelm {

// The one user setting of a placed widget: how items are ordered.
enum class WidgetSortOrder {
    category,
    recent,
};

namespace WidgetSortOrderInfo {
inline constexpr std::string_view typeDisplayName = "Ordem";
inline constexpr std::array allCases { WidgetSortOrder::category, WidgetSortOrder::recent };
// The Portuguese display text, a localisation key.
std::string_view displayText(WidgetSortOrder);
}

std::string_view rawValue(WidgetSortOrder);
template<>
std::optional<WidgetSortOrder> fromRawValue<WidgetSortOrder>(std::string_view);

}
