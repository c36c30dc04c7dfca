// SPDX-License-Identifier: MIT
#include <quelm/WidgetSnapshot.h>

namespace quelm {

const WidgetSnapshot WidgetSnapshot::empty { {}, {}, {}, std::nullopt, Date::distantPast() };

bool WidgetSnapshot::hasSameContent(const WidgetSnapshot& other) const
{
    if (items.size() != other.items.size())
        return false;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (items[i] != other.items[i])
            return false;
    }
    if (groups != other.groups)
        return false;
    if (sessions != other.sessions)
        return false;
    return language == other.language;
}

}
