// SPDX-License-Identifier: MIT
#pragma once

#include "Timeline/TimelineEntry.h"
#include "Widget/QuelmWidgetConfiguration.h"
#include "Timeline/Timeline.h"
#include "Timeline/TimelineContext.h"

#include <quelm/Date.h>
#include <quelm/SharedStore.h>
#include <quelm/WidgetSnapshot.h>

#include <functional>

namespace quelm {

// Answers the host's three questions — placeholder, snapshot, timeline — from the app group's
// container. Keeps nothing between calls (every call reads the container afresh) and never
// reports an error: an unreachable container gives the `noAccess` entry. It holds only the clock,
// so that tests can fix the time, and the way to read the snapshot, so that a host can read it
// only when it changed (SnapshotCache).
class TimelineProvider {
public:
    using Clock = std::function<Date()>;
    // How the live entry's snapshot is read; none reads "snapshot.json" afresh every time.
    using SnapshotReader = std::function<WidgetSnapshot(const SharedStore&)>;

    // A pending command older than this is no longer shown as pending.
    static constexpr double maximumPendingAge = 20;
    // The second entry of a timeline with pending commands is dated this much later.
    static constexpr double pendingClearDelay = 20;
    // Every timeline asks to be reloaded after this many seconds.
    static constexpr double refreshInterval = 1800;

    explicit TimelineProvider(Clock clock = &Date::now, SnapshotReader readSnapshot = {});

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
    SnapshotReader m_readSnapshot;
};

}
