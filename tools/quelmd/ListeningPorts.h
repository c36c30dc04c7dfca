// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace quelmd {

// The listening TCP sockets of a /proc/net/tcp or tcp6 table: socket inode → local port.
std::map<std::uint64_t, std::uint16_t> parseListeningSockets(std::string_view table);

// The listening TCP sockets (IPv4 and IPv6) of this network namespace, socket inode → local port,
// asked of the kernel over sock_diag netlink: a fraction of a millisecond, where reading the
// /proc/net tables can take several. Nothing when the kernel does not answer.
std::optional<std::map<std::uint64_t, std::uint16_t>> listeningSocketsOfTheKernel();

// The socket inodes among a process's descriptors ("/proc/PID/fd" links "socket:[INODE]").
std::set<std::uint64_t> socketInodes(const std::filesystem::path& descriptorFolder);

// The processes of a cgroup and of every cgroup below it (their cgroup.procs files).
std::set<pid_t> cgroupProcesses(const std::filesystem::path& cgroupFolder);

// Where the unified cgroup hierarchy is mounted: /sys/fs/cgroup, or /sys/fs/cgroup/unified on a
// hybrid system; nothing when neither is there.
std::optional<std::filesystem::path> cgroupHierarchy(const std::filesystem::path& sysFsCgroup = "/sys/fs/cgroup");

// The lowest TCP port that any process of the unit's cgroup (its ControlGroup property, as
// "/app.slice/x.service") listens on, read from `proc` (normally "/proc"; there the socket table
// is asked of the kernel, elsewhere read from `proc`'s net/tcp and net/tcp6). Nothing when it
// listens on none or the cgroup cannot be read.
std::optional<std::uint16_t> lowestListeningPort(const std::filesystem::path& hierarchy, std::string_view controlGroup,
    const std::filesystem::path& proc = "/proc");

}
