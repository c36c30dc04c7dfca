#pragma once

#include "Timeline/TimelineEntry.h"
#include "Widget/QuelmWidgetConfiguration.h"
#include "Timeline/Timeline.h"
#include "Timeline/TimelineContext.h"

#include <quelm/Date.h>

#include <functional>

namespace quelm {

// Answers the host's three questions — placeholder, snapshot, timeline — from the app group's
// container. Keeps nothing between calls (every call reads the container afresh) and never
// reports an error: an unreachable container gives the `noAccess` entry. The clock is the only
// thing it holds, so that tests can fix the time.
class TimelineProvider {
public:
    using Clock = std::function<Date()>;

    // A pending command older than this is no longer shown as pending.
    static constexpr double maximumPendingAge = 20;
    // The second entry of a timeline with pending commands is dated this much later.
    static constexpr double pendingClearDelay = 20;
    // Every timeline asks to be reloaded after this many seconds.
    static constexpr double refreshInterval = 1800;

    explicit TimelineProvider(Clock clock = &Date::now);

    // `TimelineEntry::sample()`, unchanged (sort order `category`).
    TimelineEntry placeholder(const TimelineContext&) const;
    // The sample for a preview, the live entry otherwise; with the configured sort order.
    TimelineEntry snapshot(const QuelmWidgetConfiguration&, const TimelineContext&) const;
    // The live entry, plus a copy without pending marks `pendingClearDelay` later when there are
    // any; reload after `refreshInterval`.
    Timeline timeline(const QuelmWidgetConfiguration&, const TimelineContext&) const;

private:
    TimelineEntry load() const;

    Clock m_clock;
};

}
