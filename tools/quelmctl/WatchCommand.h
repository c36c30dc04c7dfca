// SPDX-License-Identifier: MIT
#pragma once

#include "Command.h"

namespace quelmctl {

// watch [--exec CMD] [--json]: the app's side of a tap, for scripts: drains the queue at start and
// on every command notification, until SIGINT or SIGTERM.
extern const Command watchCommand;

}
