// SPDX-License-Identifier: MIT
#include <quelm/WidgetItem.h>

#include "Hashing.h"

namespace quelm {

std::string_view rawValue(WidgetItem::Transition transition)
{
    return transition == WidgetItem::Transition::starting ? "starting" : "stopping";
}

template<>
std::optional<WidgetItem::Transition> fromRawValue<WidgetItem::Transition>(std::string_view raw)
{
    if (raw == "starting")
        return WidgetItem::Transition::starting;
    if (raw == "stopping")
        return WidgetItem::Transition::stopping;
    return std::nullopt;
}

}

std::size_t std::hash<quelm::WidgetItem>::operator()(const quelm::WidgetItem& item) const noexcept
{
    quelm::detail::HashBuilder builder;
    builder.add(item.id).add(item.title).add(item.category).add(item.isRunning);
    builder.add(item.transition.has_value());
    if (item.transition)
        builder.add(quelm::rawValue(*item.transition));
    builder.add(item.port);
    builder.add(item.startedAt.has_value());
    if (item.startedAt)
        builder.add(item.startedAt->secondsSince1970());
    return builder.result();
}
