// SPDX-License-Identifier: MIT
#pragma once

#include "Views/Palette.h"
#include "Views/RenderTransition.h"
#include "Views/WidgetRenderer.h"

#include <QImage>

class QPainter;

namespace quelm::views {

// The change from one render of a widget to the next, drawn frame by frame: the new image fades in
// over the old one while the regions of its RenderTransition roll or are replaced. Building it
// paints what lies under the moving parts once; a frame then only composes images, so a window can
// draw one for every tick of its animation clock.
class TransitionView {
public:
    // No change in progress: `paint` draws the next image alone.
    TransitionView() = default;
    // From `before` (shown as `previousImage`) to `after` (shown as `nextImage`, at its device
    // pixel ratio). Images of different sizes do not animate: the next one replaces the old.
    TransitionView(const RenderedWidget& before, QImage previousImage, const RenderedWidget& after, const QImage& nextImage,
        const Palette&);

    bool isEmpty() const { return m_previous.isNull(); }
    const RenderTransition& plan() const { return m_plan; }

    // The frame at `progress` from 0 (the old render) to 1 (exactly `next`), over what `painter`
    // holds. `next` is the image passed to the constructor.
    void paint(QPainter&, const QImage& next, double progress) const;

private:
    void paintRegion(QPainter&, const RenderTransition::Region&, const QImage& next, double progress) const;

    QImage m_previous;
    RenderTransition m_plan;
    // The old and new renders without the nodes that move, under the moving parts.
    QImage m_previousBackground;
    QImage m_background;
};

}
