// SPDX-License-Identifier: MIT
#pragma once

#include <compare>
#include <optional>
#include <string_view>

namespace quelm {

// A colour as the views paint it: either one of the toolkit's named colours, resolved at draw
// time (the widget always renders in its dark appearance), or explicit sRGB components in 0…1.
struct Color {
    enum class Named {
        primary,
        secondary,
        tertiary,
        orange,
        accent,
        white,
        clear,
        secondaryFill,
    };

    std::optional<Named> named {};
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    static constexpr Color rgb(double r, double g, double b, double a = 1) { return Color { std::nullopt, r, g, b, a }; }
    static constexpr Color of(Named n) { return Color { n, 0, 0, 0, 1 }; }

    // The same colour at another opacity (named colours keep their name).
    constexpr Color withAlpha(double a) const
    {
        Color copy = *this;
        copy.alpha = a;
        return copy;
    }

    bool operator==(const Color&) const = default;
};

std::string_view rawValue(Color::Named);

}
