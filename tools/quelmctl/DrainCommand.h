// SPDX-License-Identifier: MIT
#pragma once

#include "Command.h"

namespace quelmctl {

// drain [--json]: takes the waiting commands out of the queue and prints them.
extern const Command drainCommand;

}
