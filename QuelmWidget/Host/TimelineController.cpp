// SPDX-License-Identifier: MIT
#include "Host/TimelineController.h"

#include "Timeline/TimelineContext.h"

#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>

#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

namespace quelm::host {

namespace {

// The provider's timeline, asked to be reloaded no later than when its oldest pending mark lapses.
Timeline timelineWithPendingLapse(const TimelineProvider& provider, const QuelmWidgetConfiguration& configuration, const TimelineContext& context)
{
    Timeline timeline = provider.timeline(configuration, context);
    if (timeline.entries.empty() || timeline.entries.front().pending.empty())
        return timeline;
    const auto store = SharedStore::forAppGroup(SharedConstants::appGroupIdentifier);
    if (!store)
        return timeline;
    const TimelineEntry& entry = timeline.entries.front();
    // As the provider read them: the same snapshot, no maximum age of their own.
    const PendingCommands commands = store->pendingCommands(entry.snapshot, entry.date, TimelineProvider::maximumPendingAge);
    if (const auto lapse = pendingLapse(entry, commands, TimelineProvider::maximumPendingAge))
        timeline.reloadAfter = std::min(timeline.reloadAfter, *lapse);
    return timeline;
}

// QTimer counts in int milliseconds; a longer wait is cut and the schedule looked at again.
constexpr double longestWait = 24.0 * 60 * 60;

std::chrono::milliseconds waitUntil(Date date, Date now)
{
    const double seconds = std::clamp(date.secondsSince(now), 0.0, longestWait);
    // Rounded up: a timer that fires a hair early would find nothing due and fire again at once.
    return std::chrono::milliseconds(static_cast<long long>(std::ceil(seconds * 1000)));
}

}

TimelineController::TimelineController(TimelineProvider provider, QuelmWidgetConfiguration configuration, WidgetFamily family, QObject* parent)
    : QObject(parent)
    , m_provider(std::move(provider))
    , m_configuration(configuration)
    , m_family(family)
{
    m_nextChange.setSingleShot(true);
    connect(&m_nextChange, &QTimer::timeout, this, &TimelineController::advance);
    connect(&m_loading, &QFutureWatcher<Timeline>::finished, this, &TimelineController::timelineArrived);
}

TimelineController::~TimelineController()
{
    // The provider's task holds copies only; waiting keeps its thread from outliving the watcher.
    m_loading.waitForFinished();
}

void TimelineController::setConfiguration(QuelmWidgetConfiguration configuration)
{
    if (configuration == m_configuration)
        return;
    m_configuration = configuration;
    ++m_generation;
    reload();
}

void TimelineController::setFamily(WidgetFamily family)
{
    if (family == m_family)
        return;
    m_family = family;
    ++m_generation;
    reload();
}

void TimelineController::reload()
{
    if (m_loading.isRunning()) {
        m_reloadWaiting = true;
        return;
    }
    startLoading();
}

void TimelineController::startLoading()
{
    m_reloadWaiting = false;
    m_loadingGeneration = m_generation;
    m_loading.setFuture(QtConcurrent::run([provider = m_provider, configuration = m_configuration, context = TimelineContext { m_family, false }] {
        return timelineWithPendingLapse(provider, configuration, context);
    }));
}

void TimelineController::timelineArrived()
{
    const bool current = m_loadingGeneration == m_generation;
    if (current) {
        m_timeline = m_loading.result();
        m_currentIndex.reset();
    }
    if (m_reloadWaiting || !current) {
        startLoading();
        if (!current)
            return;
    }
    advance();
}

std::optional<Date> TimelineController::reloadDate() const
{
    if (!m_timeline)
        return std::nullopt;
    return m_timeline->reloadAfter;
}

void TimelineController::advance()
{
    if (!m_timeline)
        return;
    const Date now = Date::now();
    const TimelineSchedule schedule = TimelineSchedule::at(*m_timeline, now);
    if (schedule.current && schedule.current != m_currentIndex) {
        m_currentIndex = schedule.current;
        m_current = m_timeline->entries[*schedule.current];
        emit entryChanged(*m_current);
    }
    if (schedule.reloadDue(now)) {
        m_nextChange.stop();
        reload();
        return;
    }
    m_nextChange.start(waitUntil(schedule.nextChange(), now));
}

}
