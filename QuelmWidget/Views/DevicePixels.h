// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QPainter>
#include <QPaintDevice>
#include <QPoint>

namespace quelm::views {

// Lays `image`, made in the device's own pixels, over the painter's device with its top-left
// pixel at `devicePixel`: no resampling, whatever the painter's transform and pixel ratio.
inline void drawAtDevicePixel(QPainter& painter, QPoint devicePixel, const QImage& image)
{
    const qreal ratio = painter.device()->devicePixelRatioF();
    painter.save();
    painter.resetTransform(); // what remains is the device's own pixel ratio
    // Source and target rectangles rather than the image's own pixel ratio: changing that ratio
    // would copy the image on every draw.
    const QRectF target(QPointF(devicePixel) / ratio, QSizeF(image.size()) / ratio);
    painter.drawImage(target, image, QRectF(image.rect()));
    painter.restore();
}

// Begins `painter` on `image`, whose pixels are `scale` per point, so that it draws in points at
// any scale. QPainter takes a device pixel ratio below 1 for 1, so the scale goes into the
// painter's transform instead; give the image its ratio once painting has ended.
inline void beginScaled(QPainter& painter, QImage& image, double scale)
{
    image.setDevicePixelRatio(1);
    painter.begin(&image);
    painter.scale(scale, scale);
}

}
