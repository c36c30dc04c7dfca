// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace quelm {

// The companion app's address that opens the app: the tap target of the closed-app message and
// the destination of a session row without a session address.
inline constexpr std::string_view openAppAddress = "quelm://open";

}
