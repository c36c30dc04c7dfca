// SPDX-License-Identifier: MIT
#include <quelm/Notification.h>

#include "BusConnection.h"
#include "NotificationSignal.h"

#include <cstdlib>
#include <mutex>
#include <optional>
#include <string>

#include <pthread.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace quelm::Notification {

namespace {

// Whether `kept` (nullopt: unset) still holds the current value of an environment variable.
bool sameAsEnvironment(const std::optional<std::string>& kept, const char* variable)
{
    const char* current = std::getenv(variable);
    return current ? kept && *kept == current : !kept;
}

std::optional<std::string> environmentValue(const char* variable)
{
    const char* value = std::getenv(variable);
    return value ? std::optional<std::string>(value) : std::nullopt;
}

// One session-bus connection per process, opened by the first post and kept: a post is then one
// message written to an open socket. sd-bus connections are not thread-safe, hence the mutex.
// The connection is the one sd_bus_open_user would open now: it is opened again when the
// environment comes to name another bus, and in a forked child.
struct Broadcaster {
    std::mutex mutex;
    detail::BusConnection bus;
    pid_t owner = 0; // the process that opened `bus`
    std::optional<std::string> address; // DBUS_SESSION_BUS_ADDRESS when `bus` was opened
    std::optional<std::string> runtimeDirectory; // XDG_RUNTIME_DIR, its fallback

    bool connect()
    {
        if (bus && owner != ::getpid()) {
            // Inherited across fork: the parent's connection is unusable here, and flushing or
            // closing it from this process would touch the parent's socket; drop our reference only.
            sd_bus_unref(bus.release());
        }
        if (bus && !(sameAsEnvironment(address, "DBUS_SESSION_BUS_ADDRESS") && sameAsEnvironment(runtimeDirectory, "XDG_RUNTIME_DIR")))
            disconnect();
        if (bus)
            return true;
        bus = detail::openUserBus();
        if (!bus)
            return false;
        owner = ::getpid();
        address = environmentValue("DBUS_SESSION_BUS_ADDRESS");
        runtimeDirectory = environmentValue("XDG_RUNTIME_DIR");
        return true;
    }

    void disconnect() { bus.reset(); }
};

Broadcaster& broadcaster()
{
    // Never destroyed, so a post from another static destructor at exit is still safe.
    static Broadcaster& instance = *[] {
        auto* created = new Broadcaster;
        // A fork while another thread posts must not leave the child a locked mutex.
        pthread_atfork([] { broadcaster().mutex.lock(); }, [] { broadcaster().mutex.unlock(); },
            [] { broadcaster().mutex.unlock(); });
        return created;
    }();
    return instance;
}

}

void post(std::string_view name)
{
    // A D-Bus string cannot hold a NUL byte; no observer can be waiting for such a name.
    if (name.find('\0') != std::string_view::npos)
        return;
    const std::string text(name);
    Broadcaster& shared = broadcaster();
    std::lock_guard lock(shared.mutex);
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!shared.connect())
            return;
        int result = sd_bus_emit_signal(shared.bus.get(), detail::notificationPath, detail::notificationInterface,
            detail::notificationMember, "s", text.c_str());
        if (result >= 0)
            result = sd_bus_flush(shared.bus.get());
        // Sent, or refused for the name itself (not UTF-8) on a connection that is still fine.
        if (result >= 0 || sd_bus_is_open(shared.bus.get()) > 0)
            return;
        // The kept connection has died (the bus daemon restarted): once more on a fresh one.
        shared.disconnect();
    }
}

}
