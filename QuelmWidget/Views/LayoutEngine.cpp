// SPDX-License-Identifier: MIT
#include "Views/LayoutEngine.h"

#include "Widget/WidgetFamily.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace quelm::views {

namespace {

constexpr double unbounded = std::numeric_limits<double>::infinity();
// How much of its square a symbol of the icon set covers, relative to a text of the same size.
constexpr double symbolScale = 1.15;
constexpr double dividerThickness = 1;

Frame inset(const Frame& frame, const Insets& insets)
{
    return {
        frame.x + insets.leading,
        frame.y + insets.top,
        std::max(0.0, frame.width - insets.leading - insets.trailing),
        std::max(0.0, frame.height - insets.top - insets.bottom),
    };
}

bool isRigid(const ViewNode& node)
{
    return node.sizing.width || node.is<node::Symbol>() || node.is<node::Mark>() || node.is<node::Button>()
        || node.is<node::Divider>();
}

// Whether the node takes all the width it is offered.
bool expandsHorizontally(const ViewNode& node)
{
    if (node.sizing.width)
        return false;
    if (node.sizing.fillsWidth || node.is<node::Glass>())
        return true;
    if (const auto* stack = node.as<node::Stack>()) {
        return std::any_of(node.children.begin(), node.children.end(), [&](const ViewNode& child) {
            if (child.is<node::Spacer>())
                return stack->axis == Axis::horizontal;
            return expandsHorizontally(child);
        });
    }
    if (node.is<node::Text>() || node.is<node::Spacer>() || node.is<node::Divider>())
        return false;
    return std::any_of(node.children.begin(), node.children.end(), expandsHorizontally);
}

double totalSpacing(const node::Stack& stack, std::size_t count)
{
    return count > 1 ? stack.spacing * static_cast<double>(count - 1) : 0;
}

}

double LayoutEngine::symbolSide(double pointSize)
{
    return pointSize * symbolScale;
}

void LayoutEngine::layout(ViewNode& root, const Frame& bounds) const
{
    place(root, bounds);
}

Size LayoutEngine::measure(const ViewNode& node, double width) const
{
    const Insets& padding = node.sizing.padding;
    const double horizontalPadding = padding.leading + padding.trailing;
    const double offered = node.sizing.width ? *node.sizing.width : width;
    const Size content = measureContent(node, std::max(0.0, offered - horizontalPadding));

    Size size;
    if (node.sizing.width)
        size.width = *node.sizing.width;
    else if (expandsHorizontally(node) && std::isfinite(width))
        size.width = width;
    else
        size.width = content.width + horizontalPadding;
    size.height = node.sizing.height ? *node.sizing.height : content.height + padding.top + padding.bottom;
    return size;
}

Size LayoutEngine::measureContent(const ViewNode& node, double width) const
{
    if (const auto* text = node.as<node::Text>()) {
        const double single = m_typography.width(text->text, text->font);
        if (text->lineLimit <= 1 || !std::isfinite(width) || single <= width)
            return { std::min(single, width), m_typography.lineHeight(text->font) };
        const std::vector<std::string> lines = m_typography.wrapped(text->text, text->font, width, text->lineLimit);
        double widest = 0;
        for (const std::string& line : lines)
            widest = std::max(widest, m_typography.width(line, text->font));
        return { std::min(widest, width), m_typography.lineHeight(text->font) * static_cast<double>(lines.size()) };
    }
    if (const auto* symbol = node.as<node::Symbol>()) {
        const double side = symbolSide(symbol->pointSize);
        return { side, side };
    }
    if (node.is<node::Divider>())
        return { dividerThickness, dividerThickness };
    if (const auto* spacer = node.as<node::Spacer>())
        return { spacer->minLength, spacer->minLength };
    if (const auto* stack = node.as<node::Stack>()) {
        Size size;
        if (stack->axis == Axis::vertical) {
            for (const ViewNode& child : node.children) {
                const Size childSize = measure(child, width);
                if (!child.is<node::Spacer>() && !child.is<node::Divider>())
                    size.width = std::max(size.width, childSize.width);
                size.height += childSize.height;
            }
        } else {
            const std::vector<double> widths = allocateWidths(node, width);
            for (std::size_t i = 0; i < node.children.size(); ++i) {
                const ViewNode& child = node.children[i];
                size.width += widths[i];
                if (!child.is<node::Spacer>() && !child.is<node::Divider>())
                    size.height = std::max(size.height, measure(child, widths[i]).height);
            }
            size.width += totalSpacing(*stack, node.children.size());
            return size;
        }
        size.height += totalSpacing(*stack, node.children.size());
        return size;
    }
    // A wrapper: as large as its child.
    if (node.children.empty())
        return {};
    return measure(node.children.front(), width);
}

