// SPDX-License-Identifier: MIT
#include "Views/ToggleButtonView.h"

namespace quelm::views {

namespace {

constexpr Color primary = Color::of(Color::Named::primary);

}

ViewNode ToggleButtonView::node(const ToggleButton& button)
{
    node::Button content { button.id, button.start(), std::string(button.symbol()), button.enabled(), ToggleButton::circleFill };
    node::Symbol symbol { std::string(button.symbol()), primary, 1, std::nullopt, ToggleButton::symbolFontSize, 0 };
    ViewNode result = ViewNode::wrapping(std::move(content), ViewNode { std::move(symbol) });
    result.sizing.width = ToggleButton::size;
    result.sizing.height = ToggleButton::size;
    result.sizing.centersContent = true;
    return result;
}

}
