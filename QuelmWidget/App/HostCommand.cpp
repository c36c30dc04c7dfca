// SPDX-License-Identifier: MIT
// quelm-widget host (and quelm-widget alone): the desktop host.

#include "Arguments.h"
#include "App/Command.h"

#include "Host/DesktopHostMain.h"

#include <ostream>

namespace quelm::cli {

namespace {

int runHost(std::span<const std::string> arguments, std::ostream& out, std::ostream& err)
{
    host::DesktopHostOptions options;
    options.autostart = Arguments(arguments, { { "--autostart" } }, 0).has("--autostart");
    out.flush();
    // Qt keeps a reference to argc for the application's lifetime.
    static int argc = 1;
    static char name[] = "quelm-widget";
    static char* argv[] = { name, nullptr };
    return host::runDesktopHost(argc, argv, options, err);
}

}

const Command hostCommand {
    "host",
    "show the placed widgets on the desktop (what quelm-widget alone does)",
    R"(Usage: quelm-widget [host [--autostart]]

Shows every widget placed on the desktop, each in its own always-below window, keeps it up to
date with the app group's container and turns clicks on its buttons into start/stop requests.
Right-click a widget to edit it, change its size, remove it or add another. The placed widgets
are kept in $XDG_CONFIG_HOME/quelm/widgets.json (~/.config by default); with none saved yet, one
medium widget is placed. Removing the last widget ends the host.

Options:
  --autostart   started with the session: when no widget is placed, end at once instead of
                opening the gallery
  --help        show this text

Environment:
  QUELM_HOST_TRACE=1   one line per event on standard output (window geometry, renders as view
                       trees, clicks, click-to-pending times, intent outcomes)
)",
    runHost,
};

}
