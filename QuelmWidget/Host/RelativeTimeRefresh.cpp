// SPDX-License-Identifier: MIT
#include "Host/RelativeTimeRefresh.h"

#include "Text/RelativeTime.h"
#include "Views/WidgetRenderer.h"

#include <algorithm>

namespace quelm::host {

std::optional<Date> nextRelativeTimeChange(const views::ViewNode& root, Date now)
{
    std::optional<Date> next;
    for (const views::ViewNode* node : views::nodesOfType<views::node::Text>(root)) {
        const auto& since = node->as<views::node::Text>()->liveSince;
        if (!since)
            continue;
        const Date change = RelativeTime::nextChange(*since, now);
        next = next ? std::min(*next, change) : change;
    }
    return next;
}

std::optional<Date> nextRelativeTimeChange(const TimelineEntry& entry, WidgetFamily family, Date now)
{
    views::RenderOptions options;
    options.now = now;
    return nextRelativeTimeChange(views::renderWidget(entry, family, options).root, now);
}

}
