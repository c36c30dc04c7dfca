// SPDX-License-Identifier: MIT
#pragma once

#include "Rows/ToggleButton.h"
#include "Views/ViewTree.h"

namespace quelm::views {

// The round start/stop button: its symbol (9 pt, bold) centred on a 20 × 20 circle of the
// secondary fill. A busy button is shown dimmed and does not react.
class ToggleButtonView {
public:
    static ViewNode node(const ToggleButton&);
};

}
