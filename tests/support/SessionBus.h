// SPDX-License-Identifier: MIT
#pragma once

// Session-bus helpers for the suites that exercise the notifications.
//
// Including this header gives the test program a session bus: the one named by
// DBUS_SESSION_BUS_ADDRESS (CI runs the suites under dbus-run-session), or else a private
// dbus-daemon started for the program's lifetime. It also offers a bus of a test's own, waiting
// counters, "fences" that prove earlier posts were processed, and a raw bus probe that records,
// in bus order, every name posted on the session bus.

#include <quelm/Notification.h>
#include <quelm/NotificationObserver.h>
#include <quelm/Uuid.h>

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quelm::test {

// Long enough for a loaded CI machine; a delivery normally takes well under a millisecond.
inline constexpr std::chrono::seconds deliveryDeadline { 10 };

// A name no other test (nor another test program running at the same time) posts.
inline std::string uniqueNotificationName(const std::string& label)
{
    return "dev.quelm.test." + label + "." + Uuid::random().string();
}

// A dbus-daemon of its own, a child of the test that ends with it (even when the test crashes).
// `address()` is what DBUS_SESSION_BUS_ADDRESS should hold to reach it.
class DedicatedSessionBus {
public:
    DedicatedSessionBus()
    {
        int pipe[2];
        if (::pipe2(pipe, O_CLOEXEC) != 0)
            throw std::system_error(errno, std::generic_category(), "pipe2");
        std::string printAddress = "--print-address=" + std::to_string(pipe[1]);
        char* arguments[] = { const_cast<char*>("dbus-daemon"), const_cast<char*>("--session"), const_cast<char*>("--nofork"),
            const_cast<char*>("--nosyslog"), printAddress.data(), nullptr };
        const pid_t parent = ::getpid();
        m_pid = ::fork();
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGTERM);
            if (::getppid() != parent)
                ::_exit(127);
            ::fcntl(pipe[1], F_SETFD, 0); // the daemon writes its address there
            const int quiet = ::open("/dev/null", O_WRONLY);
            if (quiet >= 0)
                ::dup2(quiet, STDERR_FILENO); // it complains about fd limits it may not raise
            ::execvp(arguments[0], arguments);
            ::_exit(127);
        }
        ::close(pipe[1]);
        if (m_pid < 0) {
            ::close(pipe[0]);
            throw std::system_error(errno, std::generic_category(), "fork");
        }
        char buffer[512];
        ssize_t count;
        while ((count = ::read(pipe[0], buffer, sizeof buffer)) > 0 || (count < 0 && errno == EINTR)) {
            if (count > 0)
                m_address.append(buffer, std::size_t(count));
            if (m_address.find('\n') != std::string::npos)
                break;
        }
        ::close(pipe[0]);
        m_address = m_address.substr(0, m_address.find('\n'));
        if (m_address.empty()) {
            stop();
            throw std::runtime_error("dbus-daemon did not start a session bus");
        }
    }
    ~DedicatedSessionBus() { stop(); }
    DedicatedSessionBus(const DedicatedSessionBus&) = delete;
    DedicatedSessionBus& operator=(const DedicatedSessionBus&) = delete;

    const std::string& address() const { return m_address; }

private:
    void stop()
    {
        if (m_pid <= 0)
            return;
        ::kill(m_pid, SIGTERM);
        while (::waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
        }
        m_pid = 0;
    }

    std::string m_address;
    pid_t m_pid = 0;
};

// Keeps the session bus that DBUS_SESSION_BUS_ADDRESS names, or starts one for the whole program.
class SessionBusEnvironment : public ::testing::Environment {
public:
    void SetUp() override
    {
        if (std::getenv("DBUS_SESSION_BUS_ADDRESS"))
            return;
        m_bus.emplace();
        ::setenv("DBUS_SESSION_BUS_ADDRESS", m_bus->address().c_str(), 1);
    }

    void TearDown() override
    {
        if (!m_bus)
            return;
        ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
        m_bus.reset();
    }

private:
    std::optional<DedicatedSessionBus> m_bus;
};

