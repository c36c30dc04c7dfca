// SPDX-License-Identifier: MIT
#pragma once

#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

namespace quelm::cli {

// "quelmctl 0.1.0", the line --version prints.
void printVersion(std::ostream& out, std::string_view program);

// True when the only argument asks for the version ("--version").
bool asksForVersion(std::span<const std::string> arguments);

// The short report of a wrong command line: one line naming the problem, one pointing at the
// help of `helpFor` ("quelmctl" or "quelmctl publish"). Returns badUsage.
int reportUsageError(std::ostream& err, std::string_view where, std::string_view message, std::string_view helpFor);

}
