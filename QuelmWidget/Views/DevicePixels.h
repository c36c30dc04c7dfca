#pragma once

#include <QImage>
#include <QPainter>
#include <QPaintDevice>
#include <QPoint>

namespace quelm::views {

// Lays `image`, made in the device's own pixels, over the painter's device with its top-left
// pixel at `devicePixel`: no resampling, whatever the painter's transform and pixel ratio.
inline void drawAtDevicePixel(QPainter& painter, QPoint devicePixel, QImage image)
{
    const qreal ratio = painter.device()->devicePixelRatioF();
    image.setDevicePixelRatio(ratio);
    painter.save();
    painter.resetTransform(); // what remains is the device's own pixel ratio
    painter.drawImage(QPointF(devicePixel) / ratio, image);
    painter.restore();
}

}
