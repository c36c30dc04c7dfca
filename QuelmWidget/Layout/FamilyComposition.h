// SPDX-License-Identifier: MIT
#pragma once

#include "Look/Color.h"
#include "Text/LocalizedText.h"

#include <vector>

namespace quelm {

// A small section heading and the rows it stands over.
struct WidgetSection {
    enum class Rows {
        sessions, // "Claude": the coding agent whose sessions the app follows (kept as it stands)
        groups,   // "Grupos"
        items,    // "Itens"
    };

    static constexpr double titleFontSize = 9.5; // semibold
    static constexpr double topPadding = 3;
    static constexpr Color titleColor = Color::of(Color::Named::tertiary);

    Rows rows = Rows::items;

    LocalizedText title() const;

    bool operator==(const WidgetSection&) const = default;
};

// Which parts a family's layout shows, given what the layout
// (WidgetLayout) holds. Every family stacks, leading-aligned with spacing `stackSpacing`, the
// header, its parts, and a flexible spacer.
//   small:      compact session rows, then compact group rows, then compact item rows.
//   medium:     a row (spacing 10) of the process rows (groups then items, not compact, spacing 5,
//               all remaining width) and, only with sessions, a divider and a column 112 wide of
//               session rows (spacing 7).
//   large:      `largeSections()`, each over its rows (not compact).
//   extraLarge: a row (spacing 6) of, only with sessions or groups, a left column of
//               `extraLargeLeftSections()` framed to `extraLargeLeftColumnWidth(W)` and a divider;
//               and, only with items, the "Itens" section over the item columns (ItemColumns),
//               spacing 14 between columns and 6 inside one, sharing the width equally.
struct FamilyComposition {
    static constexpr double stackSpacing = 6;
    static constexpr double mediumRowSpacing = 10;
    static constexpr double mediumProcessSpacing = 5;
    static constexpr double mediumSessionSpacing = 7;
    static constexpr double mediumSessionColumnWidth = 112;
    static constexpr double extraLargeRowSpacing = 6;
    static constexpr double extraLargeColumnSpacing = 14;
    static constexpr double extraLargeColumnStackSpacing = 6;

    bool hasSessions = false;
    bool hasGroups = false;
    bool hasItems = false;

    bool mediumShowsSessionColumn() const { return hasSessions; }
    // "Claude" with sessions, "Grupos" with groups, "Itens" with items, in that order.
    std::vector<WidgetSection> largeSections() const;
    bool extraLargeShowsLeftColumn() const { return hasSessions || hasGroups; }
    // "Claude" with sessions, then "Grupos" with groups.
    std::vector<WidgetSection> extraLargeLeftSections() const;
    bool extraLargeShowsItems() const { return hasItems; }
    // (W − 29) × 0.55, W being the width of the region inside the margins.
    static constexpr double extraLargeLeftColumnWidth(double regionWidth) { return (regionWidth - 29) * 0.55; }

    bool operator==(const FamilyComposition&) const = default;
};

}
