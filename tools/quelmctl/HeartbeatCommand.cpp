// SPDX-License-Identifier: MIT
#include "HeartbeatCommand.h"

#include "Arguments.h"
#include "StoreLocation.h"
#include "TerminationSignals.h"

#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>

#include <filesystem>

namespace quelmctl {

namespace {

// touchHeartbeat is silent by design (the app must not fail for a lost beat); a person running
// this command needs to hear why nothing happened.
void beat(const quelm::SharedStore& store)
{
    std::error_code error;
    if (!std::filesystem::is_directory(store.root(), error))
        throw CommandFailure(systemRefused,
            store.root().string() + " does not exist; a heartbeat never creates it: publish a snapshot first");
    if (const std::string reason = store.refusal(); !reason.empty())
        throw CommandFailure(systemRefused, "refusing the container: " + reason);
    std::error_code failure;
    store.touchHeartbeat(quelm::Date::now(), failure);
    if (failure)
        throw CommandFailure(systemRefused, "cannot write the heartbeat in " + store.root().string() + ": " + failure.message());
}

int runHeartbeat(const Invocation& invocation)
{
    const Arguments arguments(invocation.arguments, { { "--every", true } }, 0);
    std::optional<double> every;
    if (auto text = arguments.value("--every")) {
        every = parseNumber("--every", *text);
        if (*every <= 0)
            throw UsageError("option --every needs a number of seconds greater than zero");
    }
    const quelm::SharedStore store = openStore(invocation);

    if (!every) {
        beat(store);
        return success;
    }

    if (*every >= quelm::SharedConstants::heartbeatTimeout)
        invocation.err << "quelmctl heartbeat: warning: beats " << *every << " s apart let the widget show the app as not running ("
                       << quelm::SharedConstants::heartbeatTimeout << " s timeout)\n";
    const TerminationSignals signals;
    do
        beat(store);
    while (!signals.wait(every));
    return success;
}

}

const Command heartbeatCommand {
    .name = "heartbeat",
    .summary = "tell the widget that the app runs",
    .usage = R"(Usage: quelmctl heartbeat [--every SECONDS] [--root DIR]

Writes the store's heartbeat with the current time: the widget counts the app as
running for 90 seconds after the last beat. With --every, beats every SECONDS
until interrupted (SIGINT or SIGTERM), then exits 0.

  --every SECONDS  beat repeatedly, SECONDS apart (for example 30)
  --root DIR       use DIR as the store instead of the app group container

A heartbeat never creates the store's directory: publish a snapshot first.

Exit status: 0 success, 1 the directory does not exist or cannot be written,
2 bad usage.
)",
    .run = runHeartbeat,
};

}
