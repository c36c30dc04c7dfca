// SPDX-License-Identifier: MIT
#include "ListeningPorts.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace quelmd;

TEST(ListeningPorts, ReadsListeningSocketsOfAProcTable)
{
    const std::string table =
        "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout inode\n"
        "   0: 0100007F:1F90 00000000:0000 0A 00000000:00000000 00:00000000 00000000  1000        0 4242 1 0 100 0 0 10 0\n"
        "   1: 0100007F:C350 0100007F:1F90 01 00000000:00000000 00:00000000 00000000  1000        0 4343 1 0 20 4 30 10 -1\n"
        "   2: 00000000:1435 00000000:0000 0A 00000000:00000000 00:00000000 00000000  1000        0 4444 1 0 100 0 0 10 0\n"
        "   3: 00000000:0016 00000000:0000 0A 00000000:00000000 00:00000000 00000000     0        0 0 1 0 100 0 0 10 0\n"
        "garbage\n";
    const std::map<std::uint64_t, std::uint16_t> expected { { 4242, 8080 }, { 4444, 5173 } };
    EXPECT_EQ(parseListeningSockets(table), expected);
    EXPECT_TRUE(parseListeningSockets("").empty());
}

namespace {

// A socket listening on a port the kernel picks on the loopback address; -1 when that failed.
int listenOnLoopback()
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (fd >= 0 && (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || ::listen(fd, 1) != 0)) {
        ::close(fd);
        return -1;
    }
    return fd;
}

}

TEST(ListeningPorts, FindsThePortThisProcessListensOn)
{
    const int fd = listenOnLoopback();
    ASSERT_GE(fd, 0);
    sockaddr_in address {};
    socklen_t length = sizeof address;
    ASSERT_EQ(::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length), 0);
    const std::uint16_t port = ntohs(address.sin_port);

    const std::set<std::uint64_t> inodes = socketInodes("/proc/self/fd");
    std::map<std::uint64_t, std::uint16_t> sockets;
    std::ifstream tcp("/proc/net/tcp");
    const std::string table((std::istreambuf_iterator<char>(tcp)), std::istreambuf_iterator<char>());
    sockets = parseListeningSockets(table);
    bool found = false;
    for (const std::uint64_t inode : inodes)
        found = found || (sockets.contains(inode) && sockets.at(inode) == port);
    EXPECT_TRUE(found) << "port " << port;
    ::close(fd);
}

TEST(ListeningPorts, TheKernelTellsTheListeningSocketsAsProcDoes)
{
    const int v4 = listenOnLoopback();
    ASSERT_GE(v4, 0);
    const int v6 = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in6 address6 {};
    address6.sin6_family = AF_INET6;
    address6.sin6_addr = in6addr_loopback;
    const bool hasIPv6 = v6 >= 0 && ::bind(v6, reinterpret_cast<sockaddr*>(&address6), sizeof address6) == 0 && ::listen(v6, 1) == 0;

    const auto asked = listeningSocketsOfTheKernel();
    ASSERT_TRUE(asked.has_value()) << "the kernel did not answer over sock_diag";
    auto readTable = [](const char* file) {
        std::ifstream stream(file);
        return parseListeningSockets(std::string((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>()));
    };
    std::map<std::uint64_t, std::uint16_t> tables = readTable("/proc/net/tcp");
    tables.merge(readTable("/proc/net/tcp6"));
    const std::set<std::uint64_t> ours = socketInodes("/proc/self/fd");
    std::size_t listening = 0;
    for (const std::uint64_t inode : ours) {
        if (!tables.contains(inode))
            continue;
        ++listening;
        ASSERT_TRUE(asked->contains(inode)) << "socket " << inode;
        EXPECT_EQ(asked->at(inode), tables.at(inode));
    }
    EXPECT_EQ(listening, hasIPv6 ? 2u : 1u);
    ::close(v4);
    if (v6 >= 0)
        ::close(v6);
}

TEST(ListeningPorts, ReadsTheProcessesOfACgroupTree)
{
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / ("quelmd-cgroup-" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder / "child");
    std::ofstream(folder / "cgroup.procs") << "12\n34\n";
    std::ofstream(folder / "child" / "cgroup.procs") << "56\n";
    EXPECT_EQ(cgroupProcesses(folder), (std::set<pid_t> { 12, 34, 56 }));
    EXPECT_TRUE(cgroupProcesses(folder / "missing").empty());

    // A fake hierarchy with this process in a unit's cgroup finds this process's port.
    const int fd = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(fd, 0);
    sockaddr_in6 address {};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(fd, 1), 0);
    socklen_t length = sizeof address;
    ASSERT_EQ(::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length), 0);
    std::filesystem::create_directories(folder / "app.slice" / "quelm-web.service");
    std::ofstream(folder / "app.slice" / "quelm-web.service" / "cgroup.procs") << ::getpid() << '\n';
    EXPECT_EQ(lowestListeningPort(folder, "/app.slice/quelm-web.service"), ntohs(address.sin6_port));
    EXPECT_EQ(lowestListeningPort(folder, "/app.slice/other.service"), std::nullopt);
    EXPECT_EQ(lowestListeningPort(folder, "/app.slice/../app.slice/quelm-web.service"), std::nullopt);
    EXPECT_EQ(lowestListeningPort(folder, ""), std::nullopt);
    ::close(fd);
    std::filesystem::remove_all(folder);
}
