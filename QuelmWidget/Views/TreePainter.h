// SPDX-License-Identifier: MIT
#pragma once

#include "Views/Palette.h"
#include "Views/Typography.h"
#include "Views/ViewTree.h"

class QPainter;

namespace quelm::views {

// Paints a laid-out view tree, back to front in reading order, in the painter's coordinates
// (points). Texts are painted with the same Typography that measured them.
class TreePainter {
public:
    TreePainter(const Palette& palette, const Typography& typography = Typography::standard())
        : m_palette(palette)
        , m_typography(typography)
    {
    }

    void paint(QPainter&, const ViewNode& root) const;

private:
    void paintNode(QPainter&, const ViewNode&) const;

    const Palette& m_palette;
    const Typography& m_typography;
};

}
