// SPDX-License-Identifier: MIT
#pragma once

#include "Command.h"

namespace quelmctl {

// demo [--beat-every SECONDS] [--transition-seconds SECONDS]: a simulated companion app that
// publishes the sample, beats, and carries out the widget's commands, until SIGINT or SIGTERM.
extern const Command demoCommand;

}
