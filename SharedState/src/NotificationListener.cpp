#include "NotificationListener.h"

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <system_error>

#include <poll.h>
#include <sys/eventfd.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace quelm::detail {

std::string notificationMatchRule(std::string_view name)
{
    std::string rule = "type='signal',interface='";
    rule += notificationInterface;
    rule += "',member='";
    rule += notificationMember;
    rule += "',arg0='";
    for (char c : name) {
        if (c == '\'')
            rule += "'\\''";
        else
            rule += c;
    }
    rule += '\'';
    return rule;
}

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

NotificationListener::NotificationListener(std::string name, const std::function<void()>& handler)
    : m_name(std::move(name))
    , m_handler(handler)
{
    // A D-Bus string cannot hold a NUL byte, so no post can ever carry such a name.
    if (m_name.find('\0') != std::string::npos)
        return;
    if (sd_bus_open_user(&m_bus) < 0) {
        m_bus = nullptr;
        return;
    }
    m_wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (m_wake < 0 || sd_bus_add_filter(m_bus, &m_filter, &NotificationListener::onMessage, this) < 0 || !subscribe()) {
        release();
        return;
    }
    try {
        m_listening.store(true, std::memory_order_release);
        m_thread = std::thread([this] { run(); });
    } catch (const std::system_error&) {
        m_listening.store(false, std::memory_order_release);
        release();
    }
}

NotificationListener::~NotificationListener()
{
    if (m_thread.joinable()) {
        // From here on no delivery starts; one already running finishes before join returns.
        m_stopping.store(true, std::memory_order_release);
        const std::uint64_t one = 1;
        while (::write(m_wake, &one, sizeof one) < 0 && errno == EINTR) {
        }
        m_thread.join();
    }
    release();
}

// The daemon's own AddMatch, called synchronously: its reply means the rule is in force, so a
// post made after the constructor returns is routed here. (sd_bus_add_match would also parse the
// rule itself, with a quoting that differs from the daemon's for names holding ' or \.)
bool NotificationListener::subscribe()
{
    // The daemon refuses longer rules. For a name that long, take every Posted signal and leave
    // the choice to onMessage, which compares the name in any case.
    constexpr std::size_t longestRule = 1024;
    std::string rule = notificationMatchRule(m_name);
    if (rule.size() > longestRule)
        rule.resize(rule.find(",arg0="));
    sd_bus_error error = SD_BUS_ERROR_NULL;
    const int result = sd_bus_call_method(m_bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "AddMatch", &error, nullptr, "s", rule.c_str());
    sd_bus_error_free(&error);
    return result >= 0;
}

int NotificationListener::onMessage(sd_bus_message* message, void* userdata, sd_bus_error*)
{
    auto* self = static_cast<NotificationListener*>(userdata);
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

void NotificationListener::run()
{
    bool connected = true;
    for (;;) {
        while (connected) {
            const int processed = sd_bus_process(m_bus, nullptr);
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
            { m_wake, POLLIN, 0 },
            { connected ? sd_bus_get_fd(m_bus) : -1, 0, 0 },
        };
        int timeout = -1;
        if (connected) {
            const int events = sd_bus_get_events(m_bus);
            fds[1].events = short(events > 0 ? events : POLLIN);
            timeout = pollTimeout(m_bus);
        }
        if (::poll(fds, 2, timeout) < 0 && errno != EINTR)
            return;
        if (fds[0].revents != 0)
            return;
    }
}

void NotificationListener::release()
{
    m_filter = sd_bus_slot_unref(m_filter);
    if (m_bus)
        m_bus = sd_bus_flush_close_unref(m_bus);
    if (m_wake >= 0) {
        ::close(m_wake);
        m_wake = -1;
    }
}

}
