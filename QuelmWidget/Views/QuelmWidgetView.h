// SPDX-License-Identifier: MIT
#pragma once

#include "Timeline/TimelineEntry.h"
#include "Layout/FamilyComposition.h"
#include "Views/ViewContext.h"
#include "Views/ViewTree.h"
#include "Layout/WidgetContent.h"
#include "Widget/WidgetFamily.h"
#include "Layout/WidgetLayout.h"

#include <optional>

namespace quelm::views {

// The whole widget for one entry and family: the glass, and on it what the app's status and the
// family call for — a message, or the header over the family's sessions, groups and items. Build
// `tree()`, then lay it out in the family's size (WidgetRenderer does both).
class QuelmWidgetView {
public:
    QuelmWidgetView(WidgetFamily family, const TimelineEntry& entry, const ViewContext& context);

    // The size of a family in points.
    static Size size(WidgetFamily);

    ViewNode tree() const;
    ViewNode content() const;

    // A centred notice: the mark (tertiary, no sphere), the title and the optional subtitle.
    ViewNode message(const WidgetMessage&) const;
    // The mark, "Quelm", a spacer and the running count.
    ViewNode header() const;
    ViewNode section(const WidgetSection&) const;
    // The group rows, then the item rows, of the layout.
    std::vector<ViewNode> processRows(bool compact) const;

    ViewNode small() const;
    ViewNode medium() const;
    ViewNode large() const;
    ViewNode extraLarge() const;

    const WidgetLayout& layout() const { return m_layout; }

private:
    std::vector<ViewNode> sessionRows(bool compact) const;
    std::vector<ViewNode> groupRows(bool compact) const;
    std::vector<ViewNode> itemRows(const std::vector<WidgetItem>& items, bool compact) const;
    FamilyComposition composition() const;
    // The header, then `parts`, then a spacer, leading-aligned.
    ViewNode familyStack(std::vector<ViewNode> parts) const;

    WidgetFamily m_family;
    const TimelineEntry& m_entry;
    const ViewContext& m_context;
    WidgetLayout m_layout;
};

}
