#include "Host/DesktopHost.h"

#include "Host/HostTrace.h"
#include "Host/WindowPlacement.h"

#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>

#include <QFile>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
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
        openGallery();
    else
        emit emptied();
}

PlacedWidget* DesktopHost::find(const QString& id) const
{
    const auto found = std::find_if(m_placed.begin(), m_placed.end(), [&](PlacedWidget* placed) { return placed->instance().id == id; });
    return found == m_placed.end() ? nullptr : *found;
}

QList<QRect> DesktopHost::screenAreas() const
{
    QList<QRect> areas;
    if (QScreen* primary = QGuiApplication::primaryScreen())
        areas << primary->availableGeometry();
    for (QScreen* screen : QGuiApplication::screens()) {
        if (screen != QGuiApplication::primaryScreen())
            areas << screen->availableGeometry();
    }
    return areas;
}

PlacedWidget& DesktopHost::place(WidgetInstance instance)
{
    const std::optional<QPoint> saved = instance.position;
    auto* placed = new PlacedWidget(m_widget, std::move(instance), m_palette, this);
    const int placedBefore = static_cast<int>(m_placed.size());
    m_placed.push_back(placed);

    connect(placed, &PlacedWidget::instanceChanged, this, &DesktopHost::saveSoon);
    connect(placed, &PlacedWidget::addRequested, this, [this] { openGallery(); });
    connect(placed, &PlacedWidget::removeRequested, this, [this, placed] { remove(*placed); });
    connect(placed, &PlacedWidget::toggleRequested, this,
        [this, placed](const ToggleItemIntent& intent) { m_intents->run(placed->instance().id, intent); });

    if (m_presenter)
        m_presenter->present(placed->window());
    const QList<QRect> areas = m_presenter ? m_presenter->screenAreas() : screenAreas();
    placed->show(windowPosition(saved, placed->window().size(), areas, placedBefore));
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
        emit emptied();
}

WidgetGallery& DesktopHost::openGallery()
{
    if (!m_gallery) {
        m_gallery = new WidgetGallery(m_widget, m_palette);
        m_gallery->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_gallery, &WidgetGallery::familyChosen, this, [this](WidgetFamily family) { place(WidgetInstance::placed(family)); });
        connect(m_gallery, &QDialog::finished, this, [this] {
            if (m_placed.empty())
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
