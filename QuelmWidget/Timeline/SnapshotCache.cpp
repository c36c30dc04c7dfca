// SPDX-License-Identifier: MIT
#include "Timeline/SnapshotCache.h"

#include <sys/stat.h>

namespace quelm {

namespace {

std::int64_t nanoseconds(const timespec& time)
{
    return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

// None when either cannot be looked at: then nothing is kept and the store decides.
std::optional<SnapshotCache::Stamp> stampOf(const SharedStore& store)
{
    struct stat container {};
    struct stat file {};
    if (::lstat(store.root().c_str(), &container) != 0 || ::lstat((store.root() / "snapshot.json").c_str(), &file) != 0)
        return std::nullopt;
    SnapshotCache::Stamp stamp;
    stamp.device = file.st_dev;
    stamp.inode = file.st_ino;
    stamp.size = static_cast<std::uint64_t>(file.st_size);
    stamp.modified = nanoseconds(file.st_mtim);
    stamp.changed = nanoseconds(file.st_ctim);
    stamp.containerMode = container.st_mode;
    stamp.containerOwner = container.st_uid;
    return stamp;
}

}

WidgetSnapshot SnapshotCache::read(const SharedStore& store)
{
    std::lock_guard lock(m_mutex);
    // Looked at before the read: a file replaced meanwhile is decoded again next time.
    const std::optional<Stamp> stamp = stampOf(store);
    if (stamp && m_stamp && *stamp == *m_stamp && m_store && m_store->root() == store.root())
        return m_snapshot;
    m_snapshot = store.readSnapshot();
    ++m_decodes;
    m_store = store;
    m_stamp = stamp;
    return m_snapshot;
}

std::uint64_t SnapshotCache::decodeCount() const
{
    std::lock_guard lock(m_mutex);
    return m_decodes;
}

}
