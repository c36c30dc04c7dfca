// SPDX-License-Identifier: MIT
#include "Views/TransitionView.h"

#include <QPainter>

#include <utility>

namespace quelm::views {

TransitionView::TransitionView(const RenderedWidget& before, QImage previousImage, const RenderedWidget& after,
    const QImage& nextImage, const Palette& palette)
{
    if (previousImage.isNull() || previousImage.size() != nextImage.size())
        return;
    m_previous = std::move(previousImage);
    if (before.size != after.size)
        return;
    m_plan = RenderTransition::between(before.root, after.root);
    if (m_plan.isEmpty())
        return;
    const double scale = nextImage.devicePixelRatio();
    RenderedWidget blanked = before;
    blanked.root = m_plan.previousBackground(before.root);
    m_previousBackground = paintWidget(blanked, scale, palette);
    blanked = after;
    blanked.root = m_plan.nextBackground(after.root);
    m_background = paintWidget(blanked, scale, palette);
}

void TransitionView::paint(QPainter& painter, const QImage& next, double progress) const
{
    if (isEmpty()) {
        if (!next.isNull())
            painter.drawImage(QPointF(0, 0), next);
        return;
    }
    // The glass is opaque inside the widget's shape, so the new render laid over the old one at a
    // growing opacity ends exactly on the new render.
    painter.save();
    painter.drawImage(QPointF(0, 0), m_previous);
    painter.setOpacity(progress);
    if (!next.isNull())
        painter.drawImage(QPointF(0, 0), next);
    painter.setOpacity(1);
    if (!m_background.isNull()) {
        for (const RenderTransition::Region& region : m_plan.regions())
            paintRegion(painter, region, next, progress);
    }
    painter.restore();
}

void TransitionView::paintRegion(QPainter& painter, const RenderTransition::Region& region, const QImage& next, double progress) const
{
    // Antialiasing reaches a pixel past the frame; a halo, its radius.
    const double bleed = region.bleed + 1;
    const QRectF area = QRectF(region.frame.x, region.frame.y, region.frame.width, region.frame.height).adjusted(-bleed, -bleed, bleed, bleed);
    const double scale = next.devicePixelRatio();
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
    if (region.kind == RenderTransition::Kind::roll) {
        // Up: the old line leaves through the top while the new one rises from below.
        const double travel = region.direction == RenderTransition::Direction::up ? -area.height() : area.height();
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
    painter.drawImage(arriving, next, source);
    painter.restore();
}

}
