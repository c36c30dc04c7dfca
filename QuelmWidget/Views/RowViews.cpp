#include "RowViews.h"

namespace quelm::views {

namespace {

constexpr Color primary = Color::of(Color::Named::primary);

ViewNode titleAndDetail(ViewNode title, std::optional<ViewNode> detail)
{
    std::vector<ViewNode> lines;
    lines.push_back(std::move(title));
    if (detail)
        lines.push_back(std::move(*detail));
    return ViewNode::vstack(0, std::move(lines));
}

ViewNode rowNode(RowKind kind, std::string id, const RowState& state, ViewNode content)
{
    return ViewNode::wrapping(node::Row { kind, std::move(id), state.appearsRunning, state.busy }, std::move(content));
}

}

ViewNode WidgetGlyph::node(const GlyphLook& look)
{
    node::Symbol symbol { std::string(look.symbol), look.color, look.opacity, look.halo, look.fontSize, GlyphLook::haloRadius };
    return std::move(ViewNode { std::move(symbol) }).framed(GlyphLook::width, std::nullopt);
}

ViewNode ToggleButton::node(const quelm::ToggleButton& button)
{
    node::Button content { button.id, button.start(), std::string(button.symbol()), button.enabled(), quelm::ToggleButton::circleFill };
    node::Symbol symbol { std::string(button.symbol()), primary, 1, std::nullopt, quelm::ToggleButton::symbolFontSize, 0 };
    ViewNode result = ViewNode::wrapping(std::move(content), ViewNode { std::move(symbol) });
    result.sizing.width = quelm::ToggleButton::size;
    result.sizing.height = quelm::ToggleButton::size;
    result.sizing.centersContent = true;
    return result;
}

ViewNode ItemRow::node(const quelm::ItemRow& row, const ViewContext& context)
{
    const RowState state = row.state();
    ViewNode title = ViewNode::text(row.item.title, { quelm::ItemRow::titleFontSize, FontWeight::medium }, row.titleColor());
    std::optional<ViewNode> detail;
    if (row.showsDetail()) {
        const ItemRowDetail content = row.detail();
        const std::string relative = content.isLive() ? context.localizer.relativeTime(content.startedAt, context.now) : std::string();
        detail = ViewNode::text(content.shown(context.localizer.translator(), relative),
            { quelm::ItemRow::detailFontSize, FontWeight::regular }, quelm::ItemRow::detailColor);
    }
    return rowNode(RowKind::item, row.item.id, state,
        ViewNode::hstack(quelm::ItemRow::spacing, CrossAlignment::center,
            { WidgetGlyph::node(row.glyph()), titleAndDetail(std::move(title), std::move(detail)),
                ViewNode::spacer(quelm::ItemRow::minimumSpacerLength), ToggleButton::node(row.button()) }));
}

ViewNode GroupRow::node(const quelm::GroupRow& row, const ViewContext& context)
{
    const RowState state = row.state();
    ViewNode name = ViewNode::text(row.group.name, { quelm::GroupRow::nameFontSize, FontWeight::medium }, row.nameColor());
    std::optional<ViewNode> detail;
    if (row.showsDetail()) {
        detail = ViewNode::numericText(context.localizer.text(row.detail()), { quelm::GroupRow::detailFontSize, FontWeight::regular },
            quelm::GroupRow::detailColor);
    }
    return rowNode(RowKind::group, row.group.id, state,
        ViewNode::hstack(quelm::GroupRow::spacing, CrossAlignment::center,
            { WidgetGlyph::node(row.glyph()), titleAndDetail(std::move(name), std::move(detail)),
                ViewNode::spacer(quelm::GroupRow::minimumSpacerLength), ToggleButton::node(row.button()) }));
}

ViewNode SessionRow::node(const quelm::SessionRow& row, const ViewContext& context)
{
    // The session rows line up with the item and group rows above and beside them.
    constexpr double spacing = quelm::ItemRow::spacing;
    ViewNode first = ViewNode::text(row.firstLine(), { quelm::SessionRow::firstLineFontSize, FontWeight::medium }, primary);
    ViewNode second = ViewNode::text(row.secondLine().shown(context.localizer.translator()),
        { quelm::SessionRow::secondLineFontSize, FontWeight::regular }, row.statusColor());
    ViewNode content = ViewNode::hstack(spacing, CrossAlignment::center,
        { WidgetGlyph::node(row.glyph()), titleAndDetail(std::move(first), std::move(second)), ViewNode::spacer() });
    ViewNode link = ViewNode::wrapping(node::Link { row.destination() }, std::move(content));
    return ViewNode::wrapping(node::Row { RowKind::session, row.session().id, false, false }, std::move(link));
}

}
