// SPDX-License-Identifier: MIT
#include "Host/PlacedWidget.h"

#include "Host/HostTexts.h"
#include "Host/HostTrace.h"
#include "Views/Localizer.h"
#include "Host/RelativeTimeRefresh.h"
#include "Host/TimelineSchedule.h"
#include "Views/WidgetRenderer.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QScreen>
#include <QUrl>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace quelm::host {

namespace {

QString familyText(WidgetFamily family)
{
    const std::string_view name = rawValue(family);
    return QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
}

}

PlacedWidget::PlacedWidget(const QuelmWidget& widget, WidgetInstance instance, const views::Palette& palette, QObject* parent)
    : QObject(parent)
    , m_widget(widget)
    , m_instance(std::move(instance))
    , m_window(std::make_unique<WidgetWindow>(m_instance.family, palette))
    , m_timeline(new TimelineController(widget.provider, m_instance.configuration(), m_instance.family, this))
{
    m_relativeTime.setSingleShot(true);
    // Relative times change on whole seconds; a coarse timer would show them late or twice.
    m_relativeTime.setTimerType(Qt::PreciseTimer);
    connect(&m_relativeTime, &QTimer::timeout, this, [this] { render(WidgetWindow::Transition::none); });
    connect(m_timeline, &TimelineController::entryChanged, this, &PlacedWidget::entryChanged);

    WidgetWindow* window = m_window.get();
    connect(window, &WidgetWindow::actionClicked, this, &PlacedWidget::clicked);
    connect(window, &WidgetWindow::editRequested, this, [this] { edit(); });
    connect(window, &WidgetWindow::familyRequested, this, &PlacedWidget::setFamily);
    connect(window, &WidgetWindow::removeRequested, this, &PlacedWidget::removeRequested);
    connect(window, &WidgetWindow::addRequested, this, &PlacedWidget::addRequested);
    connect(window, &WidgetWindow::quitRequested, this, &PlacedWidget::quitRequested);
    connect(window, &WidgetWindow::moved, this, [this](QPoint position) {
        if (position == m_placedAt)
            return;
        m_placedAt = position;
        const QString screen = screenName();
        if (m_instance.position == position && m_instance.screen == screen)
            return;
        m_instance.position = position;
        m_instance.screen = screen;
        traceWindow();
        emit instanceChanged();
    });
    connect(window, &WidgetWindow::pendingShown, this, [this](const QString& itemID, double milliseconds) {
        HostTrace::line(QStringLiteral("pending %1 %2 %3").arg(m_instance.id, itemID, QString::number(milliseconds, 'f', 2)));
    });
}

PlacedWidget::~PlacedWidget()
{
    if (m_editor)
        m_editor->close();
}

void PlacedWidget::show(QPoint position)
{
    // Asked first: the provider reads the container on a worker thread while this one draws the
    // placeholder. Its answer comes through the event loop, after the placeholder.
    m_timeline->reload();
    if (!m_displayed) {
        TimelineEntry placeholder = m_widget.provider.placeholder(m_instance.timelineContext());
        placeholder.sortOrder = m_instance.sortOrder;
        m_displayed = std::move(placeholder);
        m_showsPlaceholder = true;
        render(WidgetWindow::Transition::none);
    }
    m_placedAt = position;
    m_window->move(position);
    m_window->show();
    if (!m_instance.position || (*m_instance.position == m_window->pos() && m_instance.screen.isEmpty())) {
        m_instance.position = m_window->pos();
        m_instance.screen = screenName();
    }
    traceWindow();
}

void PlacedWidget::moveTo(QPoint position)
{
    if (m_window->pos() == position)
        return;
    m_placedAt = position;
    m_window->move(position);
    traceWindow();
}

QString PlacedWidget::screenName() const
{
    const QScreen* screen = QGuiApplication::screenAt(m_window->geometry().center());
    if (!screen)
        screen = m_window->screen();
    return screen ? screen->name() : QString();
}

void PlacedWidget::traceWindow() const
{
    if (!HostTrace::enabled())
        return;
    const QRect frame = m_window->geometry();
    HostTrace::line(QStringLiteral("window %1 %2 %3 %4 %5 %6")
                        .arg(m_instance.id, familyText(m_instance.family))
                        .arg(frame.x())
                        .arg(frame.y())
                        .arg(frame.width())
                        .arg(frame.height()));
}

