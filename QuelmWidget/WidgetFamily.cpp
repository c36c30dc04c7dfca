#include "WidgetFamily.h"

#include <array>
#include <utility>

namespace quelm {

namespace {
constexpr std::array<std::pair<std::string_view, std::string_view>, 4> names { {
    { "systemSmall", "small" },
    { "systemMedium", "medium" },
    { "systemLarge", "large" },
    { "systemExtraLarge", "extraLarge" },
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

}
