// SPDX-License-Identifier: MIT
#include "Host/X11DesktopHints.h"

#include <QGuiApplication>
#include <QWindow>

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

namespace quelm::host {

namespace detail {

struct FreeDeleter {
    void operator()(void* pointer) const { std::free(pointer); }
};

xcb_atom_t internAtom(xcb_connection_t* connection, std::string_view name)
{
    const xcb_intern_atom_cookie_t cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, FreeDeleter> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t { XCB_ATOM_NONE };
}

}

bool applyX11DesktopHints(QWindow& window)
{
    const auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    xcb_connection_t* connection = x11 ? x11->connection() : nullptr;
    if (!connection)
        return false;
    const auto id = static_cast<xcb_window_t>(window.winId());
    const xcb_atom_t state = detail::internAtom(connection, "_NET_WM_STATE");

    // Qt keeps what it finds in _NET_WM_STATE when it maps the window and adds its own states
    // (BELOW for the stays-on-bottom flag); these are the ones it has no flag for.
    std::vector<xcb_atom_t> states;
    for (const std::string_view name : { "_NET_WM_STATE_STICKY", "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER", "_NET_WM_STATE_BELOW" }) {
        if (const xcb_atom_t atom = detail::internAtom(connection, name); atom != XCB_ATOM_NONE)
            states.push_back(atom);
    }
    if (state == XCB_ATOM_NONE || states.empty())
        return false;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, state, XCB_ATOM_ATOM, 32, static_cast<std::uint32_t>(states.size()), states.data());

    // Sticky in the older words too: the window is on every desktop.
    if (const xcb_atom_t desktop = detail::internAtom(connection, "_NET_WM_DESKTOP"); desktop != XCB_ATOM_NONE) {
        const std::uint32_t allDesktops = 0xFFFFFFFF;
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, desktop, XCB_ATOM_CARDINAL, 32, 1, &allDesktops);
    }
    xcb_flush(connection);
    return true;
}

}
