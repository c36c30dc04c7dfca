// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include <systemd/sd-bus.h>

namespace quelm::detail {

struct BusSlotReleaser {
    void operator()(sd_bus_slot* slot) const noexcept { sd_bus_slot_unref(slot); }
};

// A filter, match or pending call registered on a connection: releasing the slot unregisters it.
// Release slots before their connection (declare them after it).
using BusSlot = std::unique_ptr<sd_bus_slot, BusSlotReleaser>;

}
