// SPDX-License-Identifier: MIT
#include "ToggleCommand.h"

#include "Arguments.h"
#include "StoreLocation.h"

#include "Intent/ToggleItemIntent.h"

#include <quelm/WireFormat.h>

#include <system_error>

namespace quelmctl {

namespace {

std::string describeMarkFailure(const std::error_code& error)
{
    if (error == std::errc::file_too_large)
        return "the marks would pass the 16 MiB a reader accepts";
    if (error == std::errc::illegal_byte_sequence)
        return "the item id is not valid UTF-8";
    return error.message();
}

int runToggle(const Invocation& invocation)
{
    const Arguments arguments(invocation.arguments, { { "--start" }, { "--stop" } }, 1);
    if (arguments.operands().empty())
        throw UsageError("name the item (or group) to start or stop");
    const bool start = arguments.has("--start");
    if (start == arguments.has("--stop"))
        throw UsageError("give exactly one of --start and --stop");
    if (arguments.operands().front().empty())
        throw UsageError("the item id is empty; name the item (or group) to start or stop");

    // The intent does nothing, silently, without a container; a person wants to know.
    const quelm::SharedStore store = openStore(invocation);
    if (const std::string reason = store.refusal(); !reason.empty())
        throw CommandFailure(systemRefused, "refusing the container: " + reason);
    std::error_code markFailure;
    try {
        markFailure = quelm::ToggleItemIntent(arguments.operands().front(), start).perform(store);
    } catch (const std::system_error& error) {
        throw CommandFailure(systemRefused, std::string("cannot enqueue the command: ") + error.what());
    } catch (const quelm::EncodingError& error) {
        throw CommandFailure(badUsage, std::string("cannot enqueue the command: ") + error.what());
    }
    if (markFailure)
        throw CommandFailure(systemRefused, "the command is queued, but the item could not be marked pending in "
                + (store.root() / "pending.json").string() + ": " + describeMarkFailure(markFailure));
    return success;
}

}

const Command toggleCommand {
    .name = "toggle",
    .summary = "ask the app to start or stop an item, as the widget's button does",
    .usage = R"(Usage: quelmctl toggle ITEM (--start | --stop) [--root DIR]

Does what a tap on the widget's start or stop button does: writes a command
for ITEM (an item's or a group's id) into the app group container's queue,
marks ITEM as pending, and posts the command notification that wakes the app.

  --start     ask for a start
  --stop      ask for a stop
  --root DIR  use DIR as the store instead of the app group container
              ($XDG_DATA_HOME/group-containers/<app group>), which the widget uses

Exit status: 0 success, 1 no container, the command could not be written, or
the item could not be marked pending (the command is queued then), 2 bad usage.
)",
    .run = runToggle,
};

}
