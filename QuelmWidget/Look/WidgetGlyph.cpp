// SPDX-License-Identifier: MIT
#include "Look/WidgetGlyph.h"

#include <array>

namespace quelm {

namespace {

struct CategoryRow {
    std::string_view category;
    std::string_view symbol;
    Color tint;
};

constexpr std::array categories {
    CategoryRow { "node", "leaf.fill", Color::rgb(0.42, 0.80, 0.47) },
    CategoryRow { "docker", "shippingbox.fill", Color::rgb(0.35, 0.68, 0.95) },
    CategoryRow { "kubernetes", "helm", Color::rgb(0.36, 0.78, 0.80) },
    CategoryRow { "database", "cylinder.fill", Color::rgb(0.96, 0.66, 0.32) },
    CategoryRow { "server", "dot.radiowaves.left.and.right", Color::rgb(0.55, 0.62, 0.98) },
};

constexpr std::string_view unknownSymbol = "circle.hexagongrid.fill";
// Unknown categories sort after every known one and tie with each other.
constexpr int unknownRank = 99;

}

WidgetGlyph::Style WidgetGlyph::styleFor(std::string_view category)
{
    for (const auto& row : categories) {
        if (row.category == category)
            return { row.symbol, row.tint };
    }
    return { unknownSymbol, Color::of(Color::Named::secondary) };
}

Color WidgetGlyph::tint(std::string_view category)
{
    return styleFor(category).tint;
}

GlyphLook WidgetGlyph::look() const
{
    const Style current = style();
    if (isRunning)
        return { current.symbol, current.tint, 1.0, current.tint.withAlpha(0.55), GlyphLook::itemFontSize };
    return { current.symbol, Color::of(Color::Named::secondary), 0.45, std::nullopt, GlyphLook::itemFontSize };
}

int WidgetGlyph::rank(std::string_view category)
{
    for (std::size_t i = 0; i < categories.size(); ++i) {
        if (categories[i].category == category)
            return static_cast<int>(i);
    }
    return unknownRank;
}

}
