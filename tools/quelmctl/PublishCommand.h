// SPDX-License-Identifier: MIT
#pragma once

#include "Command.h"

namespace quelmctl {

// publish [FILE|-] [--stamp]: checks a snapshot document exactly as the widget decodes it and
// writes it to the store.
extern const Command publishCommand;

}
