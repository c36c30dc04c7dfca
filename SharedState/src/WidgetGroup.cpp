// SPDX-License-Identifier: MIT
#include <quelm/WidgetGroup.h>

#include "Hashing.h"

std::size_t std::hash<quelm::WidgetGroup>::operator()(const quelm::WidgetGroup& group) const noexcept
{
    quelm::detail::HashBuilder builder;
    builder.add(group.id).add(group.name).add(group.memberCount).add(group.runningCount);
    builder.add(group.transition.has_value());
    if (group.transition)
        builder.add(quelm::rawValue(*group.transition));
    builder.add(group.isActive);
    return builder.result();
}
