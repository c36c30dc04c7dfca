// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace quelm::Notification {

// Posts the bare name to every observer of it on the session bus. Never fails from the caller's
// view: without a session bus it does nothing.
void post(std::string_view name);

}
