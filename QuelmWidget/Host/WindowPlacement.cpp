#include "Host/WindowPlacement.h"

#include <algorithm>

namespace quelm::host {

namespace {

constexpr int margin = 24;
constexpr int cascadeStep = 32;
// How much of a window must stay reachable on some screen for its saved place to count.
constexpr int reachable = 48;

}

QPoint windowPosition(std::optional<QPoint> saved, QSize size, const QList<QRect>& screens, int placedBefore)
{
    if (saved) {
        const QRect window(*saved, size);
        for (const QRect& screen : screens) {
            const QRect visible = window.intersected(screen);
            if (visible.width() >= std::min(reachable, size.width()) && visible.height() >= std::min(reachable, size.height()))
                return *saved;
        }
    }
    const QRect screen = screens.isEmpty() ? QRect(0, 0, 1280, 800) : screens.first();
    QPoint position = screen.topLeft() + QPoint(margin, margin) + QPoint(cascadeStep, cascadeStep) * placedBefore;
    // Start the cascade over rather than walk off the screen.
    if (!screen.contains(QRect(position, size)))
        position = screen.topLeft() + QPoint(margin, margin);
    return position;
}

}
