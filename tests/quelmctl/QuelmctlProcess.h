// SPDX-License-Identifier: MIT
#pragma once

// Runs the built quelmctl (its path in $QUELMCTL) as a user would: arguments, standard input,
// environment, with its standard streams on pipes; and the session bus that carries the widget's
// command notification to it.

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace quelm::test {

inline std::string quelmctlPath()
{
    const char* path = std::getenv("QUELMCTL");
    if (!path || !*path)
        throw std::runtime_error("QUELMCTL is not set: run this program through ctest");
    return path;
}

// Changes to the inherited environment: a value sets the variable, nothing removes it.
using EnvironmentChanges = std::map<std::string, std::optional<std::string>>;

inline std::vector<std::string> environmentWith(const EnvironmentChanges& changes)
{
    std::map<std::string, std::string> variables;
    for (char** entry = environ; *entry; ++entry) {
        const std::string text = *entry;
        const auto equals = text.find('=');
        if (equals != std::string::npos)
            variables[text.substr(0, equals)] = text.substr(equals + 1);
    }
    for (const auto& [name, value] : changes) {
        if (value)
            variables[name] = *value;
        else
            variables.erase(name);
    }
    std::vector<std::string> result;
    for (const auto& [name, value] : variables)
        result.push_back(name + '=' + value);
    return result;
}

inline std::vector<char*> pointers(std::vector<std::string>& strings)
{
    std::vector<char*> result;
    for (auto& s : strings)
        result.push_back(s.data());
    result.push_back(nullptr);
    return result;
}

struct Result {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// A running quelmctl with its three standard streams on pipes.
class Child {
public:
    Child(std::vector<std::string> arguments, const EnvironmentChanges& changes = {})
    {
        ::signal(SIGPIPE, SIG_IGN);
        int input[2], output[2], error[2];
        if (::pipe2(input, O_CLOEXEC) || ::pipe2(output, O_CLOEXEC) || ::pipe2(error, O_CLOEXEC))
            throw std::system_error(errno, std::generic_category(), "pipe2");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input[0], 0);
        posix_spawn_file_actions_adddup2(&actions, output[1], 1);
        posix_spawn_file_actions_adddup2(&actions, error[1], 2);

        arguments.insert(arguments.begin(), quelmctlPath());
        auto argv = pointers(arguments);
        auto environment = environmentWith(changes);
        auto envp = pointers(environment);
        const int failure = ::posix_spawn(&m_pid, argv[0], &actions, nullptr, argv.data(), envp.data());
        posix_spawn_file_actions_destroy(&actions);
        ::close(input[0]);
        ::close(output[1]);
        ::close(error[1]);
        m_input = input[1];
        m_output = output[0];
        m_error = error[0];
        if (failure)
            throw std::system_error(failure, std::generic_category(), "posix_spawn " + arguments[0]);
    }

    ~Child()
    {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
        for (int fd : { m_input, m_output, m_error })
            if (fd >= 0)
                ::close(fd);
    }

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t pid() const { return m_pid; }

    void write(const std::string& bytes)
    {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t n = ::write(m_input, bytes.data() + done, bytes.size() - done);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                return; // the child does not read its input; that is its business
            done += static_cast<std::size_t>(n);
        }
    }

    void closeInput()
    {
        if (m_input >= 0)
            ::close(m_input);
        m_input = -1;
    }

    void signal(int number) { ::kill(m_pid, number); }

    // The next line on standard output, without its line end, or nothing after `timeout`.
    std::optional<std::string> readLine(std::chrono::milliseconds timeout)
    {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        while (true) {
            if (const auto end = m_out.find('\n'); end != std::string::npos) {
                std::string line = m_out.substr(0, end);
                m_out.erase(0, end + 1);
                return line;
            }
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            if (left <= std::chrono::milliseconds::zero() || !pump(left))
                return std::nullopt;
        }
    }

    // Closes the input, reads both outputs to their end and waits for the exit.
    Result finish(std::chrono::milliseconds timeout = std::chrono::seconds(20))
    {
        closeInput();
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        while (m_output >= 0 || m_error >= 0) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            if (left <= std::chrono::milliseconds::zero()) {
                ADD_FAILURE() << "quelmctl did not finish within " << timeout.count() << " ms";
                ::kill(m_pid, SIGKILL);
                break;
            }
            pump(left);
        }
        int status = 0;
        while (::waitpid(m_pid, &status, 0) < 0 && errno == EINTR) { }
        m_pid = -1;
        Result result;
        result.out = std::move(m_out);
        result.err = std::move(m_err);
        if (WIFEXITED(status))
            result.exitCode = WEXITSTATUS(status);
        else if (WIFSIGNALED(status))
            result.exitCode = 128 + WTERMSIG(status);
        return result;
    }

private:
    // Waits for either output to have something and takes it; false on timeout.
    bool pump(std::chrono::milliseconds timeout)
    {
        pollfd fds[2] = { { m_output, POLLIN, 0 }, { m_error, POLLIN, 0 } };
        const int ready = ::poll(fds, 2, static_cast<int>(timeout.count()));
        if (ready <= 0)
            return false;
        takeFrom(m_output, fds[0].revents, m_out);
        takeFrom(m_error, fds[1].revents, m_err);
        return true;
    }

    static void takeFrom(int& fd, short events, std::string& into)
    {
        if (fd < 0 || !(events & (POLLIN | POLLHUP | POLLERR)))
            return;
        char buffer[4096];
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n > 0) {
            into.append(buffer, static_cast<std::size_t>(n));
        } else if (n == 0 || errno != EINTR) {
            ::close(fd);
            fd = -1;
        }
    }

    pid_t m_pid = -1;
    int m_input = -1;
    int m_output = -1;
    int m_error = -1;
    std::string m_out;
    std::string m_err;
};

inline Result run(std::vector<std::string> arguments, const std::string& input = {}, const EnvironmentChanges& changes = {})
{
    Child child(std::move(arguments), changes);
    child.write(input);
    return child.finish();
}

inline std::vector<std::string> lines(const std::string& text)
{
    std::vector<std::string> result;
    std::size_t start = 0;
    while (start < text.size()) {
        const auto end = text.find('\n', start);
        result.push_back(text.substr(start, end - start));
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
    return result;
}

// The session bus that carries the command notification: the one the tests run under, or else a
// private daemon started for this program (and made this process's own, so that it posts there too).
class SessionBus {
public:
    static const std::string& address()
    {
        static SessionBus bus;
        return bus.m_address;
    }

    ~SessionBus()
    {
        if (m_daemon > 0)
            ::kill(m_daemon, SIGTERM);
    }

private:
    SessionBus()
    {
        if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); address && *address) {
            m_address = address;
            return;
        }
        FILE* daemon = ::popen("dbus-daemon --session --fork --print-address=1 --print-pid=1", "r");
        if (!daemon)
            throw std::system_error(errno, std::generic_category(), "popen dbus-daemon");
        char address[1024] = {}, pid[64] = {};
        const bool read = std::fgets(address, sizeof address, daemon) && std::fgets(pid, sizeof pid, daemon);
        ::pclose(daemon);
        if (!read)
            throw std::runtime_error("no session bus: DBUS_SESSION_BUS_ADDRESS is unset and dbus-daemon could not be started");
        m_address = address;
        m_address.erase(m_address.find_last_not_of("\r\n") + 1);
        m_daemon = static_cast<pid_t>(std::stol(pid));
        ::setenv("DBUS_SESSION_BUS_ADDRESS", m_address.c_str(), 1);
    }

    std::string m_address;
    pid_t m_daemon = -1;
};

}
