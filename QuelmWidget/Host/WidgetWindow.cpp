#include "WidgetWindow.h"

#include "HostTexts.h"
#include "QuelmWidgetBundle.h"
#include "QuelmWidgetView.h"

#include <QActionGroup>
#include <QApplication>
#include <QContextMenuEvent>
#include <QFontMetricsF>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QWindow>

#include <cmath>
#include <utility>

namespace quelm::host {

namespace {

QSize familySize(WidgetFamily family)
{
    const views::Size size = views::QuelmWidgetView::size(QuelmWidget::view({}, family).family);
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
    setFixedSize(familySize(family));

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
    setFixedSize(familySize(family));
}

void WidgetWindow::setRendered(views::RenderedWidget rendered, Transition transition)
{
    std::optional<views::RenderedWidget> before = std::exchange(m_rendered, std::move(rendered));
    const bool fade = transition == Transition::crossFade && isVisible();
    QImage old = std::move(m_image);
    refreshImage();
    m_fade.stop();
    endAnimation();
    if (fade && !old.isNull() && old.size() == m_image.size()) {
        m_previous = std::move(old);
        if (before && before->size == m_rendered->size) {
            m_plan = views::RenderTransition::between(before->root, m_rendered->root);
            if (!m_plan.isEmpty()) {
                // Painted once here: a frame of the animation only composes images.
                const double scale = m_image.devicePixelRatio();
                before->root = m_plan.previousBackground(before->root);
                m_previousBackground = views::paintWidget(*before, scale, m_palette);
                views::RenderedWidget blanked = *m_rendered;
                blanked.root = m_plan.nextBackground(m_rendered->root);
                m_background = views::paintWidget(blanked, scale, m_palette);
            }
        }
        m_fade.start();
    }
    if (m_probe && showsBusy(m_probe->itemID))
        m_probe->rendered = true;
    update();
}

void WidgetWindow::endAnimation()
{
    m_previous = QImage();
    m_plan = {};
    m_previousBackground = QImage();
    m_background = QImage();
}

void WidgetWindow::refreshImage()
{
    if (m_rendered)
        m_image = views::paintWidget(*m_rendered, devicePixelRatioF(), m_palette);
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
        // Moved to a screen of another density: draw anew rather than scale.
        refreshImage();
        endAnimation();
    }

    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(rect(), Qt::transparent);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    const bool animating = !m_previous.isNull() && m_fade.state() == QAbstractAnimation::Running;
    const double progress = animating ? m_fade.currentValue().toDouble() : 1;
    if (animating) {
        // The glass is opaque inside the widget's shape, so the new render laid over the old one
        // at a growing opacity ends exactly on the new render.
        painter.drawImage(QPointF(0, 0), m_previous);
        painter.setOpacity(progress);
    }
    if (!m_image.isNull())
        painter.drawImage(QPointF(0, 0), m_image);
    painter.setOpacity(1);
    if (animating && !m_background.isNull()) {
        for (const views::RenderTransition::Region& region : m_plan.regions())
            paintRegion(painter, region, progress);
    }
    if (!m_notice.isEmpty())
        paintNotice(painter);

    if (m_probe && m_probe->rendered) {
        const double milliseconds = static_cast<double>(m_probe->clock.nsecsElapsed()) / 1e6;
        const QString itemID = QString::fromStdString(m_probe->itemID);
        m_probe.reset();
        emit pendingShown(itemID, milliseconds);
    }
}

void WidgetWindow::paintRegion(QPainter& painter, const views::RenderTransition::Region& region, double progress) const
{
    using Kind = views::RenderTransition::Kind;
    // Antialiasing reaches a pixel past the frame; a halo, its radius.
    const double bleed = region.bleed + 1;
    const QRectF area = QRectF(region.frame.x, region.frame.y, region.frame.width, region.frame.height).adjusted(-bleed, -bleed, bleed, bleed);
    const double scale = m_image.devicePixelRatio();
    const QRectF source(area.topLeft() * scale, area.size() * scale);

    painter.save();
    painter.setClipRect(area);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    // Underneath, the place without either content, fading like the rest of the widget.
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.drawImage(area, m_previousBackground, source);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setOpacity(progress);
    painter.drawImage(area, m_background, source);

    QRectF leaving = area;
    QRectF arriving = area;
    if (region.kind == Kind::roll) {
        // Up: the old line leaves through the top while the new one rises from below.
        const double travel = region.direction == views::RenderTransition::Direction::up ? -area.height() : area.height();
        leaving.translate(0, travel * progress);
        arriving.translate(0, -travel * (1 - progress));
    } else {
        const auto scaled = [&](double factor) {
            QRectF rect(QPointF(0, 0), area.size() * factor);
            rect.moveCenter(area.center());
            return rect;
        };
        leaving = scaled(1 - 0.5 * progress);
        arriving = scaled(0.5 + 0.5 * progress);
    }
    painter.setOpacity(1 - progress);
    painter.drawImage(leaving, m_previous, source);
    painter.setOpacity(progress);
    painter.drawImage(arriving, m_image, source);
    painter.restore();
}

void WidgetWindow::paintNotice(QPainter& painter) const
{
    QFont font = this->font();
    font.setPixelSize(11);
    font.setWeight(QFont::Medium);
    const QFontMetricsF metrics(font);
    const double padding = 8;
    const double width = std::min(metrics.horizontalAdvance(m_notice) + 2 * padding, rect().width() - 16.0);
    const QRectF box((rect().width() - width) / 2, rect().height() - 16 - metrics.height() - 2 * padding / 2, width,
        metrics.height() + padding);

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath pill;
    pill.addRoundedRect(box, box.height() / 2, box.height() / 2);
    painter.fillPath(pill, QColor(150, 28, 28, 235));
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(box.adjusted(padding, 0, -padding, 0), Qt::AlignCenter,
        metrics.elidedText(m_notice, Qt::ElideRight, box.width() - 2 * padding));
    painter.restore();
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

    const QAction* chosen = menu.exec(event->globalPos());
    if (!chosen)
        return;
    if (chosen == edit)
        emit editRequested();
    else if (chosen == remove)
        emit removeRequested();
    else if (chosen == add)
        emit addRequested();
    else if (chosen->actionGroup() == &familyGroup)
        emit familyRequested(static_cast<WidgetFamily>(chosen->data().toInt()));
}

void WidgetWindow::moveEvent(QMoveEvent* event)
{
    QWidget::moveEvent(event);
    emit moved(pos());
}

}
