// SPDX-License-Identifier: MIT
#pragma once

// One NotificationObserver's own session-bus connection and the thread that delivers to it.

#include "BusConnection.h"
#include "BusSlot.h"
#include "FileDescriptor.h"

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include <systemd/sd-bus.h>

namespace quelm::detail {

class ObserverConnection {
public:
    // Opens its own session-bus connection and has the daemon route `name` to it before
    // returning; from then on calls `handler` on its own thread for each delivery. Without a
    // session bus (or for a name the bus cannot carry) it stays inert. `handler` must outlive it.
    ObserverConnection(std::string name, const std::function<void()>& handler);
    // Stops deliveries, wakes and joins the thread, then closes the connection: once it returns,
    // the handler is neither running nor called again. Must not run on the delivery thread itself.
    ~ObserverConnection();

    ObserverConnection(const ObserverConnection&) = delete;
    ObserverConnection& operator=(const ObserverConnection&) = delete;

    // False once the bus has gone away (or when there was none): nothing more can arrive.
    bool isListening() const { return m_listening.load(std::memory_order_acquire); }

private:
    static int onMessage(sd_bus_message*, void* userdata, sd_bus_error*);
    bool subscribe();
    void run();
    void closeQuietly();

    const std::string m_name;
    const std::function<void()>& m_handler;
    BusConnection m_bus;
    BusSlot m_filter; // after m_bus: a slot goes before its connection
    FileDescriptor m_wake; // written to stop the delivery thread
    std::atomic<bool> m_stopping { false };
    std::atomic<bool> m_listening { false };
    std::thread m_thread;
};

}
