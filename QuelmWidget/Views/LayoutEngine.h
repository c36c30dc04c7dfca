// SPDX-License-Identifier: MIT
#pragma once

#include "Views/Typography.h"
#include "Views/ViewTree.h"

#include <vector>

namespace quelm::views {

// A small stack layout, enough for the widget: gives every node of a tree its frame.
//   text     one line at its natural width, cut with "…" when the space offered is narrower
//   stack    children one after another with the stack's spacing; across the axis each child
//            is placed at the start or centred. A horizontal stack hands its width to rigid
//            children first (symbols, marks, buttons, fixed frames), then to texts and
//            stacks, the narrowest first, then shares what is left among spacers and the
//            children that fill the width. A vertical stack shares its spare height among its
//            spacers.
//   divider  one point thick, as long as its stack's other children are deep
//   others   wrap their one child (padding, fixed frames, centring as their Sizing says)
class LayoutEngine {
public:
    explicit LayoutEngine(const Typography& typography = Typography::standard())
        : m_typography(typography)
    {
    }

    // Lays `root` out in `bounds`: the root's frame is `bounds`.
    void layout(ViewNode& root, const Frame& bounds) const;

    // The size `node` takes when offered `width` (its natural size when that is enough).
    Size measure(const ViewNode& node, double width) const;

    // The side of the square in which a symbol of `pointSize` is drawn.
    static double symbolSide(double pointSize);

private:
    Size measureContent(const ViewNode& node, double width) const;
    std::vector<double> allocateWidths(const ViewNode& stack, double width) const;
    void place(ViewNode& node, const Frame& frame) const;
    void placeStack(ViewNode& node, const node::Stack& stack, const Frame& inner) const;

    const Typography& m_typography;
};

}
