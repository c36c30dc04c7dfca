// SPDX-License-Identifier: MIT
#include <quelm/NotificationObserver.h>

#include "ObserverConnection.h"

namespace quelm {

NotificationObserver::NotificationObserver(std::string name, std::function<void()> handler)
    : m_name(std::move(name))
    , m_handler(std::move(handler))
    , m_connection(std::make_unique<detail::ObserverConnection>(m_name, m_handler))
{
}

bool NotificationObserver::isListening() const
{
    return m_connection && m_connection->isListening();
}

NotificationObserver::~NotificationObserver()
{
    // Stop observing (and wait out a delivery in progress) before the handler is released.
    m_connection.reset();
}

}
