// SPDX-License-Identifier: MIT
#pragma once

#include "Timeline/TimelineEntry.h"
#include "Timeline/Timeline.h"

#include <quelm/Date.h>
#include <quelm/WireFormat.h>

#include <cstddef>
#include <optional>

namespace quelm::host {

// Where a timeline stands at one instant: which entry the widget shows, when the next entry
// takes over and when to ask the provider again. The host arms one timer for `nextChange()` and
// asks again at that instant; nothing runs in between.
struct TimelineSchedule {
    // Index of the entry shown now: the latest one whose date has come (of entries with the same
    // date, the last). Before every entry's date, the earliest entry, so that a fresh timeline
    // never leaves the widget blank. None only for a timeline without entries.
    std::optional<std::size_t> current;
    // When the next entry becomes current; none when no later entry is waiting.
    std::optional<Date> nextEntry;
    // The reload policy's date.
    Date reload;

    // The earlier of `nextEntry` and `reload`.
    Date nextChange() const;
    bool reloadDue(Date now) const { return now >= reload; }

    static TimelineSchedule at(const Timeline&, Date now);

    bool operator==(const TimelineSchedule&) const = default;
};

// When the oldest of the pending marks `entry` shows stops counting as pending: its command's
// issue date plus `maximumAge`, read from `commands` (the store's pending commands). None when the
// entry shows no mark that `commands` holds. The timeline's own cleared entry comes `maximumAge`
// after the timeline was made, which a reload in the meantime (a heartbeat) would push back; the
// host reloads at this date instead, so that a request the app never answers shows busy for
// `maximumAge` at most.
std::optional<Date> pendingLapse(const TimelineEntry& entry, const PendingCommands& commands, double maximumAge);

// Whether two entries draw the same widget: everything but their dates is equal. A reload that
// brings nothing new needs no repaint and no animation.
bool showSameState(const TimelineEntry&, const TimelineEntry&);

}
