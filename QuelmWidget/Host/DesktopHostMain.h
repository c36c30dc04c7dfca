// SPDX-License-Identifier: MIT
#pragma once

#include <iosfwd>

namespace quelm::host {

// The host's main routine, what `quelm-widget` without a command runs: starts the Qt application,
// places the saved widgets of the widget bundle and runs until the last one is removed. Only one
// host runs per user configuration. Returns the exit status.
struct DesktopHostOptions {
    // Started with the session: with no widget placed, end quietly rather than open the gallery.
    bool autostart = false;
};
int runDesktopHost(int& argc, char** argv, const DesktopHostOptions& options, std::ostream& err);

}
