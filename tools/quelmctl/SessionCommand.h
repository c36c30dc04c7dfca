// SPDX-License-Identifier: MIT
#pragma once

#include "Command.h"

namespace quelmctl {

// "quelmctl session set|end": a coding agent's hook reports its session to quelmd.
extern const Command sessionCommand;

}
