// SPDX-License-Identifier: MIT
#pragma once

#include "Views/ViewContext.h"
#include "Views/ViewTree.h"

#include <QColor>
#include <QRectF>

class QPainter;

namespace quelm::views {

// The brand mark: the star filled and stroked (round joins, butt caps) in one colour, a round
// hole through it, and, while something runs, the sphere in the hole.
class QuelmMarkView {
public:
    // The mark framed `side` × `side`, painted in `color`.
    static ViewNode node(bool running, Color color, double side, const ViewContext&);

    // Paints the mark in `frame`. The mark is drawn opaque into a layer of its own, the hole
    // erased there (so it shows whatever lies behind the mark, not the layer's colour), and the
    // layer is laid over the painter's device at `color`'s opacity.
    static void paint(QPainter&, const QRectF& frame, const QColor& color, bool running);
};

}
