// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/SharedStore.h>
#include <quelm/WidgetCommand.h>

#include <vector>

namespace quelmd {

// The one place quelmd takes the widget's commands from the container: `take()` what is waiting,
// act on each, then `done(command)`. Taking reads and deletes the command files (drainCommands),
// so `done` has nothing left to do yet; once the store offers a claim and acknowledge path, `take`
// claims and `done` acknowledges, and a command taken by a quelmd that dies before acting on it
// is taken again by the next one.
class CommandInbox {
public:
    explicit CommandInbox(quelm::SharedStore store)
        : m_store(std::move(store))
    {
    }

    // The waiting commands, in the order the widget issued them.
    std::vector<quelm::WidgetCommand> take();

    // The command has been acted on (or refused for good).
    void done(const quelm::WidgetCommand&);

private:
    quelm::SharedStore m_store;
};

}
