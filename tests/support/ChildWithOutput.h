// SPDX-License-Identifier: MIT
#pragma once

// A program run beside a test or a benchmark whose output is read line by line as it comes, and
// which ends (SIGTERM, then waited for) with its owner.

#include <cerrno>
#include <chrono>
#include <csignal>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quelm::test {

class ChildWithOutput {
public:
    // `outputFd`: which of the child's descriptors goes to the pipe (1 for standard output; Xvfb
    // -displayfd N writes its display number to N).
    explicit ChildWithOutput(std::vector<std::string> arguments, int outputFd = STDOUT_FILENO)
    {
        int pipe[2];
        if (::pipe2(pipe, O_CLOEXEC) != 0)
            throw std::runtime_error("pipe2 failed");
        const pid_t parent = ::getpid();
        m_pid = ::fork();
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (::getppid() != parent)
                ::_exit(127);
            ::dup2(pipe[1], outputFd);
            ::fcntl(outputFd, F_SETFD, 0); // kept across exec, also when it was the pipe itself
            std::vector<char*> argv;
            for (auto& argument : arguments)
                argv.push_back(argument.data());
            argv.push_back(nullptr);
            ::execvp(argv[0], argv.data());
            ::_exit(127);
        }
        ::close(pipe[1]);
        m_output = pipe[0];
        if (m_pid < 0) {
            ::close(m_output);
            throw std::runtime_error("fork failed");
        }
    }
    ~ChildWithOutput()
    {
        ::kill(m_pid, SIGTERM);
        int status = 0;
        while (::waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
        }
        ::close(m_output);
    }
    ChildWithOutput(const ChildWithOutput&) = delete;
    ChildWithOutput& operator=(const ChildWithOutput&) = delete;

    pid_t pid() const { return m_pid; }

    // The next line (after the last one returned) for which `wanted` holds; none when `deadline`
    // passes or the child closes its output first.
    std::optional<std::string> waitForLine(const std::function<bool(const std::string&)>& wanted,
        std::chrono::milliseconds deadline = std::chrono::seconds(30))
    {
        const auto end = std::chrono::steady_clock::now() + deadline;
        for (;;) {
            for (auto newline = m_buffer.find('\n'); newline != std::string::npos; newline = m_buffer.find('\n')) {
                std::string line = m_buffer.substr(0, newline);
                m_buffer.erase(0, newline + 1);
                m_lines.push_back(line);
                if (wanted(line))
                    return line;
            }
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
            if (left <= 0)
                return std::nullopt;
            pollfd readable { m_output, POLLIN, 0 };
            const int ready = ::poll(&readable, 1, static_cast<int>(left));
            if (ready < 0 && errno == EINTR)
                continue;
            if (ready <= 0)
                return std::nullopt;
            char chunk[65536];
            const ssize_t count = ::read(m_output, chunk, sizeof chunk);
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                return std::nullopt;
            m_buffer.append(chunk, static_cast<std::size_t>(count));
        }
    }

    // Every line read so far, the skipped ones included.
    const std::vector<std::string>& lines() const { return m_lines; }

private:
    pid_t m_pid = -1;
    int m_output = -1;
    std::string m_buffer;
    std::vector<std::string> m_lines;
};

}
