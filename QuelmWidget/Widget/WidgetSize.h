// SPDX-License-Identifier: MIT
#pragma once

namespace quelm {

// A widget's extent in points (device-independent pixels).
struct WidgetSize {
    double width = 0;
    double height = 0;

    bool operator==(const WidgetSize&) const = default;
};

}
