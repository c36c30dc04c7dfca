// SPDX-License-Identifier: MIT
#include "App/Options.h"

#include "CommandErrors.h"

#include <string>

namespace quelm::cli {

namespace {
constexpr std::string_view acceptedFamilies
    = "small, medium, large, extraLarge (or small, medium, large, extraLarge)";
constexpr std::string_view acceptedSortOrders = "category, recent";
}

WidgetFamily parseFamilyArgument(std::string_view text)
{
    if (const auto family = parseWidgetFamily(text))
        return *family;
    throw UsageError("unknown family \"" + std::string(text) + "\"; accepted: " + std::string(acceptedFamilies));
}

WidgetSortOrder parseSortArgument(std::string_view text)
{
    if (const auto order = fromRawValue<WidgetSortOrder>(text))
        return *order;
    throw UsageError("unknown sort order \"" + std::string(text) + "\"; accepted: " + std::string(acceptedSortOrders));
}

void throwMissingFamily()
{
    throw UsageError("missing --family; accepted: " + std::string(acceptedFamilies));
}

}
