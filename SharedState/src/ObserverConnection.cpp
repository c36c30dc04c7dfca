// SPDX-License-Identifier: MIT
#include "ObserverConnection.h"

#include "NotificationSignal.h"

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <system_error>

#include <poll.h>
#include <sys/eventfd.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace quelm::detail {


namespace {

// sd_bus_get_timeout gives an absolute CLOCK_MONOTONIC deadline in µs, UINT64_MAX for none.
int pollTimeout(sd_bus* bus)
{
    std::uint64_t deadline = UINT64_MAX;
    if (sd_bus_get_timeout(bus, &deadline) < 0 || deadline == UINT64_MAX)
        return -1;
    timespec now {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const std::uint64_t nowUsec = std::uint64_t(now.tv_sec) * 1000000u + std::uint64_t(now.tv_nsec) / 1000u;
    if (deadline <= nowUsec)
        return 0;
    const std::uint64_t milliseconds = (deadline - nowUsec + 999) / 1000;
    return milliseconds > INT32_MAX ? INT32_MAX : int(milliseconds);
}

}

ObserverConnection::ObserverConnection(std::string name, const std::function<void()>& handler)
    : m_name(std::move(name))
    , m_handler(handler)
{
    // A D-Bus string cannot hold a NUL byte, so no post can ever carry such a name.
    if (m_name.find('\0') != std::string::npos)
        return;
    m_bus = openUserBus();
    if (!m_bus)
        return;
    m_wake.reset(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    sd_bus_slot* filter = nullptr;
    const bool added = m_wake && sd_bus_add_filter(m_bus.get(), &filter, &ObserverConnection::onMessage, this) >= 0;
    m_filter.reset(filter);
    if (!added || !subscribe()) {
        closeQuietly();
        return;
    }
    try {
        m_listening.store(true, std::memory_order_release);
        m_thread = std::thread([this] { run(); });
    } catch (const std::system_error&) {
        m_listening.store(false, std::memory_order_release);
        closeQuietly();
    }
}

ObserverConnection::~ObserverConnection()
{
    if (m_thread.joinable()) {
        // From here on no delivery starts; one already running finishes before join returns.
        m_stopping.store(true, std::memory_order_release);
        const std::uint64_t one = 1;
        while (::write(m_wake.get(), &one, sizeof one) < 0 && errno == EINTR) {
        }
        m_thread.join();
    }
}

// The daemon's own AddMatch, called synchronously: its reply means the rule is in force, so a
// post made after the constructor returns is routed here. (sd_bus_add_match would also parse the
// rule itself, with a quoting that differs from the daemon's for names holding ' or \.)
bool ObserverConnection::subscribe()
{
    // The daemon refuses longer rules. For a name that long, take every Posted signal and leave
    // the choice to onMessage, which compares the name in any case.
    constexpr std::size_t longestRule = 1024;
    std::string rule = notificationMatchRule(m_name);
    if (rule.size() > longestRule)
        rule.resize(rule.find(",arg0="));
    sd_bus_error error = SD_BUS_ERROR_NULL;
    const int result = sd_bus_call_method(m_bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "AddMatch", &error, nullptr, "s", rule.c_str());
    sd_bus_error_free(&error);
    return result >= 0;
}

int ObserverConnection::onMessage(sd_bus_message* message, void* userdata, sd_bus_error*)
{
    auto* self = static_cast<ObserverConnection*>(userdata);
    if (self->m_stopping.load(std::memory_order_acquire))
        return 0;
    if (sd_bus_message_is_signal(message, notificationInterface, notificationMember) <= 0)
        return 0;
    const char* posted = nullptr;
    if (sd_bus_message_read_basic(message, 's', &posted) <= 0 || !posted || self->m_name != posted)
        return 0;
    if (self->m_handler) {
        try {
            self->m_handler();
        } catch (...) {
            // A handler's failure is its own; it must not end the delivery thread.
        }
    }
    return 0;
}

void ObserverConnection::run()
{
    bool connected = true;
    for (;;) {
        while (connected) {
            const int processed = sd_bus_process(m_bus.get(), nullptr);
            if (processed < 0) {
                // The bus went away: nothing more can arrive; wait for the stop.
                connected = false;
                m_listening.store(false, std::memory_order_release);
            }
            if (processed <= 0)
                break;
            if (m_stopping.load(std::memory_order_acquire))
                return;
        }
        pollfd fds[2] = {
            { m_wake.get(), POLLIN, 0 },
            { connected ? sd_bus_get_fd(m_bus.get()) : -1, 0, 0 },
        };
        int timeout = -1;
        if (connected) {
            const int events = sd_bus_get_events(m_bus.get());
            fds[1].events = short(events > 0 ? events : POLLIN);
            timeout = pollTimeout(m_bus.get());
        }
        if (::poll(fds, 2, timeout) < 0 && errno != EINTR)
            return;
        if (fds[0].revents != 0)
            return;
    }
}

// An observer that cannot listen holds nothing open: no connection, no descriptor.
void ObserverConnection::closeQuietly()
{
    m_filter.reset();
    m_bus.reset();
    m_wake.reset();
}

}
