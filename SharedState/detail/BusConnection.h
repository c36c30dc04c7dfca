// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include <systemd/sd-bus.h>

namespace quelm::detail {

struct BusConnectionCloser {
    // Flushes what was queued before closing: a signal emitted just before the end still goes out.
    void operator()(sd_bus* bus) const noexcept { sd_bus_flush_close_unref(bus); }
};

// One sd-bus connection, owned: `BusConnection bus(opened)` closes it when it goes.
using BusConnection = std::unique_ptr<sd_bus, BusConnectionCloser>;

// The user's session bus, or an empty connection (with the negative errno in `*error`) when
// none is reachable.
inline BusConnection openUserBus(int* error = nullptr) noexcept
{
    sd_bus* bus = nullptr;
    const int result = sd_bus_open_user(&bus);
    if (error)
        *error = result < 0 ? result : 0;
    return BusConnection(result < 0 ? nullptr : bus);
}

}
