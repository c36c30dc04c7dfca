// SPDX-License-Identifier: MIT
#include "Host/WidgetWindow.h"

#include "Host/WidgetMenu.h"
#include "Widget/QuelmWidgetBundle.h"
#include "Views/NoticeView.h"
#include "Host/X11DesktopHints.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QWindow>

#include <cmath>
#include <utility>

namespace quelm::host {

namespace {

QSize windowSize(WidgetFamily family)
{
    const WidgetSize size = quelm::familySize(QuelmWidget::view({}, family).family);
    return { static_cast<int>(std::ceil(size.width)), static_cast<int>(std::ceil(size.height)) };
}

}

WidgetWindow::WidgetWindow(WidgetFamily family, const views::Palette& palette, QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnBottomHint | Qt::NoDropShadowWindowHint)
    , m_family(family)
    , m_palette(palette)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setWindowTitle(QString::fromUtf8(QuelmWidget::configurationDisplayName.data(), static_cast<qsizetype>(QuelmWidget::configurationDisplayName.size())));
    setFixedSize(windowSize(family));
    // The window manager reads these when the window is mapped: they go on before the first show.
    create();
    if (QWindow* handle = windowHandle())
        applyX11DesktopHints(*handle);

    m_fade.setStartValue(0.0);
    m_fade.setEndValue(1.0);
    m_fade.setDuration(crossFadeMilliseconds);
    connect(&m_fade, &QVariantAnimation::valueChanged, this, qOverload<>(&QWidget::update));
    connect(&m_fade, &QVariantAnimation::finished, this, [this] {
        endAnimation();
        update();
    });

    m_noticeTimer.setSingleShot(true);
    m_noticeTimer.setInterval(noticeMilliseconds);
    connect(&m_noticeTimer, &QTimer::timeout, this, [this] {
        m_notice.clear();
        update();
    });
}

void WidgetWindow::setFamily(WidgetFamily family)
{
    if (family == m_family)
        return;
    m_family = family;
    m_fade.stop();
    endAnimation();
    setFixedSize(windowSize(family));
}

void WidgetWindow::setRendered(views::RenderedWidget rendered, Transition transition)
{
    std::optional<views::RenderedWidget> before = std::exchange(m_rendered, std::move(rendered));
    const bool fade = transition == Transition::crossFade && isVisible() && before && before->size == m_rendered->size;
    m_fade.stop();
    endAnimation();
    if (fade) {
        // Images only while the change plays: between changes the window paints its tree.
        const double scale = devicePixelRatioF();
        m_image = views::paintWidget(*m_rendered, scale, m_palette);
        m_transition = views::TransitionView(*before, views::paintWidget(*before, scale, m_palette), *m_rendered, m_image, m_palette);
        m_fade.start();
    }
    if (m_probe && showsBusy(m_probe->itemID))
        m_probe->rendered = true;
    update();
}

void WidgetWindow::endAnimation()
{
    m_transition = {};
    m_image = QImage();
}

bool WidgetWindow::showsBusy(const std::string& itemID) const
{
    if (!m_rendered)
        return false;
    for (const views::ViewNode* node : views::nodesOfType<views::node::Row>(m_rendered->root)) {
        const auto* row = node->as<views::node::Row>();
        if (row->id == itemID && row->busy)
            return true;
    }
    return false;
}

void WidgetWindow::showNotice(const QString& text)
{
    m_notice = text;
    m_noticeTimer.start();
    update();
}

void WidgetWindow::probePending(const std::string& itemID)
{
    m_probe = PendingProbe { itemID, {}, false };
    m_probe->clock.start();
}

ClickAction WidgetWindow::actionAt(QPointF point) const
{
    if (!m_rendered)
        return NoAction {};
    return clickAction(m_rendered->root, point.x(), point.y());
}

