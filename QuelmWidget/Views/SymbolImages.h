// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QRectF>

#include <cstddef>
#include <string_view>

namespace quelm::views {

// The icons of the widget, looked up by their catalogue name ("leaf.fill", "play.fill", …) in the
// library's resource, rendered from SVG and tinted at draw time. Rendered images are kept, keyed
// by symbol, pixel size and colour (a few hundred at most). Safe to use from several threads.
class SymbolImages {
public:
    // Whether the resource holds the symbol.
    static bool has(std::string_view symbol);

    // The symbol filling a square of `pixels` device pixels, in `color`.
    static QImage tinted(std::string_view symbol, int pixels, const QColor& color);

    // A soft shadow of the symbol in `color`: the tinted symbol blurred with a Gaussian of
    // `sigma` device pixels, on a square `pixels + 2 × haloMargin(sigma)` wide, the symbol centred.
    static QImage halo(std::string_view symbol, int pixels, const QColor& color, double sigma);
    static int haloMargin(double sigma);
    // How many rendered images are kept.
    static std::size_t keptImages();

    // Paints `symbol` in a square of side `side` (points) centred in `frame`, in `color`, with a
    // halo of `haloColor` and radius `haloRadius` (points) beneath it when the halo is visible.
    static void paint(QPainter&, std::string_view symbol, const QRectF& frame, double side, const QColor& color,
        const QColor& haloColor, double haloRadius);
};

}
