// SPDX-License-Identifier: MIT
#include "Views/QuelmMarkView.h"

#include "Views/DevicePixels.h"
#include "Text/QuelmMarkLabel.h"

#include <quelm/QuelmMark.h>

#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

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
    QImage layer(pixels.size(), QImage::Format_ARGB32_Premultiplied);
    layer.fill(Qt::transparent);

    // The geometry is figured in the layer's pixels: every size of the mark scales with its width.
    const QRectF local = deviceFrame.translated(-pixels.topLeft());
    const Rect rect { local.x(), local.y(), local.width(), local.height() };
    const QColor opaque(color.red(), color.green(), color.blue());
    {
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
    }

    painter.save();
    painter.setOpacity(painter.opacity() * color.alphaF());
    drawAtDevicePixel(painter, pixels.topLeft(), std::move(layer));
    painter.restore();
}

}
