// SPDX-License-Identifier: MIT
#include "Timeline/TimelineProvider.h"

#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>

#include <utility>

namespace quelm {

TimelineProvider::TimelineProvider(Clock clock, SnapshotReader readSnapshot)
    : m_clock(clock ? std::move(clock) : Clock(&Date::now))
    , m_readSnapshot(std::move(readSnapshot))
{
}

TimelineEntry TimelineProvider::load() const
{
    const auto store = SharedStore::forAppGroup(SharedConstants::appGroupIdentifier);
    if (!store) {
        TimelineEntry entry;
        entry.date = m_clock();
        entry.snapshot = WidgetSnapshot::empty;
        entry.appStatus = SharedStore::AppStatus::noAccess;
        entry.sortOrder = WidgetSortOrder::category;
        return entry;
    }

    TimelineEntry entry;
    entry.snapshot = m_readSnapshot ? m_readSnapshot(*store) : store->readSnapshot();
    entry.date = m_clock();
    for (const auto& [itemID, command] : store->pendingCommands(entry.snapshot, m_clock(), maximumPendingAge))
        entry.pending.emplace_hint(entry.pending.end(), itemID, command.action);
    entry.appStatus = store->appStatus(m_clock());
    entry.sortOrder = WidgetSortOrder::category; // the caller sets the configured order
    return entry;
}

TimelineEntry TimelineProvider::placeholder(const TimelineContext&) const
{
    return TimelineEntry::sample();
}

TimelineEntry TimelineProvider::snapshot(const QuelmWidgetConfiguration& configuration, const TimelineContext& context) const
{
    TimelineEntry entry = context.isPreview ? TimelineEntry::sample() : load();
    entry.sortOrder = configuration.sortOrder;
    return entry;
}

Timeline TimelineProvider::timeline(const QuelmWidgetConfiguration& configuration, const TimelineContext&) const
{
    TimelineEntry entry = load();
    entry.sortOrder = configuration.sortOrder;

    const Date now = m_clock();
    Timeline timeline;
    timeline.entries.push_back(std::move(entry));
    if (!timeline.entries.front().pending.empty()) {
        TimelineEntry cleared = timeline.entries.front();
        cleared.date = now.addingSeconds(pendingClearDelay);
        cleared.pending.clear();
        timeline.entries.push_back(std::move(cleared));
    }
    timeline.reloadAfter = now.addingSeconds(refreshInterval);
    return timeline;
}

}
