#pragma once

#include "Host/ContainerWatcher.h"
#include "Host/InstanceStore.h"
#include "Host/IntentRunner.h"
#include "Views/Palette.h"
#include "Host/PlacedWidget.h"
#include "Host/WidgetPresenter.h"
#include "Widget/QuelmWidgetBundle.h"
#include "Host/WidgetGallery.h"

#include <QObject>
#include <QPointer>
#include <QThreadPool>
#include <QTimer>

#include <iosfwd>
#include <vector>

namespace quelm::host {

// The desktop side of the widget: shows every placed widget of the bundle on the desktop, keeps
// their timelines live, runs their buttons' intents and keeps the list of placed widgets.
//   - Every placed widget reloads when the container's files change, after every intent, and at
//     its timeline's own dates.
//   - Changes to the list (placing, removing, resizing, re-sorting, moving) are saved soon after,
//     off the UI thread, in the order they happened.
//   - Removing the last widget ends the host (`emptied`); starting with an empty list opens the
//     gallery instead.
class DesktopHost : public QObject {
    Q_OBJECT

public:
    static constexpr int saveDelayMilliseconds = 500;

    DesktopHost(const QuelmWidgetBundle& bundle, InstanceStore store, QObject* parent = nullptr);
    ~DesktopHost() override;

    enum class WhenEmpty {
        openGallery,
        end, // emits `emptied`
    };
    // Loads the list and shows its widgets; a problem with the saved list is written to `err`.
    void start(std::ostream& err, WhenEmpty whenEmpty = WhenEmpty::openGallery);

    const std::vector<PlacedWidget*>& placedWidgets() const { return m_placed; }
    PlacedWidget* find(const QString& id) const;

    PlacedWidget& place(WidgetInstance);
    void remove(PlacedWidget&);
    WidgetGallery& openGallery();

    // Writes the list now (still off the UI thread) and waits until every save has ended.
    void flushSaves();

    const ContainerWatcher* containerWatcher() const { return m_watcher; }

    // Shows the widgets placed from now on through `presenter` (which outlives the host) rather
    // than as Qt's own top-level windows.
    void setPresenter(WidgetPresenter& presenter) { m_presenter = &presenter; }

signals:
    // The last widget is gone.
    void emptied();

private:
    void reloadAll();
    void intentFinished(const QString& origin, const ToggleItemIntent& intent, const QString& error);
    void saveSoon();
    void saveNow();
    QList<QRect> screenAreas() const;

    const QuelmWidget& m_widget;
    InstanceStore m_store;
    views::Palette m_palette;
    WidgetPresenter* m_presenter = nullptr; // none: Qt's own windows
    ContainerWatcher* m_watcher;
    IntentRunner* m_intents;
    std::vector<PlacedWidget*> m_placed;
    QPointer<WidgetGallery> m_gallery;
    QTimer m_saveTimer;
    QThreadPool m_savePool;
};

}
