// SPDX-License-Identifier: MIT
#pragma once

#include "Text/LocalizedText.h"

#include <quelm/WidgetSnapshot.h>

#include <cstdint>

namespace quelm {

// The number of the snapshot's items whose `isRunning` is true: all items, not only those the
// layout shows; groups and sessions do not count.
std::int64_t runningCount(const WidgetSnapshot& snapshot);

// The header's count: "1 rodando" when the count is exactly 1, else "%lld rodando" with the count
// (0 included: deliberately no special text for zero).
LocalizedText runningCountText(std::int64_t runningCount);

// The header row of every family layout, spacing 5: the mark (12 × 12, with
// its sphere when something runs), the title "Quelm" (11 pt semibold), a flexible spacer, and the
// count text (10 pt, secondary, digits roll).
struct WidgetHeader {
    static constexpr double spacing = 5;
    static constexpr double markSize = 12;
    static constexpr double titleFontSize = 11; // semibold
    static constexpr double countFontSize = 10; // secondary colour

    std::int64_t runningCount = 0;

    static WidgetHeader of(const WidgetSnapshot& snapshot) { return { quelm::runningCount(snapshot) }; }

    bool markRunning() const { return runningCount > 0; }
    static LocalizedText title() { return { "Quelm" }; }
    LocalizedText countText() const { return runningCountText(runningCount); }

    bool operator==(const WidgetHeader&) const = default;
};

}