std::vector<double> LayoutEngine::allocateWidths(const ViewNode& stackNode, double width) const
{
    const auto& stack = *stackNode.as<node::Stack>();
    const std::vector<ViewNode>& children = stackNode.children;
    std::vector<double> widths(children.size(), 0);
    std::vector<std::size_t> greedy;
    struct Compressible {
        std::size_t index;
        double ideal;
    };
    std::vector<Compressible> compressible;

    double remaining = width - totalSpacing(stack, children.size());
    for (std::size_t i = 0; i < children.size(); ++i) {
        const ViewNode& child = children[i];
        if (const auto* spacer = child.as<node::Spacer>()) {
            widths[i] = spacer->minLength;
            remaining -= spacer->minLength;
            greedy.push_back(i);
        } else if (isRigid(child)) {
            widths[i] = measure(child, unbounded).width;
            remaining -= widths[i];
        } else if (expandsHorizontally(child)) {
            greedy.push_back(i);
        } else {
            compressible.push_back({ i, measure(child, unbounded).width });
        }
    }

    // The narrowest first, so that a short text keeps its width and a long one gives way.
    std::stable_sort(compressible.begin(), compressible.end(),
        [](const Compressible& a, const Compressible& b) { return a.ideal < b.ideal; });
    for (std::size_t k = 0; k < compressible.size(); ++k) {
        const double share = std::max(0.0, remaining) / static_cast<double>(compressible.size() - k);
        const double allotted = std::min(compressible[k].ideal, share);
        widths[compressible[k].index] = allotted;
        remaining -= allotted;
    }

    if (std::isfinite(remaining) && remaining > 0 && !greedy.empty()) {
        const double share = remaining / static_cast<double>(greedy.size());
        for (std::size_t index : greedy)
            widths[index] += share;
    }
    return widths;
}

void LayoutEngine::place(ViewNode& node, const Frame& frame) const
{
    node.frame = frame;
    const Frame inner = inset(frame, node.sizing.padding);

    if (auto* text = node.as<node::Text>()) {
        if (text->lineLimit <= 1) {
            text->shown = m_typography.elided(text->text, text->font, inner.width);
            return;
        }
        text->shown.clear();
        for (const std::string& line : m_typography.wrapped(text->text, text->font, inner.width, text->lineLimit)) {
            if (!text->shown.empty())
                text->shown += '\n';
            text->shown += line;
        }
        return;
    }
    if (const auto* stack = node.as<node::Stack>()) {
        placeStack(node, *stack, inner);
        return;
    }
    if (node.is<node::Glass>()) {
        const Frame content = inset(inner, Insets::all(widgetContentMargin));
        for (ViewNode& child : node.children)
            place(child, child.sizing.coversMargins ? inner : content);
        return;
    }
    for (ViewNode& child : node.children) {
        if (!node.sizing.centersContent) {
            place(child, inner);
            continue;
        }
        const Size size = measure(child, inner.width);
        const double width = std::min(size.width, inner.width);
        const double height = std::min(size.height, inner.height);
        place(child, { inner.x + (inner.width - width) / 2, inner.y + (inner.height - height) / 2, width, height });
    }
}

void LayoutEngine::placeStack(ViewNode& node, const node::Stack& stack, const Frame& inner) const
{
    std::vector<ViewNode>& children = node.children;
    const double spacing = totalSpacing(stack, children.size());

    if (stack.axis == Axis::vertical) {
        std::vector<Size> sizes;
        sizes.reserve(children.size());
        std::size_t spacers = 0;
        double used = spacing;
        for (const ViewNode& child : children) {
            Size size;
            if (const auto* spacer = child.as<node::Spacer>()) {
                size = { inner.width, spacer->minLength };
                ++spacers;
            } else if (child.is<node::Divider>()) {
                size = { inner.width, dividerThickness };
            } else {
                size = measure(child, inner.width);
                size.width = std::min(size.width, inner.width);
            }
            used += size.height;
            sizes.push_back(size);
        }
        const double spare = inner.height - used;
        if (spare > 0 && spacers > 0) {
            for (std::size_t i = 0; i < children.size(); ++i) {
                if (children[i].is<node::Spacer>())
                    sizes[i].height += spare / static_cast<double>(spacers);
            }
        }
        double y = inner.y;
        for (std::size_t i = 0; i < children.size(); ++i) {
            const double x = stack.alignment == CrossAlignment::center ? inner.x + (inner.width - sizes[i].width) / 2 : inner.x;
            place(children[i], { x, y, sizes[i].width, sizes[i].height });
            y += sizes[i].height + stack.spacing;
        }
        return;
    }

    const std::vector<double> widths = allocateWidths(node, inner.width);
    double x = inner.x;
    for (std::size_t i = 0; i < children.size(); ++i) {
        ViewNode& child = children[i];
        double height = inner.height;
        if (!child.is<node::Spacer>() && !child.is<node::Divider>())
            height = std::min(measure(child, widths[i]).height, inner.height);
        const double y = stack.alignment == CrossAlignment::center ? inner.y + (inner.height - height) / 2 : inner.y;
        place(child, { x, y, widths[i], height });
        x += widths[i] + stack.spacing;
    }
}

}
