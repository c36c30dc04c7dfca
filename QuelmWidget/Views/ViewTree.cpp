// SPDX-License-Identifier: MIT
#include "Views/ViewTree.h"

#include "Views/ShownText.h"

#include <array>

namespace quelm::views {

std::string_view ViewNode::typeName() const
{
    // In the order of NodeContent's alternatives.
    static constexpr std::array<std::string_view, std::variant_size_v<NodeContent>> names {
        "stack", "text", "symbol", "mark", "button", "link", "row", "section", "message", "glass", "divider", "spacer"
    };
    return names[content.index()];
}

ViewNode ViewNode::stack(Axis axis, double spacing, CrossAlignment alignment, std::vector<ViewNode> children)
{
    return ViewNode { node::Stack { axis, spacing, alignment }, {}, std::move(children) };
}

ViewNode ViewNode::text(std::string text, Font font, Color color)
{
    return ViewNode { node::Text { shownText(std::move(text)), font, color } };
}

ViewNode ViewNode::numericText(std::string text, Font font, Color color)
{
    return ViewNode { node::Text { shownText(std::move(text)), font, color, {}, true } };
}

ViewNode ViewNode::spacer(double minLength)
{
    return ViewNode { node::Spacer { minLength } };
}

ViewNode ViewNode::divider()
{
    // The hairline between columns, as light as the glass's border.
    return ViewNode { node::Divider { Color::of(Color::Named::white).withAlpha(0.12) } };
}

ViewNode ViewNode::wrapping(NodeContent content, ViewNode child)
{
    ViewNode wrapper { std::move(content) };
    wrapper.children.push_back(std::move(child));
    return wrapper;
}

ViewNode&& ViewNode::framed(std::optional<double> width, std::optional<double> height) &&
{
    sizing.width = width;
    sizing.height = height;
    return std::move(*this);
}

ViewNode&& ViewNode::fillingWidth() &&
{
    sizing.fillsWidth = true;
    return std::move(*this);
}

ViewNode&& ViewNode::padded(Insets insets) &&
{
    sizing.padding = insets;
    return std::move(*this);
}

const ViewNode* hitTarget(const ViewNode& root, double x, double y)
{
    if (!root.frame.contains(x, y))
        return nullptr;
    // Children are painted over their parent, so the innermost target wins.
    for (auto child = root.children.rbegin(); child != root.children.rend(); ++child) {
        if (const ViewNode* target = hitTarget(*child, x, y))
            return target;
    }
    if (root.is<node::Link>() || root.is<node::Button>())
        return &root;
    return nullptr;
}

}
