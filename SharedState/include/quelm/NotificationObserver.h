// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace quelm {

namespace detail {
class ObserverConnection;
}

// Calls `handler` on its own delivery thread each time `name` is posted, from construction until
// destruction. Destruction stops deliveries before it releases the handler, so no call reaches a
// destroyed observer. Without a session bus it simply receives nothing.
class NotificationObserver {
public:
    NotificationObserver(std::string name, std::function<void()> handler);
    ~NotificationObserver();

    NotificationObserver(const NotificationObserver&) = delete;
    NotificationObserver& operator=(const NotificationObserver&) = delete;
    NotificationObserver(NotificationObserver&&) = delete;
    NotificationObserver& operator=(NotificationObserver&&) = delete;

    const std::string& name() const { return m_name; }

    // False without a session bus, or once it has gone away (the bus daemon restarted, say): this
    // observer receives nothing more, and a new one must be made to listen again.
    bool isListening() const;

private:
    std::string m_name;
    std::function<void()> m_handler;
    std::unique_ptr<detail::ObserverConnection> m_connection;
};

}
