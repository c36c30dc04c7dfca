// SPDX-License-Identifier: MIT
#pragma once

#include "Command.h"

#include <quelm/CommandConsumer.h>
#include <quelm/SharedStore.h>

#include <string>

namespace quelmctl {

// The claim path as this tool's consumers (drain, watch, demo) use it: a command is acknowledged
// only once it has been printed or carried out, so a consumer killed on the way loses nothing.

// Throws CommandFailure(systemRefused) saying why the queue cannot be taken from: no container,
// another user's or a shared one, no permission.
quelm::CommandConsumer openConsumer(const quelm::SharedStore&);

// Throws CommandFailure(systemRefused) when the claimed command cannot be let go.
void acknowledge(quelm::CommandConsumer&, const quelm::ClaimedCommand&);

// What kept a command of `batch` in the queue, for a person; empty when nothing did.
std::string describeFailure(const quelm::ClaimBatch& batch);

}
