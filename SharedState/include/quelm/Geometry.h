// SPDX-License-Identifier: MIT
#pragma once

namespace quelm {

struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point&) const = default;
};

// Origin at the minimum corner.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    constexpr double midX() const { return x + width * 0.5; }
    constexpr double midY() const { return y + height * 0.5; }
    bool operator==(const Rect&) const = default;
};

}
