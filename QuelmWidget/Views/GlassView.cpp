// SPDX-License-Identifier: MIT
#include "Views/GlassView.h"

#include "Views/DevicePixels.h"
#include "Look/WidgetGlass.h"
#include "Widget/WidgetFamily.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>

#include <cmath>
#include <functional>
#include <map>
#include <mutex>
#include <tuple>
#include <vector>

namespace quelm::views {

namespace {

QPointF cornerPoint(const QRectF& frame, GlassCorner corner)
{
    switch (corner) {
    case GlassCorner::topLeading:
        return frame.topLeft();
    case GlassCorner::topTrailing:
        return QPointF(frame.right(), frame.top());
    case GlassCorner::bottomLeading:
        return QPointF(frame.left(), frame.bottom());
    case GlassCorner::bottomTrailing:
        break;
    }
    return QPointF(frame.right(), frame.bottom());
}

QLinearGradient vertical(const QRectF& frame, const QColor& top, const QColor& bottom)
{
    QLinearGradient gradient(frame.topLeft(), QPointF(frame.left(), frame.bottom()));
    gradient.setColorAt(0, top);
    gradient.setColorAt(1, bottom);
    return gradient;
}

void paintGlow(QPainter& painter, const QRectF& frame, const RadialGlow& glow, const Palette& palette)
{
    if (glow.endRadius <= 0)
        return;
    const QColor inner = palette.resolve(glow.color, glow.opacity);
    // Towards clear: the same hue fading out, so the edge does not darken.
    QColor outer = inner;
    outer.setAlpha(0);
    const QPointF centre = cornerPoint(frame, glow.center);
    QRadialGradient gradient(centre, glow.endRadius);
    gradient.setColorAt(glow.startRadius / glow.endRadius, inner);
    gradient.setColorAt(1, outer);
    // Beyond its end radius a glow is clear: only the square around its circle needs filling.
    const QRectF reach(centre.x() - glow.endRadius, centre.y() - glow.endRadius, 2 * glow.endRadius, 2 * glow.endRadius);
    painter.fillRect(frame.intersected(reach), gradient);
}

QPainterPath roundedShape(const QRectF& frame, double radius)
{
    QPainterPath path;
    path.addRoundedRect(frame, radius, radius);
    return path;
}

// The four pieces of `frame` outside its rounded shape: each corner's square less its quarter circle.
QPainterPath cornerPieces(const QRectF& frame, double radius)
{
    const double diameter = 2 * radius;
    QPainterPath path;
    // Corner point, then the arc's square and its start angle, counter-clockwise in Qt's degrees.
    const std::tuple<QPointF, QRectF, double> corners[] {
        { frame.topLeft(), QRectF(frame.left(), frame.top(), diameter, diameter), 90 },
        { QPointF(frame.left(), frame.bottom()), QRectF(frame.left(), frame.bottom() - diameter, diameter, diameter), 180 },
        { frame.bottomRight(), QRectF(frame.right() - diameter, frame.bottom() - diameter, diameter, diameter), 270 },
        { QPointF(frame.right(), frame.top()), QRectF(frame.right() - diameter, frame.top(), diameter, diameter), 0 },
    };
    for (const auto& [corner, arc, start] : corners) {
        path.moveTo(corner);
        path.arcTo(arc, start, 90);
        path.closeSubpath();
    }
    return path;
}

void paintLayers(QPainter& painter, const QRectF& frame, const node::Glass& glass, const Palette& palette)
{
    using Glass = quelm::WidgetGlass;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);

    painter.fillRect(frame, vertical(frame, palette.resolve(Glass::base.top), palette.resolve(Glass::base.bottom)));
    for (const RadialGlow& glow : glass.glows)
        paintGlow(painter, frame, glow, palette);
    paintGlow(painter, frame, Glass::highlight, palette);

