// SPDX-License-Identifier: MIT
#pragma once

#include "Host/ContainerWatcher.h"
#include "Host/InstanceStore.h"
#include "Host/IntentRunner.h"
#include "Views/Palette.h"
#include "Host/PlacedWidget.h"
#include "Host/WidgetPresenter.h"
#include "Widget/QuelmWidgetBundle.h"
#include "Host/WidgetGallery.h"
#include "Host/WindowPlacement.h"

#include <QObject>
#include <QPointer>
#include <QSystemTrayIcon>
#include <QThreadPool>
#include <QTimer>

#include <iosfwd>
#include <vector>

namespace quelm::host {

// The desktop side of the widget: shows every placed widget of the bundle on the desktop, keeps
// their timelines live, runs their buttons' intents and keeps the list of placed widgets.
//   - Every placed widget reloads when the container's files change, after every intent, and at
//     its timeline's own dates.
//   - A widget saved on a screen that is not connected shows on a connected one meanwhile, its
//     saved place kept, and goes back when its screen returns. New widgets go to free space.
//   - Changes to the list (placing, removing, resizing, re-sorting, moving) are saved soon after,
//     off the UI thread, in the order they happened.
//   - "Sair" in a widget's menu or the tray ends the host (`quitRequested`), every widget kept
//     for next time. Removing the last widget leaves the host running with a way to add one: its
//     tray icon where the desktop has a tray, else the gallery. With no tray, closing the gallery
//     with nothing placed ends the host (`emptied`).
class DesktopHost : public QObject {
    Q_OBJECT

public:
    static constexpr int saveDelayMilliseconds = 500;
    static constexpr int arrangeDelayMilliseconds = 250;
    // How long after the last reload or render the host gives its freed memory back to the
    // system, with the glass backgrounds its renders kept.
    static constexpr int trimDelayMilliseconds = 2000;

    DesktopHost(const QuelmWidgetBundle& bundle, InstanceStore store, QObject* parent = nullptr);
    ~DesktopHost() override;

    enum class WhenEmpty {
        openGallery,
        end, // shows the tray icon where there is a tray; else emits `emptied`
    };
    // Loads the list and shows its widgets; a problem with the saved list is written to `err`.
    void start(std::ostream& err, WhenEmpty whenEmpty = WhenEmpty::openGallery);

    const std::vector<PlacedWidget*>& placedWidgets() const { return m_placed; }
    PlacedWidget* find(const QString& id) const;

    PlacedWidget& place(WidgetInstance);
    void remove(PlacedWidget&);
    WidgetGallery& openGallery();
    // The tray icon, while one is shown.
    QSystemTrayIcon* trayIcon() const { return m_tray; }

    // Writes the list now (still off the UI thread) and waits until every save has ended.
    void flushSaves();

    const ContainerWatcher* containerWatcher() const { return m_watcher; }

    // Shows the widgets placed from now on through `presenter` (which outlives the host) rather
    // than as Qt's own top-level windows.
    void setPresenter(WidgetPresenter& presenter) { m_presenter = &presenter; }
    // Puts every widget where it belongs on `screens` (ScreenArea: the first is the primary):
    // at its saved place when its screen is connected, else where it is when that can be reached,
    // else in free space. Runs by itself whenever screens come, go or change.
    void arrange(const QList<ScreenArea>& screens);
    // The connected screens, the primary first, as Qt knows them.
    static QList<ScreenArea> connectedScreens();
    // The screens widgets may stand on: the presenter's when there is one, else Qt's.
    QList<ScreenArea> screens() const;

signals:
    // No widget is placed and there is no way left to add one.
    void emptied();
    // The user chose "Sair".
    void quitRequested();

private:
    void reloadAll();
    // Where nothing is placed: the tray icon when the desktop has a tray, else the gallery.
    void offerToAdd();
    bool showTrayIcon();
    void intentFinished(const QString& origin, const ToggleItemIntent& intent, const QString& error);
    void saveSoon();
    void saveNow();
    void screensChanged();

    const QuelmWidget& m_widget;
    InstanceStore m_store;
    views::Palette m_palette;
    WidgetPresenter* m_presenter = nullptr; // none: Qt's own windows
    ContainerWatcher* m_watcher;
    IntentRunner* m_intents;
    std::vector<PlacedWidget*> m_placed;
    QPointer<WidgetGallery> m_gallery;
    QSystemTrayIcon* m_tray = nullptr;
    QTimer m_saveTimer;
    QTimer m_arrangeTimer;
    QTimer m_trimTimer;
    QThreadPool m_savePool;
};

}
