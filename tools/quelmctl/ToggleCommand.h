// SPDX-License-Identifier: MIT
#pragma once

#include "Command.h"

namespace quelmctl {

// toggle ITEM --start|--stop: does what a tap on the widget's button does.
extern const Command toggleCommand;

}
