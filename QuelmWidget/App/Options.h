// SPDX-License-Identifier: MIT
#pragma once

#include "Widget/WidgetFamily.h"
#include "Widget/WidgetSortOrder.h"

#include <string_view>

namespace quelm::cli {

// "small", "medium", "large", "extraLarge" and the host's "small"… names; anything else
// throws UsageError naming the accepted values.
WidgetFamily parseFamilyArgument(std::string_view);
// "category" or "recent"; anything else throws UsageError naming them.
WidgetSortOrder parseSortArgument(std::string_view);

// The family option was not given.
[[noreturn]] void throwMissingFamily();

}
