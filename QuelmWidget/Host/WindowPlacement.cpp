// SPDX-License-Identifier: MIT
#include "Host/WindowPlacement.h"

#include <algorithm>

namespace quelm::host {

namespace {

constexpr int margin = 24;
constexpr int cascadeStep = 32;
// Free space is looked for on this grid, and windows keep this far apart.
constexpr int gridStep = 16;
constexpr int gap = 12;
// How much of a window must stay reachable on some screen for its saved place to count.
constexpr int reachable = 48;

bool reachableOn(const QRect& window, const QRect& screen)
{
    const QRect visible = window.intersected(screen);
    return visible.width() >= std::min(reachable, window.width()) && visible.height() >= std::min(reachable, window.height());
}

std::optional<QPoint> freeSpace(const QRect& screen, QSize size, const QList<QRect>& occupied)
{
    const QRect area = screen.adjusted(margin, margin, -margin, -margin);
    for (int y = area.top(); y + size.height() - 1 <= area.bottom(); y += gridStep) {
        for (int x = area.left(); x + size.width() - 1 <= area.right(); x += gridStep) {
            const QRect candidate = QRect(QPoint(x, y), size).adjusted(-gap, -gap, gap, gap);
            const bool free = std::none_of(occupied.begin(), occupied.end(), [&](const QRect& other) { return candidate.intersects(other); });
            if (free)
                return QPoint(x, y);
        }
    }
    return std::nullopt;
}

}

bool savedPlaceIsShown(const SavedPlace& saved, QSize size, const QList<ScreenArea>& screens)
{
    const QRect window(saved.position, size);
    if (!saved.screen.isEmpty()) {
        return std::any_of(screens.begin(), screens.end(), [&](const ScreenArea& screen) { return screen.name == saved.screen; })
            && std::any_of(screens.begin(), screens.end(), [&](const ScreenArea& screen) { return reachableOn(window, screen.available); });
    }
    return std::any_of(screens.begin(), screens.end(), [&](const ScreenArea& screen) { return reachableOn(window, screen.available); });
}

QPoint windowPosition(const std::optional<SavedPlace>& saved, QSize size, const QList<ScreenArea>& screens, const QList<QRect>& occupied)
{
    if (saved && savedPlaceIsShown(*saved, size, screens))
        return saved->position;
    for (const ScreenArea& screen : screens) {
        if (const auto free = freeSpace(screen.available, size, occupied))
            return *free;
    }
    const QRect screen = screens.isEmpty() ? QRect(0, 0, 1280, 800) : screens.first().available;
    QPoint position = screen.topLeft() + QPoint(margin, margin) + QPoint(cascadeStep, cascadeStep) * static_cast<int>(occupied.size());
    // Start the cascade over rather than walk off the screen.
    if (!screen.contains(QRect(position, size)))
        position = screen.topLeft() + QPoint(margin, margin);
    return position;
}

}
