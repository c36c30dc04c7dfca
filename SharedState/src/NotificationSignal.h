// SPDX-License-Identifier: MIT
#pragma once

// The signal that carries a posted name over the session bus, as both ends spell it.

#include <string>
#include <string_view>

namespace quelm::detail {

// post(name) emits the broadcast signal Posted(s name) from this object path and interface.
inline constexpr const char* notificationPath = "/dev/quelm/Notification";
inline constexpr const char* notificationInterface = "dev.quelm.Notification1";
inline constexpr const char* notificationMember = "Posted";

// The rule that asks the bus daemon for the Posted signals of `name` only, quoted the way the
// daemon reads match rules: inside single quotes every byte is literal, and a quote is written
// as '\'' (close, escaped quote, reopen).
std::string notificationMatchRule(std::string_view name);

}
