// SPDX-License-Identifier: MIT
#include "Host/ClicksInFlight.h"

namespace quelm::host {

void ClicksInFlight::add(const ToggleItemIntent& intent)
{
    if (!intent.itemID || !intent.start)
        return;
    const auto action = *intent.start ? WidgetCommand::Action::start : WidgetCommand::Action::stop;
    m_requests.insert_or_assign(*intent.itemID, Request { action, false });
}

void ClicksInFlight::end(const std::string& itemID)
{
    if (auto found = m_requests.find(itemID); found != m_requests.end())
        found->second.ended = true;
}

void ClicksInFlight::dropEnded()
{
    std::erase_if(m_requests, [](const auto& request) { return request.second.ended; });
}

TimelineEntry ClicksInFlight::appliedTo(TimelineEntry entry) const
{
    for (const auto& [itemID, request] : m_requests)
        entry.pending.insert_or_assign(itemID, request.action);
    return entry;
}

}
