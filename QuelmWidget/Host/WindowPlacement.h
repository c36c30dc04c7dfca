// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>

#include <optional>

namespace quelm::host {

// A connected screen as placement sees it: its name (the output's, "DP-1") and its available
// area, without panels. The first of a list is the primary screen.
struct ScreenArea {
    QString name;
    QRect available;
};

// Where a widget window was saved: its top-left corner and, when known, the screen it was on.
struct SavedPlace {
    QPoint position;
    QString screen;
};

// Where a widget window of `size` goes:
//   - at its saved place when that screen is connected (or, for a place saved without a screen,
//     when at least a corner of the window would be on some screen);
//   - otherwise — new, or saved on a screen that is not connected now — in the first free space
//     of the screens (the primary first), a margin from their edges and never over one of the
//     `occupied` windows; when no screen has room, cascaded from the primary screen's corner.
QPoint windowPosition(const std::optional<SavedPlace>& saved, QSize size, const QList<ScreenArea>& screens, const QList<QRect>& occupied);

// Whether the saved place is where the window belongs now (its screen is connected).
bool savedPlaceIsShown(const SavedPlace& saved, QSize size, const QList<ScreenArea>& screens);

}
