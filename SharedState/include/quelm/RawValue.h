// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string_view>

namespace quelm {

// Every enumeration of the wire format converts to and from its raw string exactly:
// `rawValue(e)` and `fromRawValue<E>("...")`, which yields nothing for any other string
// (case-sensitive, no trimming).
template<class Enum>
std::optional<Enum> fromRawValue(std::string_view raw);

}
