// SPDX-License-Identifier: MIT
#pragma once

class QWindow;

namespace quelm::host {

// Marks a widget's window, before it is first shown, as part of the desktop for an X11 window
// manager: on every workspace (_NET_WM_STATE_STICKY, _NET_WM_DESKTOP all), out of the taskbar and
// the pager, below the other windows. Call it once the window has its native handle and before it
// is mapped. Does nothing (and returns false) where the application does not run on X11.
bool applyX11DesktopHints(QWindow&);

}
