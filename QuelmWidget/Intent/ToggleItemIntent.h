// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace quelm {

class SharedStore;

// How a host presents one parameter of an intent.
struct IntentParameter {
    std::string_view name; // the field that holds it
    std::string_view title;

    bool operator==(const IntentParameter&) const = default;
};

// What a start/stop button does when tapped: asks the companion app to start or stop one item
// (or group) through the shared container, and wakes the app. The app, not the widget, carries
// the request out.
struct ToggleItemIntent {
    static constexpr std::string_view title = "Iniciar ou parar item";
    static constexpr std::array<IntentParameter, 2> parameters { {
        { "itemID", "Item" },
        { "start", "Iniciar" },
    } };

    // The id of an item or of a group, passed on unchanged.
    std::optional<std::string> itemID;
    // true asks for a start, false for a stop.
    std::optional<bool> start;

    // Both parameters unset, as the host first makes an intent.
    ToggleItemIntent() = default;
    ToggleItemIntent(std::string item, bool starts)
        : itemID(std::move(item))
        , start(starts)
    {
    }

    // Writes a new command into the container's queue, marks the item pending and posts the command
    // notification. Without a container it does nothing, silently. When the command cannot be
    // written, the store's error (std::system_error or EncodingError) propagates and nothing is
    // marked or posted. Throws std::logic_error when a parameter is unset.
    void perform() const;
    // The same on the container at `store`, for a companion's tool that names its own. Returns
    // why the item could not be marked pending (the command is queued all the same), which a tap
    // lets pass and a tool reports.
    std::error_code perform(const SharedStore& store) const;

    bool operator==(const ToggleItemIntent&) const = default;
};

}
