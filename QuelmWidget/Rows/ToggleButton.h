// SPDX-License-Identifier: MIT
#pragma once

#include "Look/Color.h"
#include "Rows/RowState.h"

#include <string>
#include <string_view>
#include <utility>

namespace quelm {

// The round start/stop button at the end of an item or group row. Clicking it runs a
// ToggleItemIntent for `id` (a group's id unchanged) that starts when `start()` says so.
struct ToggleButton {
    static constexpr double symbolFontSize = 9; // bold
    static constexpr double size = 20;          // the circle's frame, width and height
    static constexpr Color circleFill = Color::of(Color::Named::secondaryFill);

    std::string id;
    bool isRunning = false;      // the record's own state
    bool appearsRunning = false; // the state to show
    bool busy = false;           // a change is under way

    ToggleButton() = default;
    ToggleButton(std::string itemID, bool running, bool shownRunning, bool isBusy)
        : id(std::move(itemID))
        , isRunning(running)
        , appearsRunning(shownRunning)
        , busy(isBusy)
    {
    }
    ToggleButton(std::string itemID, const RowState& state)
        : ToggleButton(std::move(itemID), state.isRunning, state.appearsRunning, state.busy)
    {
    }

    // The intent's `start`: the opposite of the record's own state, never of the shown one.
    bool start() const { return !isRunning; }
    // "stop.fill" while the row appears running, else "play.fill".
    std::string_view symbol() const { return appearsRunning ? "stop.fill" : "play.fill"; }
    // Disabled while busy: it shows its state but cannot be tapped.
    bool enabled() const { return !busy; }

    bool operator==(const ToggleButton&) const = default;
};

}
