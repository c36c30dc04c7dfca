// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace quelm::host {

// Where the host shows its widgets, decided once at start from what the session offers:
//   - a Wayland compositor with desktop layers (layer-shell): our own layer surfaces;
//   - otherwise an X server (DISPLAY, also XWayland under GNOME): Qt's xcb windows, kept below;
//   - neither: nothing, and the reason.
// A Qt platform the user named (QT_QPA_PLATFORM, other than Wayland) is taken as it is.
struct DisplayEnvironment {
    std::string qtPlatform;       // QT_QPA_PLATFORM, empty when unset
    bool waylandDisplay = false;  // WAYLAND_DISPLAY is set
    bool waylandReachable = false;
    bool layerShell = false;      // the compositor offers zwlr_layer_shell_v1
    bool x11Display = false;      // DISPLAY is set
};

struct HostPlatform {
    enum class Kind {
        layerShell,
        qtWindows,
        none,
    };
    Kind kind = Kind::none;
    // What QT_QPA_PLATFORM becomes before Qt starts; empty leaves it as it is.
    std::string qtPlatform;
    // Why nothing can be shown (kind none), for the user.
    std::string problem;
};

HostPlatform chooseHostPlatform(const DisplayEnvironment&);

}
