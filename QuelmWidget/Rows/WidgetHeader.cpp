// SPDX-License-Identifier: MIT
#include "Rows/WidgetHeader.h"

#include <algorithm>

namespace quelm {

std::int64_t runningCount(const WidgetSnapshot& snapshot)
{
    return std::count_if(snapshot.items.begin(), snapshot.items.end(), [](const WidgetItem& item) { return item.isRunning; });
}

LocalizedText runningCountText(std::int64_t runningCount)
{
    if (runningCount == 1)
        return { "1 rodando" };
    return { "%lld rodando", { static_cast<long long>(runningCount) } };
}

}
