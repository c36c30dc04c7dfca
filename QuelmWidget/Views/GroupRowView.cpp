// SPDX-License-Identifier: MIT
#include "Views/GroupRowView.h"

#include "Views/RowParts.h"
#include "Views/ToggleButtonView.h"
#include "Views/WidgetGlyphView.h"

namespace quelm::views {

ViewNode GroupRowView::node(const GroupRow& row, const ViewContext& context)
{
    const RowState state = row.state();
    ViewNode name = ViewNode::text(row.group.name, { GroupRow::nameFontSize, FontWeight::medium }, row.nameColor());
    std::optional<ViewNode> detailLine;
    if (row.showsDetail()) {
        detailLine = ViewNode::numericText(context.localizer.text(row.detail()), { GroupRow::detailFontSize, FontWeight::regular },
            GroupRow::detailColor);
    }
    return detail::rowNode(RowKind::group, row.group.id, state,
        ViewNode::hstack(GroupRow::spacing, CrossAlignment::center,
            { WidgetGlyphView::node(row.glyph()), detail::titleAndDetail(std::move(name), std::move(detailLine)),
                ViewNode::spacer(GroupRow::minimumSpacerLength), ToggleButtonView::node(row.button()) }));
}

}