    // Stroked inside the shape: the line's centre runs half its width in from the edge.
    const double inset = Glass::borderLineWidth / 2;
    QPen border(QBrush(vertical(frame, palette.resolve(Glass::borderGradient.top), palette.resolve(Glass::borderGradient.bottom))),
        Glass::borderLineWidth, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
    border.setMiterLimit(Glass::borderMiterLimit);
    painter.strokePath(roundedShape(frame.adjusted(inset, inset, -inset, -inset), widgetCornerRadius - inset), border);
    painter.restore();
}

// Painted backgrounds, by pixel size, scale and the colours and places of their layers. A widget
// keeps its glass while only its rows change, so most renders reuse one. Each pixel size and scale
// keeps only its latest background (glows change with what runs; an older one is rarely asked for
// again), and only a few sizes are kept: the host stays small however long it runs.
class BackgroundCache {
public:
    using Glows = std::vector<std::tuple<QRgb, long long, int, long long>>;
    struct Key {
        int width;
        int height;
        long long scale;
        Glows glows;
        QRgb accent;
    };

    QImage get(const Key& key, const std::function<QImage()>& make)
    {
        const std::tuple place { key.width, key.height, key.scale };
        {
            std::lock_guard lock(m_mutex);
            if (auto found = m_images.find(place); found != m_images.end() && found->second.glows == key.glows && found->second.accent == key.accent)
                return found->second.image;
        }
        QImage image = make();
        std::lock_guard lock(m_mutex);
        if (m_images.size() >= maximumSizes && !m_images.contains(place))
            m_images.clear();
        m_images[place] = Entry { key.glows, key.accent, image };
        return image;
    }

    void clear()
    {
        std::lock_guard lock(m_mutex);
        m_images.clear();
    }
    std::size_t size()
    {
        std::lock_guard lock(m_mutex);
        return m_images.size();
    }

private:
    struct Entry {
        Glows glows;
        QRgb accent;
        QImage image;
    };
    // The four families, at two scales.
    static constexpr std::size_t maximumSizes = 8;
    std::mutex m_mutex;
    std::map<std::tuple<int, int, long long>, Entry> m_images;
};

BackgroundCache& backgrounds()
{
    static BackgroundCache cache;
    return cache;
}

long long thousandths(double value)
{
    return std::llround(value * 1000);
}

}

ViewNode GlassView::node(const WidgetSnapshot& snapshot, ViewNode content)
{
    return ViewNode::wrapping(node::Glass { quelm::WidgetGlass::glowLayers(quelm::WidgetGlass::glows(snapshot)) }, std::move(content));
}

void GlassView::paintBackground(QPainter& painter, const QRectF& frame, const node::Glass& glass, const Palette& palette)
{
    // Drawn from the cache when the frame lies on whole device pixels of an unrotated device.
    const QTransform toDevice = painter.deviceTransform();
    const QRectF deviceFrame = toDevice.mapRect(frame);
    const QRect pixels = deviceFrame.toRect();
    const double scale = toDevice.m11();
    const bool aligned = toDevice.type() <= QTransform::TxScale && toDevice.m11() == toDevice.m22() && scale > 0
        && QRectF(pixels) == deviceFrame;
    if (!aligned) {
        paintLayers(painter, frame, glass, palette);
        return;
    }

    BackgroundCache::Glows glows;
    for (const RadialGlow& glow : glass.glows)
        glows.emplace_back(palette.resolve(glow.color).rgba(), thousandths(glow.opacity), static_cast<int>(glow.center), thousandths(glow.endRadius));
    const BackgroundCache::Key key { pixels.width(), pixels.height(), thousandths(scale), std::move(glows),
        palette.resolve(Color::of(Color::Named::accent)).rgba() };
    QImage background = backgrounds().get(key, [&] {
        QImage image(pixels.size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter layer;
        beginScaled(layer, image, scale);
        paintLayers(layer, QRectF(0, 0, frame.width(), frame.height()), glass, palette);
        layer.end();
        image.setDevicePixelRatio(scale);
        return image;
    });
    // The glass is opaque: it replaces what lay beneath (the corners are erased after the content).
    painter.save();
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    drawAtDevicePixel(painter, pixels.topLeft(), std::move(background));
    painter.restore();
}

void GlassView::clearCorners(QPainter& painter, const QRectF& frame)
{
    const QPainterPath outside = cornerPieces(frame, widgetCornerRadius);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.fillPath(outside, Qt::black);
    painter.restore();
}

void GlassView::forgetBackgrounds()
{
    backgrounds().clear();
}

std::size_t GlassView::keptBackgrounds()
{
    return backgrounds().size();
}

}
