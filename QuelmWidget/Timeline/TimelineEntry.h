// SPDX-License-Identifier: MIT
#pragma once

#include "Widget/WidgetSortOrder.h"

#include <quelm/Date.h>
#include <quelm/SharedStore.h>
#include <quelm/WidgetCommand.h>
#include <quelm/WidgetSnapshot.h>

#include <map>
#include <string>

namespace quelm {

// One timeline entry: what the widget shows from `date` on.
struct TimelineEntry {
    // Item (or group) id → the action of the start/stop request still waiting for the app.
    using PendingActions = std::map<std::string, WidgetCommand::Action>;

    Date date;
    WidgetSnapshot snapshot = WidgetSnapshot::empty;
    PendingActions pending;
    SharedStore::AppStatus appStatus = SharedStore::AppStatus::notRunning;
    WidgetSortOrder sortOrder = WidgetSortOrder::category;

    // The fixed, invented state of the placeholder and the preview gallery: five items, one group
    // and two sessions, dated at the moment it was first asked for. Built once per process,
    // safely against concurrent first use, and never changed after.
    static const TimelineEntry& sample();
    // The sample as if it had been built at `now`: its dates moved so that every relative time
    // reads the same whenever it is rendered (the goldens, the README's pictures).
    static TimelineEntry sample(Date now);

    bool operator==(const TimelineEntry&) const = default;
};

}
