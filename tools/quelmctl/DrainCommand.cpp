// SPDX-License-Identifier: MIT
#include "DrainCommand.h"

#include "Arguments.h"
#include "CommandIntake.h"
#include "CommandOutput.h"
#include "StoreLocation.h"

#include <quelm/SharedStore.h>

#include <filesystem>
#include <system_error>

namespace quelmctl {

namespace {

int runDrain(const Invocation& invocation)
{
    const Arguments arguments(invocation.arguments, { { "--json" } }, 0);
    const quelm::SharedStore store = openStore(invocation);
    std::error_code error;
    // Nothing has ever been queued: nothing to take, and nothing to create for taking it.
    if (std::filesystem::is_directory(store.root(), error) && store.refusal().empty()
        && !std::filesystem::exists(std::filesystem::symlink_status(store.root() / "commands", error)))
        return success;
    quelm::CommandConsumer consumer = openConsumer(store);
    const quelm::ClaimBatch batch = consumer.claim();
    for (const quelm::ClaimedCommand& claimed : batch.commands) {
        printCommand(invocation.out, claimed.command, arguments.has("--json"));
        // Let go only of what was printed; the rest goes back to the queue with the consumer.
        if (!invocation.out)
            throw CommandFailure(systemRefused, "cannot print the commands; those not printed wait in the queue");
        acknowledge(consumer, claimed);
    }
    if (batch.failed())
        throw CommandFailure(systemRefused, describeFailure(batch));
    return success;
}

}

const Command drainCommand {
    .name = "drain",
    .summary = "take the widget's waiting commands and print them",
    .usage = R"(Usage: quelmctl drain [--json] [--root DIR]

Takes every command waiting in the store's "commands" directory and prints them
in the order they were issued, one per line (below). Each command is claimed first (moved
into this drain's own folder, so no other consumer takes it too) and deleted only
once printed; a drain killed on the way leaves its commands to the next one.
Damaged command files are deleted.

  2026-11-22T21:56:50.123Z start my-api (6F1C2A4E-…)

  --json      print each command in its wire form, one JSON object per line
  --root DIR  use DIR as the store instead of the app group container

Exit status: 0 success (also when nothing waits), 1 no container, a container
that is not private, or a command that could not be taken (it stays queued),
2 bad usage.
)",
    .run = runDrain,
};

}
