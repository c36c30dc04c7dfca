// SPDX-License-Identifier: MIT
#include "CommandIntake.h"

#include <filesystem>
#include <system_error>

namespace quelmctl {

quelm::CommandConsumer openConsumer(const quelm::SharedStore& store)
{
    std::error_code error;
    if (!std::filesystem::is_directory(store.root(), error))
        throw CommandFailure(systemRefused, "no container at " + store.root().string());
    if (const std::string reason = store.refusal(); !reason.empty())
        throw CommandFailure(systemRefused, "refusing the container: " + reason);
    try {
        return quelm::CommandConsumer(store);
    } catch (const std::system_error& failure) {
        throw CommandFailure(systemRefused, "cannot take commands from " + store.root().string() + ": " + failure.what());
    }
}

void acknowledge(quelm::CommandConsumer& consumer, const quelm::ClaimedCommand& claimed)
{
    try {
        consumer.acknowledge(claimed);
    } catch (const std::system_error& failure) {
        throw CommandFailure(systemRefused, std::string(failure.what()) + "; it will be delivered again");
    }
}

std::string describeFailure(const quelm::ClaimBatch& batch)
{
    if (!batch.failed())
        return {};
    std::string text = "cannot take ";
    text += batch.failedEntry.empty() ? std::string("the commands") : batch.failedEntry;
    text += ": " + batch.error.message() + "; it waits in the queue";
    return text;
}

}
