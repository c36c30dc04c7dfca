// SPDX-License-Identifier: MIT
#pragma once

namespace quelm::cli {

// What every Quelm program's exit status tells a script.
enum ExitStatus : int {
    success = 0,
    systemRefused = 1, // cannot read or write, no container, a signal or a child could not be set up
    badUsage = 2,      // unknown command or option, bad argument, refused input document
};

}
