// SPDX-License-Identifier: MIT
#pragma once

#include "Look/Color.h"
#include "Look/GlyphLook.h"

#include <string>
#include <string_view>

namespace quelm {

// The category glyph at the head of an item row: which symbol and tint a category gets, and the
// rank by which items are sorted. Categories match exactly and case-sensitively.
struct WidgetGlyph {
    struct Style {
        std::string_view symbol;
        Color tint;
        bool operator==(const Style&) const = default;
    };

    std::string category;
    bool isRunning = false;

    Style style() const { return styleFor(category); }
    // The glyph as painted: running → the tint at opacity 1 with a halo of the tint at 0.55;
    // stopped → `secondary` at 0.45 with no halo. Symbol size 12, frame 16 wide.
    GlyphLook look() const;

    static Style styleFor(std::string_view category);
    static Color tint(std::string_view category);
    // 0…4 for "node", "docker", "kubernetes", "database", "server"; 99 for anything else.
    static int rank(std::string_view category);
};

}
