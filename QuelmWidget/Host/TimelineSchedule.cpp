// SPDX-License-Identifier: MIT
#include "Host/TimelineSchedule.h"

#include <algorithm>

namespace quelm::host {

Date TimelineSchedule::nextChange() const
{
    return nextEntry ? std::min(*nextEntry, reload) : reload;
}

TimelineSchedule TimelineSchedule::at(const Timeline& timeline, Date now)
{
    TimelineSchedule schedule;
    schedule.reload = timeline.reloadAfter;
    const auto& entries = timeline.entries;
    if (entries.empty())
        return schedule;

    std::optional<std::size_t> reached;
    std::size_t earliest = 0;
    for (std::size_t index = 0; index < entries.size(); ++index) {
        const Date date = entries[index].date;
        if (date < entries[earliest].date)
            earliest = index;
        if (date <= now && (!reached || date >= entries[*reached].date))
            reached = index;
    }
    schedule.current = reached.value_or(earliest);

    const Date shownFrom = entries[*schedule.current].date;
    for (const TimelineEntry& entry : entries) {
        const bool later = entry.date > now && entry.date > shownFrom;
        if (later && (!schedule.nextEntry || entry.date < *schedule.nextEntry))
            schedule.nextEntry = entry.date;
    }
    return schedule;
}

std::optional<Date> pendingLapse(const TimelineEntry& entry, const PendingCommands& commands, double maximumAge)
{
    std::optional<Date> lapse;
    for (const auto& [itemID, action] : entry.pending) {
        const auto found = commands.find(itemID);
        if (found == commands.end())
            continue;
        const Date date = found->second.issuedAt.addingSeconds(maximumAge);
        if (!lapse || date < *lapse)
            lapse = date;
    }
    return lapse;
}

bool showSameState(const TimelineEntry& a, const TimelineEntry& b)
{
    return a.snapshot == b.snapshot && a.pending == b.pending && a.appStatus == b.appStatus && a.sortOrder == b.sortOrder;
}

}
