// SPDX-License-Identifier: MIT
#include "Host/ClickAction.h"

namespace quelm::host {

ClickAction clickAction(const views::ViewNode& root, double x, double y)
{
    const views::ViewNode* target = views::hitTarget(root, x, y);
    if (!target)
        return NoAction {};
    if (const auto* button = target->as<views::node::Button>()) {
        if (!button->enabled)
            return NoAction {};
        return ToggleItemIntent(button->itemID, button->start);
    }
    if (const auto* link = target->as<views::node::Link>())
        return OpenAddress { link->url };
    return NoAction {};
}

}
