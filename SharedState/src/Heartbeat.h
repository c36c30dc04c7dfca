// SPDX-License-Identifier: MIT
#pragma once

// The text of the "heartbeat" file: the seconds since 1970 of the app's last beat, as a plain
// decimal number with no line end.

#include <optional>
#include <string>
#include <string_view>

namespace quelm::detail {

// The shortest decimal text that reads back to `seconds`, in fixed notation with a point and at
// least one digit after it: 10 → "10.0", 10.5 → "10.5", 1700000000 → "1700000000.0". The
// non-finite values, which have no such form, are written as strtod reads them: "inf", "-inf", "nan".
std::string formatHeartbeat(double seconds);

// Reads the text strictly: not empty, no leading white space (space, \t, \n, \v, \f, \r), a number
// in the syntax of strtod in the C locale (so also "inf", "nan", "0x1p4", "+5") that uses up the
// whole text. Anything else, a trailing line end included, gives nothing.
std::optional<double> parseHeartbeat(std::string_view text);

}
