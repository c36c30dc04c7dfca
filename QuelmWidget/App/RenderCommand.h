// SPDX-License-Identifier: MIT
#pragma once

#include "Timeline/TimelineEntry.h"
#include "Widget/WidgetFamily.h"

#include <quelm/Date.h>

#include <optional>
#include <span>
#include <string>

namespace quelm::cli {

// What `quelm-widget render` was asked to draw, read from its arguments.
struct RenderRequest {
    enum class Source {
        live,     // the first entry of the live timeline
        sample,   // the sample entry
        snapshot, // a snapshot file
    };
    enum class Format {
        png,
        json,
    };

    WidgetFamily family = WidgetFamily::small;
    WidgetSortOrder sortOrder = WidgetSortOrder::category;
    Source source = Source::live;
    std::string snapshotPath;
    std::optional<SharedStore::AppStatus> appStatus;
    TimelineEntry::PendingActions pending;
    std::optional<Date> now;
    Format format = Format::png;
    double scale = 2;
    std::optional<std::string> outputPath;

    // Throws UsageError for anything it cannot use.
    static RenderRequest parse(std::span<const std::string> arguments);
};

}
