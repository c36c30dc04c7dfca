#pragma once

#include "Widget/QuelmWidgetConfiguration.h"
#include "Timeline/TimelineContext.h"
#include "Widget/WidgetFamily.h"
#include "Widget/WidgetSortOrder.h"

#include <QJsonObject>
#include <QPoint>
#include <QString>

#include <optional>

namespace quelm::host {

// One widget the user placed on the desktop: its own size, its own configuration and where it
// stands. The id ties the desktop window to its line in widgets.json.
struct WidgetInstance {
    QString id;
    WidgetFamily family = WidgetFamily::medium;
    WidgetSortOrder sortOrder = WidgetSortOrder::category;
    // Top-left corner in the desktop's device-independent pixels; none until the host places it.
    std::optional<QPoint> position;

    // A new instance under a fresh id, with the configuration's defaults.
    static WidgetInstance placed(WidgetFamily family);

    QuelmWidgetConfiguration configuration() const { return QuelmWidgetConfiguration(sortOrder); }
    TimelineContext timelineContext() const { return { family, false }; }

    QJsonObject toJson() const;
    // Throws std::invalid_argument naming what is wrong.
    static WidgetInstance fromJson(const QJsonObject&);

    bool operator==(const WidgetInstance&) const = default;
};

}
