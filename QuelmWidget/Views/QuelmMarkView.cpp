// SPDX-License-Identifier: MIT
#include "Views/QuelmMarkView.h"

#include "Views/BoundedCache.h"
#include "Views/DevicePixels.h"
#include "Text/QuelmMarkLabel.h"

#include <quelm/QuelmMark.h>

#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <string>

namespace quelm::views {

namespace {

QPainterPath toPainterPath(const Path& path)
{
    QPainterPath result;
    for (const Path::Element& element : path.elements()) {
        switch (element.kind) {
        case Path::Element::Kind::move:
            result.moveTo(element.to.x, element.to.y);
            break;
        case Path::Element::Kind::curve:
            result.cubicTo(element.control1.x, element.control1.y, element.control2.x, element.control2.y, element.to.x, element.to.y);
            break;
        case Path::Element::Kind::close:
            result.closeSubpath();
            break;
        }
    }
    result.setFillRule(Qt::WindingFill);
    return result;
}

QRectF toQRect(const Rect& rect)
{
    return { rect.x, rect.y, rect.width, rect.height };
}

QImage paintedLayer(QSize pixels, const QRectF& local, const QColor& opaque, bool running)
{
    QImage layer(pixels, QImage::Format_ARGB32_Premultiplied);
    layer.fill(Qt::transparent);
    const Rect rect { local.x(), local.y(), local.width(), local.height() };
    QPainter layerPainter(&layer);
    layerPainter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath star = toPainterPath(QuelmMark::starPath(rect));
    layerPainter.fillPath(star, opaque);
    QPen outline(opaque, QuelmMark::strokeWidth(rect), Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin);
    outline.setMiterLimit(10);
    layerPainter.strokePath(star, outline);

    layerPainter.setCompositionMode(QPainter::CompositionMode_Clear);
    layerPainter.setPen(Qt::NoPen);
    layerPainter.setBrush(opaque);
    layerPainter.drawEllipse(toQRect(QuelmMark::holeRect(rect)));
    layerPainter.setCompositionMode(QPainter::CompositionMode_SourceOver);

    if (running)
        layerPainter.drawEllipse(toQRect(QuelmMark::sphereRect(rect)));
    return layer;
}

template<typename Number>
void appendBytes(std::string& key, Number value)
{
    key.append(reinterpret_cast<const char*>(&value), sizeof value);
}

// The header's mark is drawn in every render, in one or two sizes and colours.
BoundedCache<std::string, QImage>& layers()
{
    static BoundedCache<std::string, QImage> cache(16);
    return cache;
}

}

ViewNode QuelmMarkView::node(bool running, Color color, double side, const ViewContext& context)
{
    const QuelmMarkLabel label = QuelmMarkLabel::forRunning(running);
    std::string spoken = label.localized ? context.userLocalizer.translate(label.text) : label.text;
    return std::move(ViewNode { node::Mark { running, color, std::move(spoken) } }).framed(side, side);
}

void QuelmMarkView::paint(QPainter& painter, const QRectF& frame, const QColor& color, bool running)
{
    // The layer covers whole device pixels, so that it lands on the device without resampling.
    const QTransform toDevice = painter.deviceTransform();
    const QRectF deviceFrame = toDevice.mapRect(frame);
    const QRect pixels = deviceFrame.toAlignedRect();
    if (pixels.isEmpty())
        return;
    // The geometry is figured in the layer's pixels: every size of the mark scales with its width.
    const QRectF local = deviceFrame.translated(-pixels.topLeft());
    const QColor opaque(color.red(), color.green(), color.blue());
    std::string key;
    for (const double value : { local.x(), local.y(), local.width(), local.height() })
        appendBytes(key, value);
    appendBytes(key, pixels.width());
    appendBytes(key, pixels.height());
    appendBytes(key, opaque.rgba());
    appendBytes(key, running);
    const QImage layer = layers().get(key, [&] { return paintedLayer(pixels.size(), local, opaque, running); });

    painter.save();
    painter.setOpacity(painter.opacity() * color.alphaF());
    drawAtDevicePixel(painter, pixels.topLeft(), layer);
    painter.restore();
}

}
