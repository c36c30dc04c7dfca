// SPDX-License-Identifier: MIT
#pragma once

#include "Timeline/TimelineEntry.h"
#include "Intent/ToggleItemIntent.h"

#include <map>
#include <string>

namespace quelm::host {

// The toggles a widget was clicked for and whose intents have not been answered by a timeline yet.
// The widget shows them as pending at once, rather than after the intent's writes (each synced to
// disk) and a reload: a click is seen within a frame. Once the intent has ended, the next entry
// from the provider, which holds the real pending mark or none, takes over.
class ClicksInFlight {
public:
    // Records a click's request; an intent without its item or action is ignored.
    void add(const ToggleItemIntent&);
    // The intent for `itemID` has ended, well or not: its request lasts until the next entry.
    void end(const std::string& itemID);
    // A new entry has come: the requests whose intents have ended are dropped.
    void dropEnded();

    bool empty() const { return m_requests.empty(); }

    // `entry` with every request shown as pending, over any mark it already has.
    TimelineEntry appliedTo(TimelineEntry entry) const;

private:
    struct Request {
        WidgetCommand::Action action;
        bool ended = false;
    };
    std::map<std::string, Request> m_requests;
};

}
