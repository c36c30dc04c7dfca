// SPDX-License-Identifier: MIT
#include "Host/DesktopHost.h"

#include "Host/ApplicationIcon.h"
#include "Host/HostTexts.h"
#include "Host/HostTrace.h"
#include "Host/WindowPlacement.h"
#include "Views/GlassView.h"

#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>

#include <QFile>
#include <QGuiApplication>
#include <QMenu>
#include <QScreen>

#include <algorithm>
#include <malloc.h>
#include <iostream>

namespace quelm::host {

namespace {

QString containerRoot()
{
    const auto store = SharedStore::forAppGroup(SharedConstants::appGroupIdentifier);
    return store ? QString::fromStdString(store->root().string()) : QString();
}

}

DesktopHost::DesktopHost(const QuelmWidgetBundle& bundle, InstanceStore store, QObject* parent)
    : QObject(parent)
    , m_widget(bundle.widget())
    , m_store(std::move(store))
    , m_palette(views::Palette::fromDesktop())
    , m_watcher(new ContainerWatcher(containerRoot(), this))
    , m_intents(new IntentRunner(this))
{
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(saveDelayMilliseconds);
    connect(&m_saveTimer, &QTimer::timeout, this, &DesktopHost::saveNow);
    // One writer at a time, so the saves land in the order they were made.
    m_savePool.setMaxThreadCount(1);

    connect(m_watcher, &ContainerWatcher::changed, this, &DesktopHost::reloadAll);

    // A click's renders, images and timelines come and go within a second; the allocator keeps
    // the pages they freed unless asked. Once the widgets are quiet, the host hands them back, so
    // that it stays as small after a thousand clicks as at start. The glass backgrounds go too:
    // a window keeps its pixels, and a quiet widget may not render again for minutes.
    m_trimTimer.setSingleShot(true);
    m_trimTimer.setInterval(trimDelayMilliseconds);
    connect(&m_trimTimer, &QTimer::timeout, this, [] {
        views::GlassView::forgetBackgrounds();
        ::malloc_trim(0);
    });

    m_arrangeTimer.setSingleShot(true);
    m_arrangeTimer.setInterval(arrangeDelayMilliseconds);
    connect(&m_arrangeTimer, &QTimer::timeout, this, [this] { arrange(screens()); });
    if (auto* application = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        connect(application, &QGuiApplication::screenAdded, this, &DesktopHost::screensChanged);
        connect(application, &QGuiApplication::screenRemoved, this, &DesktopHost::screensChanged);
        connect(application, &QGuiApplication::primaryScreenChanged, this, &DesktopHost::screensChanged);
        screensChanged();
        m_arrangeTimer.stop();
    }
    connect(m_intents, &IntentRunner::finished, this, &DesktopHost::intentFinished);
}

DesktopHost::~DesktopHost()
{
    if (m_saveTimer.isActive())
        saveNow();
    m_savePool.waitForDone();
    m_intents->waitForDone();
}

void DesktopHost::start(std::ostream& err, WhenEmpty whenEmpty)
{
    const bool existed = QFile::exists(m_store.filePath());
    InstanceStore::Loaded loaded = m_store.load();
    if (loaded.problem)
        err << loaded.problem->toStdString() << std::endl;
    for (WidgetInstance& instance : loaded.instances)
        place(std::move(instance));
    if (!existed || loaded.problem)
        saveNow();
    if (!m_placed.empty())
        return;
    if (whenEmpty == WhenEmpty::openGallery)
        offerToAdd();
    else if (!showTrayIcon())
        emit emptied();
}

bool DesktopHost::showTrayIcon()
{
    if (m_tray)
        return true;
    if (!QSystemTrayIcon::isSystemTrayAvailable())
        return false;
    m_tray = new QSystemTrayIcon(applicationIcon(), this);
    m_tray->setToolTip(widgetText(QuelmWidget::configurationDisplayName));
    auto* menu = new QMenu();
    connect(m_tray, &QObject::destroyed, menu, &QObject::deleteLater);
    connect(menu->addAction(hostText(HostTexts::add)), &QAction::triggered, this, [this] { openGallery(); });
    menu->addSeparator();
    connect(menu->addAction(hostText(HostTexts::quit)), &QAction::triggered, this, &DesktopHost::quitRequested);
    m_tray->setContextMenu(menu);
    connect(m_tray, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            openGallery();
    });
    m_tray->show();
    return true;
}

void DesktopHost::offerToAdd()
{
    showTrayIcon();
    openGallery();
}

PlacedWidget* DesktopHost::find(const QString& id) const
{
    const auto found = std::find_if(m_placed.begin(), m_placed.end(), [&](PlacedWidget* placed) { return placed->instance().id == id; });
    return found == m_placed.end() ? nullptr : *found;
}

QList<ScreenArea> DesktopHost::connectedScreens()
{
    QList<ScreenArea> areas;
    if (QScreen* primary = QGuiApplication::primaryScreen())
        areas.append({ primary->name(), primary->availableGeometry() });
    for (QScreen* screen : QGuiApplication::screens()) {
        if (screen != QGuiApplication::primaryScreen())
            areas.append({ screen->name(), screen->availableGeometry() });
    }
    return areas;
}

