// SPDX-License-Identifier: MIT
#include "Layout/ItemColumns.h"

#include <algorithm>

namespace quelm {

std::vector<std::vector<WidgetItem>> itemColumns(const std::vector<WidgetItem>& items)
{
    std::vector<std::vector<WidgetItem>> columns;
    columns.reserve((items.size() + itemColumnLength - 1) / itemColumnLength);
    for (std::size_t start = 0; start < items.size(); start += itemColumnLength) {
        const std::size_t end = std::min(items.size(), start + itemColumnLength);
        columns.emplace_back(items.begin() + static_cast<std::ptrdiff_t>(start), items.begin() + static_cast<std::ptrdiff_t>(end));
    }
    return columns;
}

}
