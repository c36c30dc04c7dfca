// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include <systemd/sd-event.h>

namespace quelmd {

struct EventLoopReleaser {
    void operator()(sd_event* event) const noexcept { sd_event_unref(event); }
};

// The daemon's sd-event loop, owned: `EventLoop loop(made);`.
using EventLoop = std::unique_ptr<sd_event, EventLoopReleaser>;

struct EventSourceReleaser {
    void operator()(sd_event_source* source) const noexcept { sd_event_source_disable_unref(source); }
};

// A timer, descriptor, signal or inotify watch on the loop: releasing it stops it. Release
// sources before their loop (declare them after it).
using EventSource = std::unique_ptr<sd_event_source, EventSourceReleaser>;

}
