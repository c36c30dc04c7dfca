// SPDX-License-Identifier: MIT
#include "Widget/QuelmWidgetBundle.h"

#include <optional>

namespace quelm {

WidgetView QuelmWidget::view(const TimelineEntry& entry, WidgetFamily family)
{
    const std::optional<WidgetFamily> known = supports(family) ? std::optional(family) : std::nullopt;
    return WidgetView {
        known.value_or(WidgetFamily::large),
        entry,
        WidgetContent::choose(entry.appStatus, entry.snapshot, known),
    };
}

}
