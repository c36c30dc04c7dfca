// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/Geometry.h>

#include <vector>

namespace quelm {

// A 2-D outline of moves, cubic curves and closes, for any painter to replay.
class Path {
public:
    struct Element {
        enum class Kind {
            move,
            curve,
            close,
        };
        Kind kind = Kind::move;
        Point to {};      // move, curve
        Point control1 {}; // curve
        Point control2 {}; // curve
        bool operator==(const Element&) const = default;
    };

    void moveTo(Point to);
    void curveTo(Point control1, Point control2, Point to);
    void close();

    const std::vector<Element>& elements() const { return m_elements; }
    bool operator==(const Path&) const = default;

private:
    std::vector<Element> m_elements;
};

}
