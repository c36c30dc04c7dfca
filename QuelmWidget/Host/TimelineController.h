// SPDX-License-Identifier: MIT
#pragma once

#include "Timeline/TimelineEntry.h"
#include "Timeline/TimelineProvider.h"
#include "Widget/QuelmWidgetConfiguration.h"
#include "Timeline/Timeline.h"
#include "Host/TimelineSchedule.h"
#include "Widget/WidgetFamily.h"

#include <QFutureWatcher>
#include <QObject>
#include <QTimer>

#include <optional>

namespace quelm::host {

// Keeps one placed widget's timeline: asks the provider for it off the UI thread, makes each
// entry current from its date, and asks again at the reload policy's date or whenever `reload()`
// is called — and, while the entry shows pending marks, when the oldest of them lapses. Requests made while one is under way are merged into one more request. Between
// changes it runs exactly one single-shot timer.
class TimelineController : public QObject {
    Q_OBJECT

public:
    TimelineController(TimelineProvider provider, QuelmWidgetConfiguration, WidgetFamily, QObject* parent = nullptr);
    ~TimelineController() override;

    void setConfiguration(QuelmWidgetConfiguration);
    void setFamily(WidgetFamily);
    const QuelmWidgetConfiguration& configuration() const { return m_configuration; }
    WidgetFamily family() const { return m_family; }

    // Asks the provider for a new timeline.
    void reload();
    bool isLoading() const { return m_loading.isRunning(); }

    const std::optional<TimelineEntry>& currentEntry() const { return m_current; }
    // When the current timeline asks to be reloaded; none before the first.
    std::optional<Date> reloadDate() const;

signals:
    // Another entry became current (possibly showing the same state as the one before).
    void entryChanged(const quelm::TimelineEntry& entry);

private:
    void startLoading();
    void timelineArrived();
    // Makes the entry due now current and arms the timer for the next change.
    void advance();

    TimelineProvider m_provider;
    QuelmWidgetConfiguration m_configuration;
    WidgetFamily m_family;
    // Bumped when the configuration or family changes: a timeline asked for before is dropped.
    quint64 m_generation = 0;
    quint64 m_loadingGeneration = 0;
    bool m_reloadWaiting = false;

    QFutureWatcher<Timeline> m_loading;
    std::optional<Timeline> m_timeline;
    std::optional<std::size_t> m_currentIndex;
    std::optional<TimelineEntry> m_current;
    QTimer m_nextChange;
};

}
