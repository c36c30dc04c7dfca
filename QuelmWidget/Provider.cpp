#include "Provider.h"

#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>

#include <utility>

namespace quelm {

Provider::Provider(Clock clock)
    : m_clock(clock ? std::move(clock) : Clock(&Date::now))
{
}

Entry Provider::load() const
{
    const auto store = SharedStore::forAppGroup(SharedConstants::appGroupIdentifier);
    if (!store) {
        Entry entry;
        entry.date = m_clock();
        entry.snapshot = WidgetSnapshot::empty;
        entry.appStatus = SharedStore::AppStatus::noAccess;
        entry.sortOrder = WidgetSortOrder::category;
        return entry;
    }

    Entry entry;
    entry.snapshot = store->readSnapshot();
    entry.date = m_clock();
    for (const auto& [itemID, command] : store->pendingCommands(entry.snapshot, m_clock(), maximumPendingAge))
        entry.pending.emplace_hint(entry.pending.end(), itemID, command.action);
    entry.appStatus = store->appStatus(m_clock());
    entry.sortOrder = WidgetSortOrder::category; // the caller sets the configured order
    return entry;
}

Entry Provider::placeholder(const TimelineContext&) const
{
    return Entry::sample();
}

Entry Provider::snapshot(const QuelmWidgetConfiguration& configuration, const TimelineContext& context) const
{
    Entry entry = context.isPreview ? Entry::sample() : load();
    entry.sortOrder = configuration.sortOrder;
    return entry;
}

Timeline Provider::timeline(const QuelmWidgetConfiguration& configuration, const TimelineContext&) const
{
    Entry entry = load();
    entry.sortOrder = configuration.sortOrder;

    const Date now = m_clock();
    Timeline timeline;
    timeline.entries.push_back(std::move(entry));
    if (!timeline.entries.front().pending.empty()) {
        Entry cleared = timeline.entries.front();
        cleared.date = now.addingSeconds(pendingClearDelay);
        cleared.pending.clear();
        timeline.entries.push_back(std::move(cleared));
    }
    timeline.reloadAfter = now.addingSeconds(refreshInterval);
    return timeline;
}

}
