// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/WidgetCommand.h>

#include <signal.h>
#include <string>

namespace quelmctl {

// Runs a shell command once per drained command: /bin/sh -c COMMAND, with QUELM_ITEM_ID,
// QUELM_ACTION ("start" or "stop"), QUELM_COMMAND_ID (the UUID) and QUELM_ISSUED_AT (seconds since
// 1970, as on the wire) added to the environment, and the signal mask `childMask`.
class CommandHook {
public:
    CommandHook(std::string shellCommand, const sigset_t& childMask);

    // Waits for the shell to end. Returns a description of the failure, or empty on success.
    std::string run(const quelm::WidgetCommand&) const;

private:
    std::string m_shellCommand;
    sigset_t m_childMask;
};

}
