// SPDX-License-Identifier: MIT
#pragma once

#include "Command.h"

namespace quelmctl {

// mark [--size N | --rect X,Y,W,H] --json|--svg [--no-sphere]: the brand mark's geometry.
extern const Command markCommand;

}
