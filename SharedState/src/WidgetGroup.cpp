#include <quelm/WidgetGroup.h>

#include "Hashing.h"

std::size_t std::hash<quelm::WidgetGroup>::operator()(const quelm::WidgetGroup& group) const noexcept
{
    quelm::detail::HashBuilder hash;
    hash.add(group.id).add(group.name).add(group.memberCount).add(group.runningCount);
    hash.add(group.transition.has_value());
    if (group.transition)
        hash.add(quelm::rawValue(*group.transition));
    hash.add(group.isActive);
    return hash.result();
}
