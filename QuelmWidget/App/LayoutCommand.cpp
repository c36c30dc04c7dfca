// SPDX-License-Identifier: MIT
// quelm-widget layout: which sessions, groups and items a family shows, as JSON.

#include "Arguments.h"
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

namespace quelm::cli {

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

    const Arguments options(arguments, { { "--family", true }, { "--sort", true }, { "--snapshot", true } }, 0);
    if (const auto value = options.value("--family"))
        family = parseFamilyArgument(*value);
    else
        throwMissingFamily();
    if (const auto value = options.value("--sort"))
        sortOrder = parseSortArgument(*value);
    snapshotPath = options.value("--snapshot");

    const WidgetSnapshot snapshot = snapshotPath ? readSnapshotFile(*snapshotPath) : liveSnapshot();
    printJson(out, layoutJson(WidgetLayout(snapshot, *family, sortOrder)));
    return success;
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
