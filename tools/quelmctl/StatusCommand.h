// SPDX-License-Identifier: MIT
#pragma once

#include "Command.h"

namespace quelmctl {

// status [--json]: what the widget would see now: app status, snapshot and pending marks.
extern const Command statusCommand;

}
