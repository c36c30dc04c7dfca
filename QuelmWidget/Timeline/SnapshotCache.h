// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/SharedStore.h>
#include <quelm/WidgetSnapshot.h>

#include <cstdint>
#include <mutex>
#include <optional>

namespace quelm {

// Reads "snapshot.json" again only when it changed: a heartbeat, a pending mark or a command
// wakes the host as often as a new snapshot does, and a snapshot at the size cap costs far more
// to decode than to look at. Shared by every timeline of one host, from any thread:
//   SnapshotCache cache;  …  WidgetSnapshot snapshot = cache.read(store);
class SnapshotCache {
public:
    // What `store.readSnapshot()` would return now, decoded again only if the file (or the
    // container's ownership and mode, which decide whether it may be read) changed since.
    WidgetSnapshot read(const SharedStore& store);

    // How many times the file was decoded: for tests and benchmarks.
    std::uint64_t decodeCount() const;

    // What identifies one version of the file and of the container around it.
    struct Stamp {
        std::uint64_t device = 0, inode = 0, size = 0;
        std::int64_t modified = 0, changed = 0; // nanoseconds
        // Not the container's times: every heartbeat changes those.
        std::uint64_t containerMode = 0, containerOwner = 0;

        bool operator==(const Stamp&) const = default;
    };

private:
    mutable std::mutex m_mutex;
    std::optional<SharedStore> m_store; // whose file the kept snapshot is
    std::optional<Stamp> m_stamp;
    WidgetSnapshot m_snapshot;
    std::uint64_t m_decodes = 0;
};

}
