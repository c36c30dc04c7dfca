#include "DrainCommand.h"

#include "Arguments.h"
#include "CommandOutput.h"
#include "StoreLocation.h"

#include <quelm/SharedStore.h>

#include <filesystem>

namespace quelmctl {

namespace {

int runDrain(const Invocation& invocation)
{
    const Arguments arguments(invocation.arguments, { { "--json" } }, 0);
    const quelm::SharedStore store = openStore(invocation);
    if (!std::filesystem::is_directory(store.root()))
        throw CommandFailure(systemRefused, "no container at " + store.root().string());
    for (const quelm::WidgetCommand& command : store.drainCommands())
        printCommand(invocation.out, command, arguments.has("--json"));
    return success;
}

}

const Command drainCommand {
    .name = "drain",
    .summary = "take the widget's waiting commands and print them",
    .usage = R"(Usage: quelmctl drain [--json] [--root DIR]

Takes every command waiting in the store's "commands" directory (each file is
deleted, damaged ones too) and prints them in the order they were issued, one
per line:

  2026-11-22T21:56:50.123Z start my-api (6F1C2A4E-…)

  --json      print each command in its wire form, one JSON object per line
  --root DIR  use DIR as the store instead of the app group container

Exit status: 0 success (also when nothing waits), 1 no container, 2 bad usage.
)",
    .run = runDrain,
};

}
