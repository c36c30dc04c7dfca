// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include <systemd/sd-bus.h>

namespace quelm::detail {

struct BusMessageReleaser {
    void operator()(sd_bus_message* message) const noexcept { sd_bus_message_unref(message); }
};

// A message this code made or was handed a reference to (a method reply, a built call).
using BusMessage = std::unique_ptr<sd_bus_message, BusMessageReleaser>;

}
