// SPDX-License-Identifier: MIT
// quelm-widget timeline: the provider's answer for the live container, as JSON.

#include "Arguments.h"
#include "App/Command.h"
#include "App/JsonOutput.h"
#include "App/Options.h"

#include "Timeline/TimelineProvider.h"
#include "Widget/QuelmWidgetConfiguration.h"
#include "Timeline/TimelineContext.h"

#include <optional>
#include <string>

namespace quelm::cli {

namespace {

int runTimeline(std::span<const std::string> arguments, std::ostream& out, std::ostream&)
{
    std::optional<WidgetFamily> family;
    QuelmWidgetConfiguration configuration;
    bool preview = false;

    const Arguments options(arguments, { { "--family", true }, { "--sort", true }, { "--preview" } }, 0);
    if (const auto value = options.value("--family"))
        family = parseFamilyArgument(*value);
    else
        throwMissingFamily();
    if (const auto value = options.value("--sort"))
        configuration.sortOrder = parseSortArgument(*value);
    preview = options.has("--preview");

    const TimelineContext context { *family, preview };
    const TimelineProvider provider;
    if (preview) {
        printJson(out, timelineJson({ provider.snapshot(configuration, context) }, std::nullopt));
    } else {
        const Timeline timeline = provider.timeline(configuration, context);
        printJson(out, timelineJson(timeline.entries, timeline.reloadAfter));
    }
    return success;
}

}

const Command timelineCommand {
    "timeline",
    "print the provider's timeline for the live container as JSON",
    R"(Usage: quelm-widget timeline --family FAMILY [--sort category|recent] [--preview]

Asks the timeline provider for a timeline of the live app-group container and prints it as JSON:
  {"entries": [{"date", "appStatus", "sortOrder", "pending": {id: action}, "snapshot": {...}}],
   "reloadAfter": DATE}
Dates are seconds since 1970; each snapshot is in its wire form.

Options:
  --family FAMILY   small, medium, large or extraLarge (small… accepted too)
  --sort ORDER      the configured sort order: category (default) or recent
  --preview         ask for a preview snapshot instead (the sample entry, with the configured
                    sort order); it has no reload policy, so "reloadAfter" is null
  --help            show this text
)",
    runTimeline,
};

}