QList<ScreenArea> DesktopHost::screens() const
{
    return m_presenter ? m_presenter->screens() : connectedScreens();
}

void DesktopHost::screensChanged()
{
    // A screen's areas settle after it is announced; arrange once they have.
    m_arrangeTimer.start();
    for (QScreen* screen : QGuiApplication::screens())
        connect(screen, &QScreen::availableGeometryChanged, &m_arrangeTimer, qOverload<>(&QTimer::start), Qt::UniqueConnection);
}

void DesktopHost::arrange(const QList<ScreenArea>& screens)
{
    QList<QRect> placedRects;
    for (PlacedWidget* placed : m_placed) {
        const WidgetInstance& instance = placed->instance();
        const QSize size = placed->window().size();
        const QRect now(placed->window().pos(), size);
        QPoint target = now.topLeft();
        const std::optional<SavedPlace> saved = instance.position ? std::optional(SavedPlace { *instance.position, instance.screen }) : std::nullopt;
        if (saved && savedPlaceIsShown(*saved, size, screens))
            target = saved->position;
        else if (!savedPlaceIsShown(SavedPlace { now.topLeft(), {} }, size, screens))
            target = windowPosition(std::nullopt, size, screens, placedRects);
        placed->moveTo(target);
        placedRects.append(QRect(target, size));
    }
}

PlacedWidget& DesktopHost::place(WidgetInstance instance)
{
    const std::optional<SavedPlace> saved = instance.position ? std::optional(SavedPlace { *instance.position, instance.screen }) : std::nullopt;
    QList<QRect> occupied;
    for (PlacedWidget* other : m_placed)
        occupied.append(other->window().geometry());
    auto* placed = new PlacedWidget(m_widget, std::move(instance), m_palette, this);
    m_placed.push_back(placed);

    connect(placed, &PlacedWidget::instanceChanged, this, &DesktopHost::saveSoon);
    connect(placed, &PlacedWidget::drawn, &m_trimTimer, qOverload<>(&QTimer::start));
    connect(placed, &PlacedWidget::addRequested, this, [this] { openGallery(); });
    connect(placed, &PlacedWidget::quitRequested, this, &DesktopHost::quitRequested);
    connect(placed, &PlacedWidget::removeRequested, this, [this, placed] { remove(*placed); });
    connect(placed, &PlacedWidget::toggleRequested, this,
        [this, placed](const ToggleItemIntent& intent) { m_intents->run(placed->instance().id, intent); });

    if (m_presenter)
        m_presenter->present(placed->window());
    placed->show(windowPosition(saved, placed->window().size(), screens(), occupied));
    saveSoon();
    return *placed;
}

void DesktopHost::remove(PlacedWidget& placed)
{
    const auto found = std::find(m_placed.begin(), m_placed.end(), &placed);
    if (found == m_placed.end())
        return;
    m_placed.erase(found);
    placed.window().hide();
    // It may be in the middle of its own menu's signal; let that return first.
    placed.deleteLater();
    saveNow();
    if (m_placed.empty())
        offerToAdd();
}

WidgetGallery& DesktopHost::openGallery()
{
    if (!m_gallery) {
        m_gallery = new WidgetGallery(m_widget, m_palette);
        m_gallery->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_gallery, &WidgetGallery::familyChosen, this, [this](WidgetFamily family) { place(WidgetInstance::placed(family)); });
        connect(m_gallery, &QDialog::finished, this, [this] {
            if (m_placed.empty() && !m_tray)
                emit emptied();
        });
    }
    m_gallery->show();
    m_gallery->raise();
    m_gallery->activateWindow();
    return *m_gallery;
}

void DesktopHost::reloadAll()
{
    m_trimTimer.start();
    for (PlacedWidget* placed : m_placed)
        placed->reload();
}

void DesktopHost::intentFinished(const QString& origin, const ToggleItemIntent& intent, const QString& error)
{
    HostTrace::line(QStringLiteral("intent %1 %2 %3").arg(origin, error.isEmpty() ? QStringLiteral("ok") : QStringLiteral("failed"),
        error.isEmpty() ? QString::fromStdString(intent.itemID.value_or("")) : error));
    if (PlacedWidget* placed = find(origin)) {
        placed->intentEnded(intent.itemID.value_or(""));
        if (!error.isEmpty())
            placed->intentFailed(error);
    }
    // The intent marked its item pending: every widget shows it now, not at its next reload.
    reloadAll();
}

void DesktopHost::saveSoon()
{
    m_saveTimer.start();
}

void DesktopHost::saveNow()
{
    m_saveTimer.stop();
    std::vector<WidgetInstance> instances;
    for (const PlacedWidget* placed : m_placed)
        instances.push_back(placed->instance());
    m_savePool.start([store = m_store, instances = std::move(instances)] {
        try {
            store.save(instances);
        } catch (const std::exception& error) {
            std::cerr << "quelm-widget: " << error.what() << std::endl;
        }
    });
}

void DesktopHost::flushSaves()
{
    if (m_saveTimer.isActive())
        saveNow();
    m_savePool.waitForDone();
}

}
