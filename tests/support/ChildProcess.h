// SPDX-License-Identifier: MIT
#pragma once

// Running a piece of a test in a forked child: to become another user, to take a resource limit
// or a mount namespace of its own, or to be killed. The child reports what went wrong as text
// (empty when nothing did), since a GoogleTest assertion made there would never reach the parent.

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quelm::test {

inline constexpr uid_t nobody = 65534;

// Runs a program to its end, its standard output discarded: its exit status, -1 when it did not
// exit.
inline int runQuietly(const std::vector<std::string>& arguments)
{
    const pid_t child = ::fork();
    if (child == 0) {
        std::freopen("/dev/null", "w", stdout);
        std::vector<char*> argv;
        for (const auto& argument : arguments)
            argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        ::execvp(argv[0], argv.data());
        ::_exit(127);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

struct ChildOutcome {
    std::string report; // what the child wrote; empty when all went well
    int exitCode = -1; // -1 when a signal ended it
    int signal = 0;
    bool timedOut = false;

    bool succeeded() const { return !timedOut && signal == 0 && exitCode == 0 && report.empty(); }
    std::string describe() const
    {
        if (timedOut)
            return "the child did not finish in time; " + report;
        if (signal)
            return "the child was ended by signal " + std::to_string(signal) + " (" + strsignal(signal) + "); " + report;
        return "exit code " + std::to_string(exitCode) + ": " + report;
    }
};

namespace detail {

inline void writeAll(int fd, const std::string& text)
{
    const char* data = text.data();
    std::size_t left = text.size();
    while (left > 0) {
        ssize_t count = ::write(fd, data, left);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return;
        data += count;
        left -= std::size_t(count);
    }
}

}

// For a child whose duration says nothing about the code under test (a slow machine makes it slow,
// nothing else): wait for it however long it takes.
inline constexpr std::chrono::milliseconds noDeadline = std::chrono::milliseconds::max();

// Runs `body` in a forked child and waits at most `deadline` for it; a child that takes longer is
// killed and reported as timed out. `body` returns its findings, empty for none; an exception
// that escapes it is a finding too. Call it only while the test has no other thread running.
inline ChildOutcome runInChild(const std::function<std::string()>& body,
    std::chrono::milliseconds deadline = std::chrono::seconds(30))
{
    int pipe[2];
    if (::pipe2(pipe, O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe2");
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
    if (child == 0) {
        ::close(pipe[0]);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent)
            ::_exit(127);
        std::string report;
        try {
            report = body();
        } catch (const std::exception& error) {
            report = std::string("uncaught exception: ") + error.what();
        } catch (...) {
            report = "uncaught exception";
        }
        detail::writeAll(pipe[1], report);
        ::_exit(report.empty() ? 0 : 1);
    }
    ::close(pipe[1]);

    ChildOutcome outcome;
    const bool bounded = deadline != noDeadline;
    const auto end = bounded ? std::chrono::steady_clock::now() + deadline : std::chrono::steady_clock::time_point::max();
    char buffer[4096];
    for (;;) {
        const auto left = bounded ? std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now())
                                  : std::chrono::milliseconds(1000);
        if (left.count() <= 0) {
            outcome.timedOut = true;
            ::kill(child, SIGKILL);
            break;
        }
        pollfd readable { pipe[0], POLLIN, 0 };
        const int ready = ::poll(&readable, 1, int(std::min<std::chrono::milliseconds::rep>(left.count(), 60'000)));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            continue;
        const ssize_t count = ::read(pipe[0], buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        outcome.report.append(buffer, std::size_t(count));
    }
    ::close(pipe[0]);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status))
        outcome.exitCode = WEXITSTATUS(status);
    else if (WIFSIGNALED(status))
        outcome.signal = WTERMSIG(status);
    return outcome;
}

// In a child: root reads and writes any file, so a test about permissions first becomes the user
// nobody. A process that is not root already lacks the privilege and stays who it is. Returns a
// finding when the switch fails.
inline std::string becomeUnprivileged()
{
    if (::geteuid() != 0)
        return {};
    if (::setgroups(0, nullptr) != 0 || ::setresgid(nobody, nobody, nobody) != 0 || ::setresuid(nobody, nobody, nobody) != 0)
        return std::string("cannot become the user nobody: ") + std::strerror(errno);
    return {};
}

// Runs `body` in a forked child and returns its exit status (-1 when it did not exit normally).
// For a child whose whole finding is its exit status; runInChild reports text.
template<class Body>
int exitStatusOfChild(Body body)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(body());
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The most memory this process has held at once since the last reset, in KiB (VmHWM), or -1.
inline long peakResidentKiB()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0)
            return std::stol(line.substr(6));
    }
    return -1;
}

// Starts measuring the peak anew, from what the process holds now. False where the kernel
// cannot.
inline bool resetPeakResident()
{
    std::ofstream clear("/proc/self/clear_refs");
    clear << "5";
    clear.flush();
    return bool(clear);
}

}
