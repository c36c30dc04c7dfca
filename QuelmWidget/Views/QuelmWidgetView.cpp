// SPDX-License-Identifier: MIT
#include "Views/QuelmWidgetView.h"

#include "Views/GlassView.h"
#include "Layout/ItemColumns.h"
#include "Views/QuelmMarkView.h"
#include "Rows/RowState.h"
#include "Views/ItemRowView.h"
#include "Views/GroupRowView.h"
#include "Views/SessionRowView.h"
#include "Rows/WidgetHeader.h"

#include <iterator>

namespace quelm::views {

namespace {

constexpr Color primary = Color::of(Color::Named::primary);
constexpr Color secondary = Color::of(Color::Named::secondary);
constexpr Color tertiary = Color::of(Color::Named::tertiary);

void append(std::vector<ViewNode>& to, std::vector<ViewNode> from)
{
    to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
}

}

QuelmWidgetView::QuelmWidgetView(WidgetFamily family, const TimelineEntry& entry, const ViewContext& context)
    : m_family(family)
    , m_entry(entry)
    , m_context(context)
    , m_layout(entry.snapshot, family, entry.sortOrder)
{
}

Size QuelmWidgetView::size(WidgetFamily family)
{
    const WidgetSize size = familySize(family);
    return { size.width, size.height };
}

ViewNode QuelmWidgetView::tree() const
{
    return GlassView::node(m_entry.snapshot, content());
}

ViewNode QuelmWidgetView::content() const
{
    const WidgetContent chosen = WidgetContent::choose(m_entry.appStatus, m_entry.snapshot, m_family);
    if (const auto notice = chosen.message()) {
        ViewNode shown = message(*notice);
        if (!notice->tapAddress)
            return shown;
        // A tap anywhere on the widget, margins included, opens the address.
        ViewNode link = ViewNode::wrapping(node::Link { *notice->tapAddress }, std::move(shown));
        link.sizing.coversMargins = true;
        link.sizing.padding = Insets::all(widgetContentMargin);
        return link;
    }
    switch (chosen.kind) {
    case WidgetContent::Kind::small:
        return small();
    case WidgetContent::Kind::medium:
        return medium();
    case WidgetContent::Kind::extraLarge:
        return extraLarge();
    default:
        return large();
    }
}

ViewNode QuelmWidgetView::message(const WidgetMessage& notice) const
{
    node::Message content { m_context.localizer.text(notice.title), std::nullopt };
    std::vector<ViewNode> lines;
    lines.push_back(QuelmMarkView::node(false, tertiary, WidgetMessage::markSize, m_context));
    lines.push_back(ViewNode::text(content.title, { WidgetMessage::titleFontSize, FontWeight::medium }, primary));
    if (notice.subtitle) {
        content.subtitle = m_context.localizer.text(*notice.subtitle);
        lines.push_back(ViewNode::text(*content.subtitle, { WidgetMessage::subtitleFontSize, FontWeight::regular }, secondary));
    }
    ViewNode result = ViewNode::wrapping(std::move(content),
        ViewNode::stack(Axis::vertical, WidgetMessage::spacing, CrossAlignment::center, std::move(lines)));
    result.sizing.centersContent = true;
    return result;
}

ViewNode QuelmWidgetView::header() const
{
    const WidgetHeader shown = WidgetHeader::of(m_entry.snapshot);
    return ViewNode::hstack(WidgetHeader::spacing, CrossAlignment::center,
        { QuelmMarkView::node(shown.markRunning(), primary, WidgetHeader::markSize, m_context),
            ViewNode::text(m_context.localizer.text(WidgetHeader::title()), { WidgetHeader::titleFontSize, FontWeight::semibold }, primary),
            ViewNode::spacer(),
            ViewNode::numericText(m_context.localizer.text(shown.countText()), { WidgetHeader::countFontSize, FontWeight::regular }, secondary) });
}

ViewNode QuelmWidgetView::section(const WidgetSection& section) const
{
    const std::string title = m_context.localizer.text(section.title());
    ViewNode heading = ViewNode::text(title, { WidgetSection::titleFontSize, FontWeight::semibold }, WidgetSection::titleColor);
    return std::move(ViewNode::wrapping(node::Section { title }, std::move(heading))).padded({ WidgetSection::topPadding, 0, 0, 0 });
}

std::vector<ViewNode> QuelmWidgetView::sessionRows(bool compact) const
{
    std::vector<ViewNode> rows;
    for (const WidgetSession& session : m_layout.sessions)
        rows.push_back(SessionRowView::node(quelm::SessionRow(session, compact), m_context));
    return rows;
}

std::vector<ViewNode> QuelmWidgetView::groupRows(bool compact) const
{
    std::vector<ViewNode> rows;
    for (const WidgetGroup& group : m_layout.groups)
        rows.push_back(GroupRowView::node({ group, pendingAction(m_entry.pending, group.id), compact }, m_context));
    return rows;
}

std::vector<ViewNode> QuelmWidgetView::itemRows(const std::vector<WidgetItem>& items, bool compact) const
{
    std::vector<ViewNode> rows;
    for (const WidgetItem& item : items)
        rows.push_back(ItemRowView::node({ item, pendingAction(m_entry.pending, item.id), compact }, m_context));
    return rows;
}

std::vector<ViewNode> QuelmWidgetView::processRows(bool compact) const
{
    std::vector<ViewNode> rows = groupRows(compact);
    append(rows, itemRows(m_layout.items, compact));
    return rows;
}

FamilyComposition QuelmWidgetView::composition() const
{
    return { !m_layout.sessions.empty(), !m_layout.groups.empty(), !m_layout.items.empty() };
}

ViewNode QuelmWidgetView::familyStack(std::vector<ViewNode> parts) const
{
    std::vector<ViewNode> children;
    children.push_back(header());
    append(children, std::move(parts));
    children.push_back(ViewNode::spacer());
    return ViewNode::vstack(FamilyComposition::stackSpacing, std::move(children));
}

ViewNode QuelmWidgetView::small() const
{
    std::vector<ViewNode> parts = sessionRows(true);
    append(parts, processRows(true));
    return familyStack(std::move(parts));
}

ViewNode QuelmWidgetView::medium() const
{
    using Composition = FamilyComposition;
    std::vector<ViewNode> columns;
    columns.push_back(std::move(ViewNode::vstack(Composition::mediumProcessSpacing, processRows(false))).fillingWidth());
    if (composition().mediumShowsSessionColumn()) {
        columns.push_back(ViewNode::divider());
        columns.push_back(std::move(ViewNode::vstack(Composition::mediumSessionSpacing, sessionRows(false)))
                              .framed(Composition::mediumSessionColumnWidth, std::nullopt));
    }
    std::vector<ViewNode> parts;
    parts.push_back(ViewNode::hstack(Composition::mediumRowSpacing, CrossAlignment::start, std::move(columns)));
    return familyStack(std::move(parts));
}

ViewNode QuelmWidgetView::large() const
{
    std::vector<ViewNode> parts;
    for (const WidgetSection& heading : composition().largeSections()) {
        parts.push_back(section(heading));
        switch (heading.rows) {
        case WidgetSection::Rows::sessions:
            append(parts, sessionRows(false));
            break;
        case WidgetSection::Rows::groups:
            append(parts, groupRows(false));
            break;
        case WidgetSection::Rows::items:
            append(parts, itemRows(m_layout.items, false));
            break;
        }
    }
    return familyStack(std::move(parts));
}

ViewNode QuelmWidgetView::extraLarge() const
{
    using Composition = FamilyComposition;
    const Composition shown = composition();
    // The region between the margins, below the header: its width is the widget's less the margins.
    const double regionWidth = size(m_family).width - 2 * widgetContentMargin;

    std::vector<ViewNode> region;
    if (shown.extraLargeShowsLeftColumn()) {
        std::vector<ViewNode> left;
        for (const WidgetSection& heading : shown.extraLargeLeftSections()) {
            left.push_back(section(heading));
            append(left, heading.rows == WidgetSection::Rows::sessions ? sessionRows(false) : groupRows(false));
        }
        region.push_back(std::move(ViewNode::vstack(Composition::stackSpacing, std::move(left)))
                             .framed(Composition::extraLargeLeftColumnWidth(regionWidth), std::nullopt));
        region.push_back(ViewNode::divider());
    }
    if (shown.extraLargeShowsItems()) {
        std::vector<ViewNode> columns;
        for (const std::vector<WidgetItem>& column : itemColumns(m_layout.items))
            columns.push_back(std::move(ViewNode::vstack(Composition::extraLargeColumnStackSpacing, itemRows(column, false))).fillingWidth());
        std::vector<ViewNode> items;
        items.push_back(section({ WidgetSection::Rows::items }));
        items.push_back(ViewNode::hstack(Composition::extraLargeColumnSpacing, CrossAlignment::start, std::move(columns)));
        region.push_back(std::move(ViewNode::vstack(Composition::stackSpacing, std::move(items))).fillingWidth());
    }
    std::vector<ViewNode> parts;
    parts.push_back(std::move(ViewNode::hstack(Composition::extraLargeRowSpacing, CrossAlignment::start, std::move(region))).fillingWidth());
    return familyStack(std::move(parts));
}

}
