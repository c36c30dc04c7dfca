#pragma once

#include "WidgetSortOrder.h"

#include <optional>
#include <span>
#include <string_view>

namespace quelm {

// The widget's configuration intent: one per placed widget, handed to every `snapshot` and
// `timeline` call of the provider. Its only parameter is the sort order.
struct QuelmWidgetConfiguration {
    static constexpr std::string_view title = "Quelm";
    // The platform's default for a configuration intent.
    static constexpr bool isDiscoverable = true;
    static constexpr WidgetSortOrder defaultSortOrder = WidgetSortOrder::category;

    // How the host's edit sheet offers a parameter: its title, default and choices (each shown
    // by its display text, a title only: no subtitle, no image), no description, no dialog.
    struct SortOrderParameter {
        std::string_view name;
        std::string_view title;
        WidgetSortOrder defaultValue;
        std::optional<std::string_view> description;
        std::optional<std::string_view> dialog;
        std::span<const WidgetSortOrder> options;
    };
    static const SortOrderParameter& sortOrderParameter();

    // A widget never edited by the user sorts by `category`.
    WidgetSortOrder sortOrder = defaultSortOrder;

    QuelmWidgetConfiguration() = default;
    explicit QuelmWidgetConfiguration(WidgetSortOrder sortOrder)
        : sortOrder(sortOrder)
    {
    }

    // The platform's default: does nothing (the empty result).
    void perform() const { }

    bool operator==(const QuelmWidgetConfiguration&) const = default;
};

}
