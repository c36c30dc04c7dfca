// SPDX-License-Identifier: MIT
#include "Views/SessionRowView.h"

#include "Rows/ItemRow.h"
#include "Views/RowParts.h"
#include "Views/WidgetGlyphView.h"

namespace quelm::views {

namespace {

constexpr Color primary = Color::of(Color::Named::primary);

}

ViewNode SessionRowView::node(const SessionRow& row, const ViewContext& context)
{
    // The session rows line up with the item and group rows above and beside them.
    constexpr double spacing = ItemRow::spacing;
    ViewNode first = ViewNode::text(row.firstLine(), { SessionRow::firstLineFontSize, FontWeight::medium }, primary);
    ViewNode second = ViewNode::text(row.secondLine().shown(context.localizer.translator()),
        { SessionRow::secondLineFontSize, FontWeight::regular }, row.statusColor());
    // "project · status" has no line limit of its own: it wraps onto a second line rather than
    // lose the status; the title and the compact row's status alone keep to one.
    if (!row.compact())
        second.as<node::Text>()->lineLimit = SessionRowView::secondLineLimit;
    ViewNode content = ViewNode::hstack(spacing, CrossAlignment::center,
        { WidgetGlyphView::node(row.glyph()), detail::titleAndDetail(std::move(first), std::move(second)), ViewNode::spacer() });
    ViewNode link = ViewNode::wrapping(node::Link { row.destination() }, std::move(content));
    return ViewNode::wrapping(node::Row { RowKind::session, row.session().id, false, false }, std::move(link));
}

}
