#include <quelm/NotificationObserver.h>

#include "NotificationListener.h"

namespace quelm {

NotificationObserver::NotificationObserver(std::string name, std::function<void()> handler)
    : m_name(std::move(name))
    , m_handler(std::move(handler))
    , m_listener(std::make_unique<detail::NotificationListener>(m_name, m_handler))
{
}

bool NotificationObserver::isListening() const
{
    return m_listener && m_listener->isListening();
}

NotificationObserver::~NotificationObserver()
{
    // Stop observing (and wait out a delivery in progress) before the handler is released.
    m_listener.reset();
}

}
