// SPDX-License-Identifier: MIT
#pragma once

#include "Timeline/TimelineEntry.h"
#include "Timeline/Timeline.h"
#include "Layout/WidgetLayout.h"

#include <nlohmann/json.hpp>

#include <iosfwd>
#include <optional>
#include <vector>

namespace quelm::cli {

// The JSON that the subcommands print. Dates are numbers of seconds since 1970; a snapshot
// appears in its wire form (quelm::encode), embedded as JSON.
//
// {"date", "appStatus", "sortOrder", "pending": {id: action}, "snapshot": <wire form>}
nlohmann::json entryJson(const TimelineEntry&);
// {"entries": [entry…], "reloadAfter": date, or null when there is no reload policy}
nlohmann::json timelineJson(const std::vector<TimelineEntry>& entries, std::optional<Date> reloadAfter);
// {"sessions": [id…], "groups": [id…], "items": [id…]}
nlohmann::json layoutJson(const WidgetLayout&);

// One compact line; text that is not valid UTF-8 is replaced rather than refused.
void printJson(std::ostream&, const nlohmann::json&);

}
