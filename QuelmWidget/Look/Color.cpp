// SPDX-License-Identifier: MIT
#include "Look/Color.h"

#include <array>

namespace quelm {

std::string_view rawValue(Color::Named named)
{
    static constexpr std::array<std::string_view, 8> names {
        "primary", "secondary", "tertiary", "orange", "accent", "white", "clear", "secondaryFill"
    };
    return names[static_cast<std::size_t>(named)];
}

}
