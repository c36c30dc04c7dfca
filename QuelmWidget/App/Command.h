// SPDX-License-Identifier: MIT
#pragma once

#include "CommandErrors.h"
#include "ExitStatus.h"

#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

namespace quelm::cli {

// One subcommand of quelm-widget. `run` gets the arguments after the subcommand's name (with
// "--help" already handled) and returns the exit status; it may throw UsageError.
struct Command {
    std::string_view name;
    std::string_view summary; // one line, for the overall usage
    std::string_view usage;   // the full text of `quelm-widget NAME --help`
    int (*run)(std::span<const std::string> arguments, std::ostream& out, std::ostream& err);
};

// The subcommands, each defined in a file of its own.
extern const Command timelineCommand;
extern const Command layoutCommand;
extern const Command renderCommand;
extern const Command hostCommand;

}
