// SPDX-License-Identifier: MIT
#include "Widget/WidgetSortOrder.h"

namespace quelm {

std::string_view WidgetSortOrderInfo::displayText(WidgetSortOrder order)
{
    switch (order) {
    case WidgetSortOrder::category:
        return "Tipo de processo";
    case WidgetSortOrder::recent:
        return "Iniciados por último";
    }
    return {};
}

std::string_view rawValue(WidgetSortOrder order)
{
    return order == WidgetSortOrder::recent ? "recent" : "category";
}

template<>
std::optional<WidgetSortOrder> fromRawValue<WidgetSortOrder>(std::string_view raw)
{
    if (raw == "category")
        return WidgetSortOrder::category;
    if (raw == "recent")
        return WidgetSortOrder::recent;
    return std::nullopt;
}

}
