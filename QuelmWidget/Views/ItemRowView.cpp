// SPDX-License-Identifier: MIT
#include "Views/ItemRowView.h"

#include "Views/RowParts.h"
#include "Views/ToggleButtonView.h"
#include "Views/WidgetGlyphView.h"

namespace quelm::views {

ViewNode ItemRowView::node(const ItemRow& row, const ViewContext& context)
{
    const RowState state = row.state();
    ViewNode title = ViewNode::text(row.item.title, { ItemRow::titleFontSize, FontWeight::medium }, row.titleColor());
    std::optional<ViewNode> detailLine;
    if (row.showsDetail()) {
        const ItemRowDetail content = row.detail();
        const std::string relative = content.isLive() ? context.localizer.relativeTime(content.startedAt, context.now) : std::string();
        detailLine = ViewNode::text(content.shown(context.localizer.translator(), relative),
            { ItemRow::detailFontSize, FontWeight::regular }, ItemRow::detailColor);
        if (content.isLive())
            detailLine->as<node::Text>()->liveSince = content.startedAt;
    }
    return detail::rowNode(RowKind::item, row.item.id, state,
        ViewNode::hstack(ItemRow::spacing, CrossAlignment::center,
            { WidgetGlyphView::node(row.glyph()), detail::titleAndDetail(std::move(title), std::move(detailLine)),
                ViewNode::spacer(ItemRow::minimumSpacerLength), ToggleButtonView::node(row.button()) }));
}

}
