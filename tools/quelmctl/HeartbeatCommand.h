// SPDX-License-Identifier: MIT
#pragma once

#include "Command.h"

namespace quelmctl {

// heartbeat [--every SECONDS]: proves to the widget that the app runs.
extern const Command heartbeatCommand;

}
