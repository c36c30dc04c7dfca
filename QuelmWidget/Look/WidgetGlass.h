// SPDX-License-Identifier: MIT
#pragma once

#include "Look/Color.h"

#include <quelm/WidgetSnapshot.h>

#include <cstddef>
#include <vector>

namespace quelm {

// A corner of the widget's container, in reading direction (leading = left here).
enum class GlassCorner {
    topLeading,
    topTrailing,
    bottomLeading,
    bottomTrailing,
};

// A radial gradient from `color` at `opacity` to clear, centred on a corner of the container.
struct RadialGlow {
    Color color;
    double opacity = 1;
    GlassCorner center = GlassCorner::bottomTrailing;
    double startRadius = 0;
    double endRadius = 0;

    bool operator==(const RadialGlow&) const = default;
};

// A linear gradient from the top of the container to its bottom.
struct VerticalGradient {
    Color top;
    Color bottom;

    bool operator==(const VerticalGradient&) const = default;
};

// The glass background of the whole widget. Layers, back to front, all
// filling the container: `base`; `glowLayers(glows)`; `highlight`; the border, stroked inside the
// container's rounded shape with `borderLineWidth` (miter limit `borderMiterLimit`) and painted
// with `borderGradient`.
struct WidgetGlass {
    // Near-black, whatever the appearance: grey 0.12 at the top to grey 0.05 at the bottom.
    static constexpr VerticalGradient base { Color::rgb(0.12, 0.12, 0.12), Color::rgb(0.05, 0.05, 0.05) };
    static constexpr RadialGlow highlight { Color::of(Color::Named::white), 0.10, GlassCorner::topLeading, 0, 220 };
    static constexpr double borderLineWidth = 1;
    static constexpr double borderMiterLimit = 10;
    static constexpr VerticalGradient borderGradient {
        Color::of(Color::Named::white).withAlpha(0.18),
        Color::of(Color::Named::white).withAlpha(0.03),
    };
    // Only the first two glows are painted.
    static constexpr std::size_t maximumGlowLayers = 2;

    // The colours of the glows, in order: orange when some session needs approval (at most one),
    // then the tint of each distinct category of the running items, by category rank; unknown
    // categories (rank 99, each `secondary`) keep the order in which they first appear among the
    // running items. The list is not cut.
    static std::vector<Color> glows(const WidgetSnapshot& snapshot);

    // The radial glows painted for `glows`: one per entry of its first two, by position.
    //   position 0: opacity 0.34, bottom trailing corner, end radius 190
    //   position 1 (and any other): opacity 0.25, bottom leading corner, end radius 280
    // Every glow starts at radius 0.
    static std::vector<RadialGlow> glowLayers(const std::vector<Color>& glows);
    static RadialGlow glowLayer(const Color& glow, std::size_t position);
};

}
