// SPDX-License-Identifier: MIT
#pragma once

#include "Views/Palette.h"

#include <QRectF>
#include <QString>

class QPainter;

namespace quelm::views {

// A short message over the bottom of the widget, white on a red pill, cut with "…" to the
// widget's width: how the widget says that a click could not be carried out.
class NoticeView {
public:
    static constexpr double fontSize = 11; // medium
    static constexpr double padding = 8;
    static constexpr double bottomMargin = 16;
    static constexpr double sideMargin = 8;
    static constexpr Color fill = Color::rgb(150.0 / 255, 28.0 / 255, 28.0 / 255, 235.0 / 255);

    // Paints `text` over the widget that fills `widget` (points).
    static void paint(QPainter&, const QRectF& widget, const QString& text, const Palette&);
};

}
