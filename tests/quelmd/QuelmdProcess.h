// SPDX-License-Identifier: MIT
#pragma once

// What quelmd's end-to-end tests and its benchmark share: the programs under test, a free port,
// an HTTP probe, and waiting for a condition with a generous deadline.

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quelm::test {

inline std::string programPath(const char* variable)
{
    const char* path = std::getenv(variable);
    if (!path || !*path)
        throw std::runtime_error(std::string(variable) + " is not set (run through CTest)");
    return path;
}

struct ProgramResult {
    int exitCode = -1;
    std::string output; // standard output and standard error, interleaved
};

// Runs a program to its end and collects what it printed.
inline ProgramResult runProgram(std::vector<std::string> arguments)
{
    int pipe[2];
    if (::pipe2(pipe, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe2 failed");
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(pipe[1], STDOUT_FILENO);
        ::dup2(pipe[1], STDERR_FILENO);
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        ::execvp(argv[0], argv.data());
        ::_exit(127);
    }
    ::close(pipe[1]);
    ProgramResult result;
    char buffer[4096];
    for (;;) {
        const ssize_t count = ::read(pipe[0], buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        result.output.append(buffer, static_cast<std::size_t>(count));
    }
    ::close(pipe[0]);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

// A TCP port on the loopback that nothing listens on now.
inline std::uint16_t freePort()
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0
        || ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no free port");
    ::close(fd);
    return ntohs(address.sin_port);
}

// Whether an HTTP server on the loopback's `port` answers a GET.
inline bool answersHttp(std::uint16_t port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    timeval timeout { 5, 0 };
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    bool answered = false;
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
        const std::string request = "GET / HTTP/1.0\r\nHost: localhost\r\n\r\n";
        if (::write(fd, request.data(), request.size()) == static_cast<ssize_t>(request.size())) {
            char reply[16] = {};
            const ssize_t count = ::read(fd, reply, 5);
            answered = count == 5 && std::string(reply, 5) == "HTTP/";
        }
    }
    ::close(fd);
    return answered;
}

// Polls `condition` until it holds (true) or `deadline` passes (false).
inline bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds deadline = std::chrono::seconds(60),
    std::chrono::milliseconds interval = std::chrono::milliseconds(10))
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    for (;;) {
        if (condition())
            return true;
        if (std::chrono::steady_clock::now() >= end)
            return false;
        std::this_thread::sleep_for(interval);
    }
}

// A property of a user unit, as systemctl shows it ("active", "12345").
inline std::string unitProperty(const std::string& unit, const std::string& property)
{
    ProgramResult result = runProgram({ "systemctl", "--user", "show", "-p", property, "--value", unit });
    while (!result.output.empty() && result.output.back() == '\n')
        result.output.pop_back();
    return result.output;
}

}
