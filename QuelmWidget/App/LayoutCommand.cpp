// quelm-widget layout: which sessions, groups and items a family shows, as JSON.

#include "App/Command.h"
#include "App/JsonOutput.h"
#include "App/Options.h"
#include "App/SnapshotFile.h"

#include "Layout/WidgetLayout.h"

#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>
#include <quelm/WireFormat.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>

namespace quelm::app {

namespace {

// What the widget would read: the container's snapshot, or the empty one without a container.
WidgetSnapshot liveSnapshot()
{
    const auto store = SharedStore::forAppGroup(SharedConstants::appGroupIdentifier);
    return store ? store->readSnapshot() : WidgetSnapshot::empty;
}

int runLayout(std::span<const std::string> arguments, std::ostream& out, std::ostream&)
{
    std::optional<WidgetFamily> family;
    WidgetSortOrder sortOrder = WidgetSortOrder::category;
    std::optional<std::string> snapshotPath;

    OptionReader options(arguments);
    std::string value;
    while (!options.atEnd()) {
        if (options.takeOption("--family", value))
            family = parseFamilyArgument(value);
        else if (options.takeOption("--sort", value))
            sortOrder = parseSortArgument(value);
        else if (options.takeOption("--snapshot", value))
            snapshotPath = value;
        else
            throwUnexpected(options.next());
    }
    if (!family)
        throwMissingFamily();

    const WidgetSnapshot snapshot = snapshotPath ? readSnapshotFile(*snapshotPath) : liveSnapshot();
    printJson(out, layoutJson(WidgetLayout(snapshot, *family, sortOrder)));
    return exitSuccess;
}

}

const Command layoutCommand {
    "layout",
    "print which sessions, groups and items a family shows, as JSON",
    R"(Usage: quelm-widget layout --family FAMILY [--sort category|recent] [--snapshot FILE]

Chooses what a widget of FAMILY shows from a snapshot and prints the ids, in display order:
  {"sessions": [...], "groups": [...], "items": [...]}

Options:
  --family FAMILY   small, medium, large or extraLarge (small… accepted too)
  --sort ORDER      category (default) or recent
  --snapshot FILE   a snapshot document in the wire form ("-" for standard input) instead of the
                    live app-group container; a document that does not decode is refused (exit 2)
  --help            show this text
)",
    runLayout,
};

}
