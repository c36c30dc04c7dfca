// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/Geometry.h>
#include <quelm/Path.h>

namespace quelm::QuelmMark {

// The brand mark: a four-pointed star with pinched sides, a round hole and a sphere in it.
// Every size is a fraction of the half width of the given rectangle; its height is ignored.
inline constexpr double waist = 0.27;
inline constexpr double tipRounding = 0.12;
inline constexpr double sphereRadius = 0.25;
inline constexpr double hairline = 0.045;

Path starPath(const Rect&);
double strokeWidth(const Rect&);
Rect holeRect(const Rect&);
Rect sphereRect(const Rect&);

}
