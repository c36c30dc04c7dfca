// SPDX-License-Identifier: MIT
#include "Widget/WidgetFamily.h"

#include <array>
#include <utility>

namespace quelm {

namespace {
// Each family's name, and the name that "widgets.json" files of earlier versions hold.
constexpr std::array<std::pair<std::string_view, std::string_view>, 4> names { {
    { "small", "systemSmall" },
    { "medium", "systemMedium" },
    { "large", "systemLarge" },
    { "extraLarge", "systemExtraLarge" },
} };
}

std::string_view rawValue(WidgetFamily family)
{
    return names[static_cast<std::size_t>(family)].first;
}

std::optional<WidgetFamily> parseWidgetFamily(std::string_view text)
{
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (text == names[i].first || text == names[i].second)
            return static_cast<WidgetFamily>(i);
    }
    return std::nullopt;
}

WidgetSize familySize(WidgetFamily family)
{
    switch (family) {
    case WidgetFamily::small:
        return { 170, 170 };
    case WidgetFamily::medium:
        return { 364, 170 };
    case WidgetFamily::extraLarge:
        return { 766, 382 };
    case WidgetFamily::large:
        break;
    }
    return { 364, 382 };
}

}