void PlacedWidget::setFamily(WidgetFamily family)
{
    if (family == m_instance.family)
        return;
    m_instance.family = family;
    m_window->setFamily(family);
    m_timeline->setFamily(family);
    // The entry is the same in every size; redraw it now rather than wait for the provider.
    render(WidgetWindow::Transition::none);
    traceWindow();
    emit instanceChanged();
}

void PlacedWidget::setSortOrder(WidgetSortOrder sortOrder)
{
    if (sortOrder == m_instance.sortOrder)
        return;
    m_instance.sortOrder = sortOrder;
    m_timeline->setConfiguration(m_instance.configuration());
    emit instanceChanged();
}

ConfigurationDialog& PlacedWidget::edit()
{
    if (!m_editor) {
        m_editor = new ConfigurationDialog(m_instance.sortOrder, m_window.get());
        m_editor->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_editor, &ConfigurationDialog::sortOrderChosen, this, &PlacedWidget::setSortOrder);
    }
    m_editor->show();
    m_editor->raise();
    m_editor->activateWindow();
    return *m_editor;
}

void PlacedWidget::intentFailed(const QString& error)
{
    Q_UNUSED(error);
    m_window->showNotice(hostText(HostTexts::requestFailed));
}

void PlacedWidget::entryChanged(const TimelineEntry& entry)
{
    m_clicksInFlight.dropEnded();
    m_shown = entry;
    const bool wasPlaceholder = std::exchange(m_showsPlaceholder, false);
    const std::optional<TimelineEntry> before = std::exchange(m_displayed, m_clicksInFlight.appliedTo(entry));
    if (wasPlaceholder) {
        // Invented rows give way to the real ones at once: nothing of them should seem to change.
        render(WidgetWindow::Transition::none);
        return;
    }
    if (before && showSameState(*before, *m_displayed)) {
        // Nothing to redraw; the relative-time timer keeps running as it was.
        return;
    }
    render(before ? WidgetWindow::Transition::crossFade : WidgetWindow::Transition::none);
}

void PlacedWidget::render(WidgetWindow::Transition transition)
{
    if (!m_displayed)
        return;
    views::RenderOptions options;
    options.now = Date::now();
    options.currentLocale = views::Localizer::currentLocaleName();
    const WidgetView view = m_widget.content(*m_displayed, m_instance.family);
    views::RenderedWidget rendered = views::renderWidget(view.entry, view.family, options);
    if (HostTrace::enabled() && m_showsPlaceholder)
        HostTrace::line(QStringLiteral("placeholder %1").arg(m_instance.id));
    else if (HostTrace::enabled())
        HostTrace::line(QStringLiteral("render %1 %2").arg(m_instance.id, QString::fromStdString(views::widgetJson(rendered).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace))));
    m_window->setRendered(std::move(rendered), transition);
    scheduleRelativeTimeRefresh();
    emit drawn();
}

void PlacedWidget::scheduleRelativeTimeRefresh()
{
    const Date now = Date::now();
    const auto& rendered = m_window->rendered();
    const auto next = rendered ? nextRelativeTimeChange(rendered->root, now) : std::nullopt;
    if (!next) {
        m_relativeTime.stop();
        return;
    }
    const double milliseconds = std::ceil(std::max(0.0, next->secondsSince(now)) * 1000);
    m_relativeTime.start(std::chrono::milliseconds(static_cast<long long>(milliseconds)));
}

void PlacedWidget::clicked(const ClickAction& action)
{
    // The placeholder's rows are invented; none of them is the user's to start or open.
    if (m_showsPlaceholder)
        return;
    if (const auto* intent = std::get_if<ToggleItemIntent>(&action)) {
        HostTrace::line(QStringLiteral("click %1 toggle %2 %3").arg(m_instance.id, QString::fromStdString(intent->itemID.value_or("")),
            intent->start.value_or(false) ? QStringLiteral("start") : QStringLiteral("stop")));
        m_window->probePending(intent->itemID.value_or(""));
        m_clicksInFlight.add(*intent);
        if (m_shown) {
            m_displayed = m_clicksInFlight.appliedTo(*m_shown);
            render(WidgetWindow::Transition::crossFade);
        }
        emit toggleRequested(*intent);
    } else if (const auto* address = std::get_if<OpenAddress>(&action)) {
        HostTrace::line(QStringLiteral("click %1 open %2").arg(m_instance.id, QString::fromStdString(address->url)));
        QDesktopServices::openUrl(QUrl(QString::fromStdString(address->url)));
    }
}

}
