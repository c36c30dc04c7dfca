// SPDX-License-Identifier: MIT
#include "CommandInbox.h"

#include <system_error>

namespace quelmd {

std::vector<quelm::ClaimedCommand> CommandInbox::take(std::string* problem)
{
    problem->clear();
    if (!m_consumer) {
        // The container may come later (the first snapshot makes it); until then there is
        // nothing to take, and the next wake-up tries again.
        try {
            m_consumer.emplace(m_store);
        } catch (const std::system_error& failure) {
            *problem = std::string("cannot take commands: ") + failure.what();
            return {};
        }
    }
    quelm::ClaimBatch batch = m_consumer->claim();
    if (batch.failed())
        *problem = "cannot take " + (batch.failedEntry.empty() ? std::string("the commands") : batch.failedEntry) + ": "
            + batch.error.message() + "; it waits in the queue";
    return std::move(batch.commands);
}

bool CommandInbox::done(const quelm::ClaimedCommand& claimed, std::string* problem)
{
    try {
        m_consumer->acknowledge(claimed);
        return true;
    } catch (const std::system_error& failure) {
        *problem = "cannot let command " + claimed.command.id.string() + " go: " + failure.what();
        return false;
    }
}

}
