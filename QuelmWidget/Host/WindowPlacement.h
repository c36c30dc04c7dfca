#pragma once

#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>

#include <optional>

namespace quelm::host {

// Where a widget window of `size` goes: at `saved` when at least a corner of it would still be
// on one of the `screens` (available areas, without panels), otherwise in the first screen's
// top-left corner, cascaded by `placedBefore` steps so that new widgets do not hide each other.
QPoint windowPosition(std::optional<QPoint> saved, QSize size, const QList<QRect>& screens, int placedBefore);

}
