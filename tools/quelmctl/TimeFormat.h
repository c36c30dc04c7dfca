// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/Date.h>

#include <string>

namespace quelmctl {

// "2026-11-22T21:56:50.123Z": UTC, to the millisecond, for people reading the tool's output.
std::string iso8601(quelm::Date);

}
