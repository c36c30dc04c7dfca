// SPDX-License-Identifier: MIT
#pragma once

#include "Views/Localizer.h"

#include <quelm/Date.h>

namespace quelm::views {

// What every view builder reads besides its own fields: the translations and locale of the
// snapshot's language, the user's own (for the mark's accessibility label), and the clock that
// relative times count from.
struct ViewContext {
    const Localizer& localizer;
    const Localizer& userLocalizer;
    Date now;
};

}
