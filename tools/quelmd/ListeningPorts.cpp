// SPDX-License-Identifier: MIT
#include "ListeningPorts.h"

#include <FileDescriptor.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <fstream>
#include <sstream>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace quelmd {

namespace detail {

std::string readAll(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    if (stream)
        text << stream.rdbuf();
    return text.str();
}

std::vector<std::string_view> fields(std::string_view line)
{
    std::vector<std::string_view> result;
    std::size_t index = 0;
    while (index < line.size()) {
        while (index < line.size() && (line[index] == ' ' || line[index] == '\t'))
            ++index;
        const std::size_t start = index;
        while (index < line.size() && line[index] != ' ' && line[index] != '\t')
            ++index;
        if (index > start)
            result.push_back(line.substr(start, index - start));
    }
    return result;
}

template<typename Number>
std::optional<Number> number(std::string_view text, int base)
{
    Number value {};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

// Adds the listening TCP sockets of `family` to `sockets`; false when the kernel did not answer.
bool askForListeningSockets(int netlink, std::uint8_t family, std::map<std::uint64_t, std::uint16_t>& sockets)
{
    constexpr std::uint32_t listening = 10; // TCP_LISTEN of the kernel's TCP states
    struct {
        nlmsghdr header;
        inet_diag_req_v2 request;
    } message {};
    message.header.nlmsg_len = sizeof message;
    message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    message.request.sdiag_family = family;
    message.request.sdiag_protocol = IPPROTO_TCP;
    message.request.idiag_states = 1u << listening;
    if (::send(netlink, &message, sizeof message, 0) != static_cast<ssize_t>(sizeof message))
        return false;

    alignas(nlmsghdr) std::array<char, 32 * 1024> buffer;
    for (;;) {
        const ssize_t received = ::recv(netlink, buffer.data(), buffer.size(), 0);
        if (received < 0 && errno == EINTR)
            continue;
        if (received <= 0)
            return false;
        int length = static_cast<int>(received);
        for (auto* header = reinterpret_cast<nlmsghdr*>(buffer.data()); NLMSG_OK(header, length); header = NLMSG_NEXT(header, length)) {
            if (header->nlmsg_type == NLMSG_DONE)
                return true;
            if (header->nlmsg_type == NLMSG_ERROR || header->nlmsg_len < NLMSG_LENGTH(sizeof(inet_diag_msg)))
                return false;
            const auto* socket = static_cast<const inet_diag_msg*>(NLMSG_DATA(header));
            sockets[socket->idiag_inode] = ntohs(socket->id.idiag_sport);
        }
    }
}

}

std::optional<std::map<std::uint64_t, std::uint16_t>> listeningSocketsOfTheKernel()
{
    const quelm::detail::FileDescriptor netlink(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
    if (!netlink)
        return std::nullopt;
    std::map<std::uint64_t, std::uint16_t> sockets;
    if (!detail::askForListeningSockets(netlink.get(), AF_INET, sockets) || !detail::askForListeningSockets(netlink.get(), AF_INET6, sockets))
        return std::nullopt;
    return sockets;
}

std::map<std::uint64_t, std::uint16_t> parseListeningSockets(std::string_view table)
{
    // "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout inode"
    // "   0: 0100007F:1F90 00000000:0000 0A 00000000:00000000 00:00000000 00000000  1000        0 12345 …"
    constexpr std::size_t localAddress = 1, state = 3, inode = 9;
    constexpr std::string_view listening = "0A";
    std::map<std::uint64_t, std::uint16_t> sockets;
    bool header = true;
    while (!table.empty()) {
        const std::size_t newline = table.find('\n');
        const std::string_view line = table.substr(0, newline);
        table = newline == std::string_view::npos ? std::string_view() : table.substr(newline + 1);
        if (std::exchange(header, false))
            continue;
        const std::vector<std::string_view> columns = detail::fields(line);
        if (columns.size() <= inode || columns[state] != listening)
            continue;
        const std::size_t colon = columns[localAddress].rfind(':');
        if (colon == std::string_view::npos)
            continue;
        const auto port = detail::number<std::uint16_t>(columns[localAddress].substr(colon + 1), 16);
        const auto node = detail::number<std::uint64_t>(columns[inode], 10);
        if (port && node && *node != 0)
            sockets.emplace(*node, *port);
    }
    return sockets;
}

std::set<std::uint64_t> socketInodes(const std::filesystem::path& descriptorFolder)
{
    std::set<std::uint64_t> inodes;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(descriptorFolder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code linkError;
        const std::string target = std::filesystem::read_symlink(entry->path(), linkError).string();
        constexpr std::string_view prefix = "socket:[";
        if (linkError || !target.starts_with(prefix) || !target.ends_with(']'))
            continue;
        const std::string_view digits = std::string_view(target).substr(prefix.size(), target.size() - prefix.size() - 1);
        if (const auto inode = detail::number<std::uint64_t>(digits, 10))
            inodes.insert(*inode);
    }
    return inodes;
}

std::set<pid_t> cgroupProcesses(const std::filesystem::path& cgroupFolder)
{
    std::set<pid_t> processes;
    std::istringstream lines(detail::readAll(cgroupFolder / "cgroup.procs"));
    for (std::string line; std::getline(lines, line);)
        if (const auto pid = detail::number<pid_t>(line, 10))
            processes.insert(*pid);
    std::error_code error;
    for (std::filesystem::directory_iterator entry(cgroupFolder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code typeError;
        if (entry->is_directory(typeError) && !entry->is_symlink(typeError)) {
            const std::set<pid_t> below = cgroupProcesses(entry->path());
            processes.insert(below.begin(), below.end());
        }
    }
    return processes;
}

std::optional<std::filesystem::path> cgroupHierarchy(const std::filesystem::path& sysFsCgroup)
{
    std::error_code error;
    if (std::filesystem::exists(sysFsCgroup / "cgroup.controllers", error))
        return sysFsCgroup;
    if (std::filesystem::exists(sysFsCgroup / "unified" / "cgroup.controllers", error))
        return sysFsCgroup / "unified";
    return std::nullopt;
}

std::optional<std::uint16_t> lowestListeningPort(const std::filesystem::path& hierarchy, std::string_view controlGroup,
    const std::filesystem::path& proc)
{
    if (controlGroup.empty() || controlGroup.front() != '/' || controlGroup.find("..") != std::string_view::npos)
        return std::nullopt;
    // The processes' sockets first: a service without any socket needs no socket table.
    std::set<std::uint64_t> inodes;
    for (const pid_t pid : cgroupProcesses(hierarchy / std::filesystem::path(controlGroup).relative_path()))
        inodes.merge(socketInodes(proc / std::to_string(pid) / "fd"));
    if (inodes.empty())
        return std::nullopt;
    std::optional<std::map<std::uint64_t, std::uint16_t>> asked = proc == "/proc" ? listeningSocketsOfTheKernel() : std::nullopt;
    std::map<std::uint64_t, std::uint16_t> sockets = asked ? std::move(*asked) : parseListeningSockets(detail::readAll(proc / "net" / "tcp"));
    if (!asked)
        sockets.merge(parseListeningSockets(detail::readAll(proc / "net" / "tcp6")));
    std::optional<std::uint16_t> lowest;
    for (const std::uint64_t inode : inodes) {
        const auto found = sockets.find(inode);
        if (found != sockets.end() && (!lowest || found->second < *lowest))
            lowest = found->second;
    }
    return lowest;
}

}
