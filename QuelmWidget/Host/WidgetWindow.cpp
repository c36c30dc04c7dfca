// SPDX-License-Identifier: MIT
#include "Host/WidgetWindow.h"

#include "Host/HostTexts.h"
#include "Widget/QuelmWidgetBundle.h"
#include "Views/NoticeView.h"
#include "Host/X11DesktopHints.h"

#include <QActionGroup>
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
    QAction* edit = menu.addAction(hostText(HostTexts::edit));
    QMenu* sizes = menu.addMenu(hostText(HostTexts::size));
    QActionGroup familyGroup(sizes);
    for (const WidgetFamily family : QuelmWidget::supportedFamilies) {
        QAction* choice = sizes->addAction(familyDisplayName(family));
        choice->setCheckable(true);
        choice->setChecked(family == m_family);
        choice->setData(static_cast<int>(family));
        familyGroup.addAction(choice);
    }
    QAction* remove = menu.addAction(hostText(HostTexts::remove));
    menu.addSeparator();
    QAction* add = menu.addAction(hostText(HostTexts::add));
    menu.addSeparator();
    QAction* quit = menu.addAction(hostText(HostTexts::quit));

    const QAction* chosen = menu.exec(event->globalPos());
    if (!chosen)
        return;
    if (chosen == edit)
        emit editRequested();
    else if (chosen == remove)
        emit removeRequested();
    else if (chosen == add)
        emit addRequested();
    else if (chosen == quit)
        emit quitRequested();
    else if (chosen->actionGroup() == &familyGroup)
        emit familyRequested(static_cast<WidgetFamily>(chosen->data().toInt()));
}

void WidgetWindow::moveEvent(QMoveEvent* event)
{
    QWidget::moveEvent(event);
    emit moved(pos());
}

}
