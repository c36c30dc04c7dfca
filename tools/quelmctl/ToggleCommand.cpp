#include "ToggleCommand.h"

#include "Arguments.h"
#include "StoreLocation.h"

#include "Intent/ToggleItemIntent.h"

#include <quelm/WireFormat.h>

#include <system_error>

namespace quelmctl {

namespace {

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
    try {
        quelm::ToggleItemIntent(arguments.operands().front(), start).perform(store);
    } catch (const std::system_error& error) {
        throw CommandFailure(systemRefused, std::string("cannot enqueue the command: ") + error.what());
    } catch (const quelm::EncodingError& error) {
        throw CommandFailure(badUsage, std::string("cannot enqueue the command: ") + error.what());
    }
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

Exit status: 0 success, 1 no container or the command could not be written,
2 bad usage.
)",
    .run = runToggle,
};

}
