// SPDX-License-Identifier: MIT
#include "WatchCommand.h"

#include "Arguments.h"
#include "CommandHook.h"
#include "CommandIntake.h"
#include "CommandOutput.h"
#include "QueueWatch.h"
#include "StoreLocation.h"
#include "TerminationSignals.h"
#include "WakeUps.h"

#include <quelm/NotificationObserver.h>
#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>

#include <chrono>
#include <optional>

namespace quelmctl {

namespace {

constexpr std::chrono::seconds busCheckInterval { 1 };

int runWatch(const Invocation& invocation)
{
    const Arguments arguments(invocation.arguments, { { "--exec", true }, { "--json" } }, 0);
    const bool json = arguments.has("--json");
    const std::optional<std::string> exec = arguments.value("--exec");
    if (exec && json)
        throw UsageError("give --json or --exec, not both");
    if (exec && exec->empty())
        throw UsageError("option --exec needs a command");
    const quelm::SharedStore store = openStore(invocation);
    quelm::CommandConsumer consumer = openConsumer(store);

    // Before the observer starts its thread, so that the signals reach only `wakeUps`.
    const TerminationSignals signals;
    const std::optional<CommandHook> hook = exec ? std::optional<CommandHook>(std::in_place, *exec, signals.previousMask()) : std::nullopt;

    WakeUps wakeUps(signals.signals());
    // The queue's folder wakes the loop too: a command whose notification could not be posted
    // (no bus, or the bus restarting) is taken as soon as it arrives.
    QueueWatch queue(store.root() / "commands");
    wakeUps.watch(queue.descriptor());

    // Observing starts before the first claim, so no command falls between the two. The handler
    // only rings: a burst of deliveries while a claim runs leads to one more claim, and a command
    // enqueued before its notification is never missed.
    const std::string name(quelm::SharedConstants::commandNotification);
    std::optional<quelm::NotificationObserver> observer;
    observer.emplace(name, [&wakeUps] { wakeUps.ring(); });
    bool listening = observer->isListening();
    if (!listening)
        invocation.err << "quelmctl watch: warning: no session bus; watching the queue's folder alone until one comes\n";

    for (;;) {
        const quelm::ClaimBatch batch = consumer.claim();
        for (const quelm::ClaimedCommand& claimed : batch.commands) {
            // Acknowledged once printed or once CMD has returned, whatever its status: a watch
            // killed before that leaves the command to the next consumer.
            if (!hook) {
                printCommand(invocation.out, claimed.command, json);
                if (!invocation.out)
                    throw CommandFailure(systemRefused, "cannot print the commands; those not printed wait in the queue");
            } else if (const std::string failure = hook->run(claimed.command); !failure.empty()) {
                invocation.err << "quelmctl watch: " << readableLine(claimed.command) << ": " << failure << '\n';
            }
            acknowledge(consumer, claimed);
        }
        if (batch.failed())
            invocation.err << "quelmctl watch: " << describeFailure(batch) << '\n';

        // Each second without a wake-up, the bus connection is checked and made again if it
        // went away (a bus daemon restarted, or one started after this watch).
        for (;;) {
            const WakeUps::Reason reason = wakeUps.wait(WakeUps::Clock::now() + busCheckInterval);
            if (reason == WakeUps::Reason::terminated)
                return success;
            if (reason == WakeUps::Reason::watched)
                queue.takeEvents();
            if (reason != WakeUps::Reason::due)
                break;
            if (observer->isListening())
                continue;
            observer.reset();
            observer.emplace(name, [&wakeUps] { wakeUps.ring(); });
            if (observer->isListening()) {
                invocation.err << "quelmctl watch: listening on the session bus again\n";
                listening = true;
                // Whatever came while nobody listened is in the folder; take it now.
                break;
            }
            if (listening)
                invocation.err << "quelmctl watch: warning: the session bus went away; watching the queue's folder alone until it is back\n";
            listening = false;
        }
    }
}

}

const Command watchCommand {
    .name = "watch",
    .summary = "take the widget's commands as they come, print them or run a command",
    .usage = R"(Usage: quelmctl watch [--json | --exec CMD] [--root DIR]

Acts as the app's side of the widget's buttons: takes the commands waiting in
the store's queue at start, then again each time the widget posts the command
notification (on the session bus) or a command arrives in the queue's folder,
until interrupted (SIGINT or SIGTERM, exit 0). A bus that goes away is joined
again when it is back. Each command is printed as one line, like drain does:

  2026-11-22T21:56:50.123Z start my-api (6F1C2A4E-…)

  --json      print each command in its wire form, one JSON object per line
  --exec CMD  run CMD with /bin/sh -c once per command, in order, with
              QUELM_ITEM_ID, QUELM_ACTION (start or stop), QUELM_COMMAND_ID and
              QUELM_ISSUED_AT (seconds since 1970) in its environment
  --root DIR  use DIR as the store instead of the app group container

A command is deleted only once printed, or once CMD has returned; a watch that
is killed leaves the commands it held to the next consumer.

Exit status: 0 interrupted, 1 no container or a container that is not private,
2 bad usage.
)",
    .run = runWatch,
};

}
