// SPDX-License-Identifier: MIT
#pragma once

#include "Timeline/TimelineEntry.h"

#include <quelm/Date.h>

#include <vector>

namespace quelm {

// What the provider hands the host: the entries, each shown from its date on, and the reload
// policy — the host asks for a new timeline once `reloadAfter` has passed.
struct Timeline {
    std::vector<TimelineEntry> entries;
    Date reloadAfter;

    bool operator==(const Timeline&) const = default;
};

}
