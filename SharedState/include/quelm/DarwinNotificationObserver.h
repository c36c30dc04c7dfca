#pragma once

#include <functional>
#include <memory>
#include <string>

namespace quelm {

namespace detail {
class NotificationListener;
}

// Calls `handler` on its own delivery thread each time `name` is posted, from construction until
// destruction. Destruction stops deliveries before it releases the handler, so no call reaches a
// destroyed observer. Without a session bus it simply receives nothing.
class DarwinNotificationObserver {
public:
    DarwinNotificationObserver(std::string name, std::function<void()> handler);
    ~DarwinNotificationObserver();

    DarwinNotificationObserver(const DarwinNotificationObserver&) = delete;
    DarwinNotificationObserver& operator=(const DarwinNotificationObserver&) = delete;
    DarwinNotificationObserver(DarwinNotificationObserver&&) = delete;
    DarwinNotificationObserver& operator=(DarwinNotificationObserver&&) = delete;

    const std::string& name() const { return m_name; }

private:
    std::string m_name;
    std::function<void()> m_handler;
    std::unique_ptr<detail::NotificationListener> m_listener;
};

}
