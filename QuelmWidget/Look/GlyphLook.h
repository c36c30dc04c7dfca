// SPDX-License-Identifier: MIT
#pragma once

#include "Look/Color.h"

#include <optional>
#include <string_view>

namespace quelm {

// How a row's leading symbol is painted: the item glyph, the group glyph and the
// session glyph. The symbol is drawn in `color` at `opacity`, in the system font of
// `fontSize` points, medium weight, centred in a frame `width` points wide, with a shadow of
// radius `haloRadius` at offset (0, 0) in the colour `halo` (its alpha is the halo's opacity).
// No halo means a clear shadow: nothing visible, while the frame stays the same.
struct GlyphLook {
    static constexpr double width = 16;
    static constexpr double haloRadius = 3;
    static constexpr double itemFontSize = 12;
    static constexpr double rowFontSize = 11; // group and session glyphs

    std::string_view symbol;
    Color color;
    double opacity = 1;
    std::optional<Color> halo {};
    double fontSize = itemFontSize;

    bool operator==(const GlyphLook&) const = default;
};

}
