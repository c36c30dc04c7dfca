// SPDX-License-Identifier: MIT
#include "Views/WidgetGlyphView.h"

namespace quelm::views {

ViewNode WidgetGlyphView::node(const GlyphLook& look)
{
    node::Symbol symbol { std::string(look.symbol), look.color, look.opacity, look.halo, look.fontSize, GlyphLook::haloRadius };
    return std::move(ViewNode { std::move(symbol) }).framed(GlyphLook::width, std::nullopt);
}

}
