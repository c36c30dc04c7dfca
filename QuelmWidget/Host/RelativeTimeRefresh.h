#pragma once

#include "Entry.h"
#include "WidgetFamily.h"

#include <quelm/Date.h>

#include <optional>

namespace quelm::host {

// When the live "time since" lines that the view of `entry` in `family` shows next read
// differently (each second under a minute, then each minute); none when the view shows no such
// line — a message, the compact small family, or only stopped, busy or undated items. The host
// redraws then, and runs no timer at all otherwise.
std::optional<Date> nextRelativeTimeChange(const Entry& entry, WidgetFamily family, Date now);

}
