// SPDX-License-Identifier: MIT
#pragma once

namespace quelmctl {

// Whether a session bus is likely to be there. A notification observer stays silent without
// one, so the commands that wait for notifications say so instead of waiting in vain.
bool sessionBusLikely();

}
