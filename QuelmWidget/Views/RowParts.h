// SPDX-License-Identifier: MIT
#pragma once

#include "Rows/RowState.h"
#include "Views/ViewTree.h"

#include <optional>
#include <string>

namespace quelm::views::detail {

// The title over the detail line (when there is one), as every row stacks them.
ViewNode titleAndDetail(ViewNode title, std::optional<ViewNode> detail);

// The `row` node around an item's or group's content, carrying its id and what it shows.
ViewNode rowNode(RowKind kind, std::string id, const RowState& state, ViewNode content);

}
