// SPDX-License-Identifier: MIT
#pragma once

#include "Widget/WidgetFamily.h"
#include "Widget/WidgetSortOrder.h"

#include <quelm/WidgetGroup.h>
#include <quelm/WidgetItem.h>
#include <quelm/WidgetSession.h>
#include <quelm/WidgetSnapshot.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace quelm {

// Which sessions, groups and items a widget of one family shows, and in which order. The views
// draw exactly these three lists. Computed afresh by each view that needs it: one sort of the
// items and a few prefix copies, no I/O, no caching.
struct WidgetLayout {
    // Whether the first item comes before the second.
    using ItemOrder = std::function<bool(const WidgetItem&, const WidgetItem&)>;

    std::vector<WidgetSession> sessions; // in snapshot order
    std::vector<WidgetGroup> groups;     // in snapshot order
    std::vector<WidgetItem> items;       // in the order of `order(sortOrder)`

    WidgetLayout(const WidgetSnapshot& snapshot, WidgetFamily family, WidgetSortOrder sortOrder);

    // Running items first; then, under `category`, the lower category rank (WidgetGlyph::rank)
    // first, or, under `recent`, the later start (none = the distant past) first; then the title
    // by the locale's collation (TitleCollator). Items tied on all three are not ordered, so a
    // stable sort keeps their snapshot order.
    static ItemOrder order(WidgetSortOrder sortOrder);

    bool operator==(const WidgetLayout&) const = default;

private:
    struct Filled {
        std::vector<WidgetGroup> groups;
        std::vector<WidgetItem> items;
    };

    // Groups first, then items, from the heads of the snapshot's lists (its items already
    // sorted), sharing `slots` rows; never more than `maximumGroups` groups (never negative).
    static Filled fill(std::int64_t slots, const WidgetSnapshot& snapshot, std::int64_t maximumGroups);
};

}
