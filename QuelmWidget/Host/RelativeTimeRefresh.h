// SPDX-License-Identifier: MIT
#pragma once

#include "Timeline/TimelineEntry.h"
#include "Views/ViewTree.h"
#include "Widget/WidgetFamily.h"

#include <quelm/Date.h>

#include <optional>

namespace quelm::host {

// When the live "time since" texts of a view tree (those the views mark `liveSince`) next read
// differently: each second under a minute, then each minute. None when the tree holds no such
// text. The host redraws then, and runs no timer at all otherwise.
std::optional<Date> nextRelativeTimeChange(const views::ViewNode& root, Date now);

// The same for the view of `entry` in `family`, as the views build it at `now`. Needs a
// QGuiApplication (the views lay out their texts).
std::optional<Date> nextRelativeTimeChange(const TimelineEntry& entry, WidgetFamily family, Date now);

}
