#pragma once

// The session-bus side of the notifications: the signal that carries a posted name, and the
// listener that owns one observer's connection and delivery thread.

#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

#include <systemd/sd-bus.h>

namespace quelm::detail {

// post(name) emits the broadcast signal Posted(s name) from this object path and interface.
inline constexpr const char* notificationPath = "/dev/quelm/Notification";
inline constexpr const char* notificationInterface = "dev.quelm.Notification1";
inline constexpr const char* notificationMember = "Posted";

// The rule that asks the bus daemon for the Posted signals of `name` only, quoted the way the
// daemon reads match rules: inside single quotes every byte is literal, and a quote is written
// as '\'' (close, escaped quote, reopen).
std::string notificationMatchRule(std::string_view name);

class NotificationListener {
public:
    // Opens its own session-bus connection and has the daemon route `name` to it before
    // returning; from then on calls `handler` on its own thread for each delivery. Without a
    // session bus (or for a name the bus cannot carry) it stays inert. `handler` must outlive it.
    NotificationListener(std::string name, const std::function<void()>& handler);
    // Stops deliveries, wakes and joins the thread, then closes the connection: once it returns,
    // the handler is neither running nor called again. Must not run on the delivery thread itself.
    ~NotificationListener();

    NotificationListener(const NotificationListener&) = delete;
    NotificationListener& operator=(const NotificationListener&) = delete;

    // False once the bus has gone away (or when there was none): nothing more can arrive.
    bool isListening() const { return m_listening.load(std::memory_order_acquire); }

private:
    static int onMessage(sd_bus_message*, void* userdata, sd_bus_error*);
    bool subscribe();
    void run();
    void release();

    const std::string m_name;
    const std::function<void()>& m_handler;
    sd_bus* m_bus = nullptr;
    sd_bus_slot* m_filter = nullptr;
    int m_wake = -1;
    std::atomic<bool> m_stopping { false };
    std::atomic<bool> m_listening { false };
    std::thread m_thread;
};

}
