// SPDX-License-Identifier: MIT
#pragma once

#include "Host/ConfigurationDialog.h"
#include "Timeline/TimelineEntry.h"
#include "Widget/QuelmWidgetBundle.h"
#include "Host/ClicksInFlight.h"
#include "Host/TimelineController.h"
#include "Host/WidgetInstance.h"
#include "Host/WidgetWindow.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <memory>
#include <optional>

namespace quelm::host {

// One placed widget at work: its window, its timeline and its configuration, joined. Until the
// first timeline arrives the window shows the provider's placeholder, never an empty rectangle;
// its buttons do nothing meanwhile. Each new entry is drawn (faded in when it shows another state), live relative times are redrawn when
// their text changes and only then, and the window's clicks and menu choices become requests to
// the host or changes of this instance.
class PlacedWidget : public QObject {
    Q_OBJECT

public:
    PlacedWidget(const QuelmWidget& widget, WidgetInstance instance, const views::Palette& palette, QObject* parent = nullptr);
    ~PlacedWidget() override;

    const WidgetInstance& instance() const { return m_instance; }
    WidgetWindow& window() { return *m_window; }
    TimelineController& timeline() { return *m_timeline; }
    const std::optional<TimelineEntry>& shownEntry() const { return m_shown; }
    // Whether the window shows the placeholder, waiting for the first timeline.
    bool showsPlaceholder() const { return m_showsPlaceholder; }

    // Shows the window at `position` and asks for the first timeline. The instance keeps its saved
    // place when it has one (shown elsewhere while its screen is not connected); a new instance
    // takes `position` as its place.
    void show(QPoint position);
    // Moves the window for the host (its screen came back or went away); the saved place stays.
    void moveTo(QPoint position);
    void reload() { m_timeline->reload(); }

    void setFamily(WidgetFamily);
    void setSortOrder(WidgetSortOrder);
    // Opens the edit sheet (or raises it when it is open already).
    ConfigurationDialog& edit();

    // A toggle intent asked by this widget failed: say so briefly, change nothing else.
    void intentFailed(const QString& error);
    // A toggle intent asked by this widget has ended; the next entry shows what it left.
    void intentEnded(const std::string& itemID) { m_clicksInFlight.end(itemID); }

signals:
    // The family, sort order or position changed: the host saves.
    void instanceChanged();
    void removeRequested();
    void addRequested();
    void quitRequested();
    void toggleRequested(const quelm::ToggleItemIntent& intent);
    // The window was given a new render.
    void drawn();

private:
    void entryChanged(const TimelineEntry&);
    void render(WidgetWindow::Transition);
    void scheduleRelativeTimeRefresh();
    void clicked(const ClickAction&);
    void traceWindow() const;
    // The name of the screen the window is on.
    QString screenName() const;

    const QuelmWidget& m_widget;
    WidgetInstance m_instance;
    std::unique_ptr<WidgetWindow> m_window;
    TimelineController* m_timeline;
    QTimer m_relativeTime;
    std::optional<TimelineEntry> m_shown; // the provider's
    ClicksInFlight m_clicksInFlight;
    // What is drawn: the provider's entry with the clicks not yet answered shown pending.
    std::optional<TimelineEntry> m_displayed;
    bool m_showsPlaceholder = false;
    // Where the host last put the window; a move elsewhere is the user's, and is saved.
    std::optional<QPoint> m_placedAt;
    QPointer<ConfigurationDialog> m_editor;
};

}
