// SPDX-License-Identifier: MIT
#include "CommandInbox.h"

namespace quelmd {

std::vector<quelm::WidgetCommand> CommandInbox::take()
{
    return m_store.drainCommands();
}

void CommandInbox::done(const quelm::WidgetCommand&)
{
}

}
