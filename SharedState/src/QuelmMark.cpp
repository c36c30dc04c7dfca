// SPDX-License-Identifier: MIT
#include <quelm/QuelmMark.h>

#include <cmath>
#include <numbers>

namespace quelm::QuelmMark {

namespace {

double halfWidth(const Rect& rect)
{
    return rect.width * 0.5;
}

Point polar(const Rect& rect, double radius, double angle)
{
    return { rect.midX() + radius * std::cos(angle), rect.midY() + radius * std::sin(angle) };
}

Rect centredSquare(const Rect& rect, double radius)
{
    return { rect.midX() - radius, rect.midY() - radius, radius * 2, radius * 2 };
}

}

Path starPath(const Rect& rect)
{
    constexpr double pi = std::numbers::pi;
    const double h = halfWidth(rect);
    // Tips pulled in by half the stroke width, so the stroked outline stays inside the rectangle.
    const double outer = h + h * (-tipRounding) * 0.5;
    const double inner = outer * waist;

    const auto tip = [&](int k) { return polar(rect, outer, pi / 4 + k * pi / 2); };
    const auto pinch = [&](int k) { return polar(rect, inner, pi / 2 + k * pi / 2); };

    Path path;
    path.moveTo(tip(0));
    for (int k = 0; k < 4; ++k)
        path.curveTo(pinch(k), pinch(k), tip(k + 1));
    path.close();
    return path;
}

double strokeWidth(const Rect& rect)
{
    return halfWidth(rect) * tipRounding;
}

Rect holeRect(const Rect& rect)
{
    return centredSquare(rect, halfWidth(rect) * (sphereRadius + hairline));
}

Rect sphereRect(const Rect& rect)
{
    return centredSquare(rect, halfWidth(rect) * sphereRadius);
}

}
