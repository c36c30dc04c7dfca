// SPDX-License-Identifier: MIT
#pragma once

#include "Widget/WidgetFamily.h"

namespace quelm {

// What the host tells the provider about a request: the family of the widget it is for and
// whether it only wants a preview (the "add widget…" gallery).
struct TimelineContext {
    WidgetFamily family = WidgetFamily::small;
    bool isPreview = false;

    bool operator==(const TimelineContext&) const = default;
};

}