void WidgetWindow::paintEvent(QPaintEvent*)
{
    if (!m_image.isNull() && !qFuzzyCompare(m_image.devicePixelRatio(), devicePixelRatioF())) {
        // Moved to a screen of another density mid-change: draw the new render anew rather than scale.
        m_fade.stop();
        endAnimation();
    }

    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(rect(), Qt::transparent);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    const bool animating = !m_transition.isEmpty() && m_fade.state() == QAbstractAnimation::Running;
    if (animating)
        m_transition.paint(painter, m_image, m_fade.currentValue().toDouble());
    else if (m_rendered)
        views::paintWidget(painter, *m_rendered, m_palette);
    if (!m_notice.isEmpty())
        views::NoticeView::paint(painter, rect(), m_notice, m_palette);

    if (m_probe && m_probe->rendered) {
        const double milliseconds = static_cast<double>(m_probe->clock.nsecsElapsed()) / 1e6;
        const QString itemID = QString::fromStdString(m_probe->itemID);
        m_probe.reset();
        emit pendingShown(itemID, milliseconds);
    }
}

void WidgetWindow::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return QWidget::mousePressEvent(event);
    m_pressGlobal = event->globalPosition().toPoint();
    m_pressWindowPosition = pos();
    m_dragging = false;
    m_systemMove = false;
}

void WidgetWindow::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_pressGlobal || !(event->buttons() & Qt::LeftButton))
        return QWidget::mouseMoveEvent(event);
    const QPoint travelled = event->globalPosition().toPoint() - *m_pressGlobal;
    if (!m_dragging && travelled.manhattanLength() < QApplication::startDragDistance())
        return;
    if (!m_dragging) {
        m_dragging = true;
        // The window manager moves the window where it can (and must, under Wayland).
        m_systemMove = windowHandle() && windowHandle()->startSystemMove();
    }
    if (!m_systemMove)
        move(m_pressWindowPosition + travelled);
}

void WidgetWindow::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !m_pressGlobal)
        return QWidget::mouseReleaseEvent(event);
    const bool click = !m_dragging;
    m_pressGlobal.reset();
    m_dragging = false;
    m_systemMove = false;
    if (!click)
        return;
    const ClickAction action = actionAt(event->position());
    if (!std::holds_alternative<NoAction>(action))
        emit actionClicked(action);
}

void WidgetWindow::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu menu(this);
    // Each action carries the index of its choice in `choices`.
    std::vector<MenuChoice> choices;
    const auto addChoice = [&](QMenu& into, const MenuEntry& entry) {
        QAction* action = into.addAction(entry.text);
        action->setData(static_cast<int>(choices.size()));
        // The sizes show which one the widget has, as radio items would.
        action->setCheckable(entry.checked || entry.choice.kind == MenuChoice::Kind::changeFamily);
        action->setChecked(entry.checked);
        choices.push_back(entry.choice);
    };
    for (const MenuEntry& entry : widgetMenu(m_family)) {
        switch (entry.kind) {
        case MenuEntry::Kind::choice:
            addChoice(menu, entry);
            break;
        case MenuEntry::Kind::submenu: {
            QMenu* submenu = menu.addMenu(entry.text);
            for (const MenuEntry& inner : entry.entries)
                addChoice(*submenu, inner);
            break;
        }
        case MenuEntry::Kind::separator:
            menu.addSeparator();
            break;
        }
    }

    const QAction* chosen = menu.exec(event->globalPos());
    if (!chosen || !chosen->data().isValid())
        return;
    const auto index = static_cast<std::size_t>(chosen->data().toInt());
    if (index < choices.size())
        choose(choices[index]);
}

void WidgetWindow::choose(const MenuChoice& choice)
{
    switch (choice.kind) {
    case MenuChoice::Kind::edit:
        emit editRequested();
        break;
    case MenuChoice::Kind::changeFamily:
        emit familyRequested(choice.family);
        break;
    case MenuChoice::Kind::remove:
        emit removeRequested();
        break;
    case MenuChoice::Kind::add:
        emit addRequested();
        break;
    case MenuChoice::Kind::quit:
        emit quitRequested();
        break;
    }
}

void WidgetWindow::moveEvent(QMoveEvent* event)
{
    QWidget::moveEvent(event);
    emit moved(pos());
}

}
