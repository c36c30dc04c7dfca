#pragma once

#include <optional>
#include <string_view>

namespace quelm {

// The widget sizes the host offers, in the order the widget declares them.
enum class WidgetFamily {
    systemSmall,
    systemMedium,
    systemLarge,
    systemExtraLarge,
};

// "systemSmall"…; `parseWidgetFamily` also accepts the short names "small", "medium", "large",
// "extraLarge".
std::string_view rawValue(WidgetFamily);
std::optional<WidgetFamily> parseWidgetFamily(std::string_view);

}