inline ::testing::Environment* const sessionBusEnvironment = ::testing::AddGlobalTestEnvironment(new SessionBusEnvironment);

// Counts calls from any thread and lets the test wait for a number of them.
class DeliveryCounter {
public:
    void operator()()
    {
        {
            std::lock_guard lock(m_mutex);
            ++m_count;
        }
        m_changed.notify_all();
    }

    // True once at least `count` calls have happened, false when the deadline passes first.
    bool waitFor(int count, std::chrono::milliseconds deadline = deliveryDeadline)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, deadline, [&] { return m_count >= count; });
    }

    int count() const
    {
        std::lock_guard lock(m_mutex);
        return m_count;
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_count = 0;
};

// An observed name of its own: `pass()` posts it and waits for the delivery. The bus keeps the
// order of one sender's messages, so once a fence posted after some other post has passed, the
// daemon has routed that earlier post too.
class Fence {
public:
    Fence()
        : m_name(uniqueNotificationName("fence"))
        , m_observer(m_name, [this] { m_passed(); })
    {
    }

    bool pass()
    {
        const int expected = m_passed.count() + 1;
        Notification::post(m_name);
        return m_passed.waitFor(expected);
    }

    const std::string& name() const { return m_name; }

private:
    std::string m_name;
    DeliveryCounter m_passed;
    NotificationObserver m_observer;
};

// A plain session-bus client, read on the test's own thread, that sees every Posted signal (any
// path, any name) in the order the bus delivers them, with the message's path and interface.
class BusProbe {
public:
    struct Signal {
        std::string path;
        std::string interface;
        std::string member;
        std::string name;
    };

    BusProbe()
    {
        if (sd_bus_open_user(&m_bus) < 0) {
            m_bus = nullptr;
            return;
        }
        sd_bus_error error = SD_BUS_ERROR_NULL;
        const int result = sd_bus_call_method(m_bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
            "org.freedesktop.DBus", "AddMatch", &error, nullptr, "s", "type='signal',member='Posted'");
        sd_bus_error_free(&error);
        if (result < 0)
            m_bus = sd_bus_flush_close_unref(m_bus);
    }
    ~BusProbe() { sd_bus_flush_close_unref(m_bus); }
    BusProbe(const BusProbe&) = delete;
    BusProbe& operator=(const BusProbe&) = delete;

    bool connected() const { return m_bus != nullptr; }

    // Every Posted signal received before the one that carries `fence` (excluded), or nothing
    // when the fence does not arrive before the deadline.
    std::optional<std::vector<Signal>> signalsBefore(const std::string& fence)
    {
        std::vector<Signal> seen;
        const auto end = std::chrono::steady_clock::now() + deliveryDeadline;
        while (m_bus) {
            const auto left = std::chrono::duration_cast<std::chrono::microseconds>(end - std::chrono::steady_clock::now());
            if (left.count() <= 0)
                break;
            sd_bus_message* message = nullptr;
            const int result = sd_bus_process(m_bus, &message);
            if (result < 0)
                return std::nullopt;
            if (result == 0) {
                sd_bus_wait(m_bus, std::uint64_t(left.count()));
                continue;
            }
            if (!message)
                continue;
            std::optional<Signal> signal;
            const char* name = nullptr;
            if (sd_bus_message_is_signal(message, nullptr, "Posted") > 0
                && sd_bus_message_read_basic(message, 's', &name) > 0 && name) {
                signal = Signal { text(sd_bus_message_get_path(message)), text(sd_bus_message_get_interface(message)),
                    text(sd_bus_message_get_member(message)), name };
            }
            sd_bus_message_unref(message);
            if (!signal)
                continue;
            if (signal->name == fence)
                return seen;
            seen.push_back(*signal);
        }
        return std::nullopt;
    }

private:
    static std::string text(const char* value) { return value ? value : ""; }

    sd_bus* m_bus = nullptr;
};

}
