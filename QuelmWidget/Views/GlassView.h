// SPDX-License-Identifier: MIT
#pragma once

#include "Views/Palette.h"
#include "Views/ViewTree.h"

#include <quelm/WidgetSnapshot.h>

#include <QRectF>

#include <cstddef>

class QPainter;

namespace quelm::views {

// The glass background of the whole widget: a near-black vertical gradient, up to two coloured
// glows rising from the bottom corners, a faint highlight from the top-leading corner and a
// one-point border inside the rounded shape. Outside the rounded shape the widget is
// transparent.
class GlassView {
public:
    // The glass with the glows of `snapshot`, holding `content`.
    static ViewNode node(const WidgetSnapshot& snapshot, ViewNode content);

    // Everything behind the content, filling `frame`. The glass is opaque: it replaces what lay
    // beneath it.
    static void paintBackground(QPainter&, const QRectF& frame, const node::Glass&, const Palette&);
    // Erases what lies outside the rounded shape of `frame` (antialiased), so the corners are
    // transparent, whatever was painted there.
    static void clearCorners(QPainter&, const QRectF& frame);

    // Painted backgrounds are kept (a few sizes, each only its latest glows) so that renders in
    // quick succession paint the glass once. A host whose widgets have gone quiet forgets them:
    // its windows hold their pixels, and the next render paints the glass anew.
    static void forgetBackgrounds();
    static std::size_t keptBackgrounds();
};

}
