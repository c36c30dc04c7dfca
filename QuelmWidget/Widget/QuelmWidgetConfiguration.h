// SPDX-License-Identifier: MIT
#pragma once

#include "Widget/WidgetSortOrder.h"

#include <span>
#include <string_view>

namespace quelm {

// The widget's configuration intent: one per placed widget, handed to every `snapshot` and
// `timeline` call of the provider. Its only parameter is the sort order.
struct QuelmWidgetConfiguration {
    static constexpr std::string_view title = "Quelm";
    static constexpr WidgetSortOrder defaultSortOrder = WidgetSortOrder::category;

    // How the host's edit sheet offers the parameter: its title, default and choices, each shown
    // by its display text.
    struct SortOrderParameter {
        std::string_view name;
        std::string_view title;
        WidgetSortOrder defaultValue;
        std::span<const WidgetSortOrder> options;
    };
    static const SortOrderParameter& sortOrderParameter();

    // A widget never edited by the user sorts by `category`.
    WidgetSortOrder sortOrder = defaultSortOrder;

    QuelmWidgetConfiguration() = default;
    explicit QuelmWidgetConfiguration(WidgetSortOrder order)
        : sortOrder(order)
    {
    }

    bool operator==(const QuelmWidgetConfiguration&) const = default;
};

}
