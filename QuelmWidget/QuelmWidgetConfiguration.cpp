#include "QuelmWidgetConfiguration.h"

namespace quelm {

const QuelmWidgetConfiguration::SortOrderParameter& QuelmWidgetConfiguration::sortOrderParameter()
{
    static constexpr SortOrderParameter parameter {
        "sortOrder",
        "Ordenar por",
        defaultSortOrder,
        std::nullopt,
        std::nullopt,
        WidgetSortOrderInfo::allCases,
    };
    return parameter;
}

}
