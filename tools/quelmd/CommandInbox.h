// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/CommandConsumer.h>
#include <quelm/SharedStore.h>

#include <optional>
#include <string>
#include <vector>

namespace quelmd {

// The one place quelmd takes the widget's commands from the container: `take()` claims what is
// waiting for this quelmd alone, and `done(claimed)` lets a command go once it has been acted on.
// A quelmd that dies between the two leaves its claims to the next one, which takes them again.
class CommandInbox {
public:
    explicit CommandInbox(quelm::SharedStore store)
        : m_store(std::move(store))
    {
    }

    // The waiting commands, in the order the widget issued them. What could not be taken (no
    // container yet, no permission, a transient error) stays in the queue and is named in
    // `*problem`, empty when nothing was in the way.
    std::vector<quelm::ClaimedCommand> take(std::string* problem);

    // The command has been acted on (or refused for good); false when its file could not go.
    bool done(const quelm::ClaimedCommand&, std::string* problem);

private:
    quelm::SharedStore m_store;
    std::optional<quelm::CommandConsumer> m_consumer;
};

}
