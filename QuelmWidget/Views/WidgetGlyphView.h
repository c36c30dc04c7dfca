// SPDX-License-Identifier: MIT
#pragma once

#include "Look/GlyphLook.h"
#include "Views/ViewTree.h"

namespace quelm::views {

// The leading symbol of a row, framed 16 points wide: a category glyph, a group glyph or a
// session glyph, as its GlyphLook says.
class WidgetGlyphView {
public:
    static ViewNode node(const GlyphLook&);
};

}
