// SPDX-License-Identifier: MIT
#pragma once

#include "Widget/QuelmWidgetConfiguration.h"
#include "Timeline/TimelineContext.h"
#include "Widget/WidgetFamily.h"
#include "Widget/WidgetSortOrder.h"

#include <QJsonObject>
#include <QPoint>
#include <QString>

#include <optional>
#include <string>
#include <vector>

namespace quelm::host {

// One widget the user placed on the desktop: its own size, its own configuration and where it
// stands. The id ties the desktop window to its line in widgets.json.
struct WidgetInstance {
    QString id;
    WidgetFamily family = WidgetFamily::medium;
    WidgetSortOrder sortOrder = WidgetSortOrder::category;
    // Top-left corner in the desktop's device-independent pixels; none until the host places it.
    std::optional<QPoint> position;
    // The name of the screen `position` is on ("DP-1"); empty when not known. A place on a screen
    // that is not connected is kept for when it returns.
    QString screen {};

    // A new instance under a fresh id, with the configuration's defaults.
    static WidgetInstance placed(WidgetFamily family);

    QuelmWidgetConfiguration configuration() const { return QuelmWidgetConfiguration(sortOrder); }
    TimelineContext timelineContext() const { return { family, false }; }

    QJsonObject toJson() const;
    // Never fails: a value that cannot be read takes its default for this instance alone (a
    // fresh id, the medium family, the category order, no position), and `repairs`, when given,
    // gets one line naming it.
    static WidgetInstance fromJson(const QJsonObject&, std::vector<std::string>* repairs = nullptr);

    bool operator==(const WidgetInstance&) const = default;
};

}
