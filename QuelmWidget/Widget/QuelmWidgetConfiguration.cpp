// SPDX-License-Identifier: MIT
#include "Widget/QuelmWidgetConfiguration.h"

namespace quelm {

const QuelmWidgetConfiguration::SortOrderParameter& QuelmWidgetConfiguration::sortOrderParameter()
{
    static constexpr SortOrderParameter parameter {
        "sortOrder",
        "Ordenar por",
        defaultSortOrder,
        WidgetSortOrderInfo::allCases,
    };
    return parameter;
}

}
