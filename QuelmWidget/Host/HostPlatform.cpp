// SPDX-License-Identifier: MIT
#include "Host/HostPlatform.h"

namespace quelm::host {

HostPlatform chooseHostPlatform(const DisplayEnvironment& environment)
{
    const bool namedWayland = environment.qtPlatform.rfind("wayland", 0) == 0;
    if (!environment.qtPlatform.empty() && !namedWayland)
        return { HostPlatform::Kind::qtWindows, {}, {} };
    if (environment.layerShell) {
        // Qt still shows the menus and dialogs; as Wayland windows where it can, else on X11.
        return { HostPlatform::Kind::layerShell, environment.qtPlatform.empty() ? "wayland;xcb;offscreen" : std::string(), {} };
    }
    if (environment.x11Display) {
        // A Wayland window cannot stay below the others; an X11 one can, through XWayland.
        return { HostPlatform::Kind::qtWindows, "xcb", {} };
    }
    if (!environment.waylandDisplay)
        return { HostPlatform::Kind::none, {}, "no display to show the widgets on (neither DISPLAY nor WAYLAND_DISPLAY is set)" };
    if (!environment.waylandReachable)
        return { HostPlatform::Kind::none, {}, "cannot reach the Wayland compositor named by WAYLAND_DISPLAY, and DISPLAY is not set for an X server" };
    return { HostPlatform::Kind::none, {},
        "the Wayland compositor offers no desktop layer (wlr-layer-shell), and DISPLAY is not set for XWayland: the widgets cannot stay on the desktop" };
}

}
