// SPDX-License-Identifier: MIT
#pragma once

#include "Views/ViewTree.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace quelm::views {

// What changes between two consecutive renders of a widget and how each change animates. Rows
// that appear, vanish or change fade as a whole (the window cross-fades the two images); on top
// of that, a count whose text changed in place rolls its digits, and a symbol swapped for another
// in place is replaced (the old one shrinks and fades as the new one grows in). Pure: it only
// compares the two laid-out trees.
class RenderTransition {
public:
    enum class Kind {
        roll,    // numeric text: the old line slides out as the new one slides in
        replace, // symbol: the old shrinks and fades out, the new grows from half size and fades in
    };
    enum class Direction {
        up,   // the number grew: the old slides up and out, the new comes from below
        down, // the number shrank: the old slides down and out, the new comes from above
    };

    // Child indices from the root down to one node.
    using NodePath = std::vector<std::size_t>;

    struct Region {
        Kind kind = Kind::roll;
        // Where it animates, in points: the new frame of a replaced symbol; both frames of a roll.
        Frame frame;
        Direction direction = Direction::up;
        // How far the node's painting spills past its frame (a symbol's halo).
        double bleed = 0;
        // The node in the previous tree and in the next one.
        NodePath previousPath;
        NodePath nextPath;
        bool operator==(const Region&) const = default;
    };

    // The regions that animate specially when `next` follows `previous`; none for the same state.
    static RenderTransition between(const ViewNode& previous, const ViewNode& next);

    const std::vector<Region>& regions() const { return m_regions; }
    bool isEmpty() const { return m_regions.empty(); }

    // The tree without the nodes that animate (as if they were blank), painted under the moving
    // parts so that neither the old nor the new content shows twice.
    ViewNode previousBackground(const ViewNode& previous) const;
    ViewNode nextBackground(const ViewNode& next) const;

    // Up when the first number that differs grew, down when it shrank; up when no number differs.
    static Direction rollDirection(std::string_view previous, std::string_view next);

private:
    std::vector<Region> m_regions;
};

}
