// SPDX-License-Identifier: MIT
#pragma once

#include "Command.h"

#include <quelm/SharedStore.h>

namespace quelmctl {

// The store a command works on: the --root directory when given, else the app group's container.
// Throws CommandFailure(systemRefused) when there is neither.
quelm::SharedStore openStore(const Invocation&);

// The app group's container, as the widget finds it. Throws CommandFailure(systemRefused) when
// no container can be named.
quelm::SharedStore openAppGroupStore();

}
