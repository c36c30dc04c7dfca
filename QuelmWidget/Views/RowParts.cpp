// SPDX-License-Identifier: MIT
#include "Views/RowParts.h"

namespace quelm::views::detail {

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
