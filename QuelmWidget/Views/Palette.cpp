// SPDX-License-Identifier: MIT
#include "Views/Palette.h"

#include <QGuiApplication>
#include <QPalette>

#include <algorithm>

namespace quelm::views {

namespace {

QColor fromComponents(double red, double green, double blue, double alpha)
{
    const auto clamp = [](double value) { return std::clamp(value, 0.0, 1.0); };
    return QColor::fromRgbF(static_cast<float>(clamp(red)), static_cast<float>(clamp(green)), static_cast<float>(clamp(blue)),
        static_cast<float>(clamp(alpha)));
}

}

Palette::Palette(Color accent)
    : m_accent(accent.named ? defaultAccent : accent)
{
}

Palette Palette::fromDesktop()
{
    const QString platform = QGuiApplication::platformName();
    if (!qGuiApp || platform == QLatin1String("offscreen") || platform == QLatin1String("minimal"))
        return Palette();
    const QColor highlight = QGuiApplication::palette().color(QPalette::Active, QPalette::Highlight);
    if (!highlight.isValid())
        return Palette();
    return Palette(Color::rgb(highlight.redF(), highlight.greenF(), highlight.blueF()));
}

QColor Palette::resolve(const Color& color, double opacity) const
{
    if (!color.named)
        return fromComponents(color.red, color.green, color.blue, color.alpha * opacity);
    const double alpha = color.alpha * opacity;
    switch (*color.named) {
    case Color::Named::primary:
        return fromComponents(1, 1, 1, 0.85 * alpha);
    case Color::Named::secondary:
        return fromComponents(1, 1, 1, 0.55 * alpha);
    case Color::Named::tertiary:
        return fromComponents(1, 1, 1, 0.25 * alpha);
    case Color::Named::secondaryFill:
        return fromComponents(1, 1, 1, 0.12 * alpha);
    case Color::Named::orange:
        return fromComponents(1.0, 0.62, 0.04, alpha);
    case Color::Named::accent:
        return fromComponents(m_accent.red, m_accent.green, m_accent.blue, m_accent.alpha * alpha);
    case Color::Named::white:
        return fromComponents(1, 1, 1, alpha);
    case Color::Named::clear:
        break;
    }
    return fromComponents(0, 0, 0, 0);
}

}
