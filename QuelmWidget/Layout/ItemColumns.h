// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/WidgetItem.h>

#include <cstddef>
#include <vector>

namespace quelm {

// How many items an extra-large widget stacks in one column.
inline constexpr std::size_t itemColumnLength = 7;

// The items cut in order into consecutive columns of `itemColumnLength`: items 0–6, 7–13, and so
// on; the last column holds the remainder (1 to 7 items). No items give no columns. The number of
// columns is not capped here (the layout bounds the items).
std::vector<std::vector<WidgetItem>> itemColumns(const std::vector<WidgetItem>& items);

}
