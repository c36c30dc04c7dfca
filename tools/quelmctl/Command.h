// SPDX-License-Identifier: MIT
#pragma once

#include "Arguments.h"
#include "CommandErrors.h"
#include "ExitStatus.h"

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace quelmctl {

// The conventions every Quelm program shares, under the names this tool's commands use.
using ExitCode = quelm::cli::ExitStatus;
using enum quelm::cli::ExitStatus;
using quelm::cli::Arguments;
using quelm::cli::asksForHelp;
using quelm::cli::CommandFailure;
using quelm::cli::OptionSpec;
using quelm::cli::parseNumber;
using quelm::cli::parseNumberList;
using quelm::cli::UsageError;

// One run of a command: the global options already taken out, the command's own arguments left.
struct Invocation {
    std::optional<std::filesystem::path> root; // --root DIR
    std::vector<std::string> arguments;
    std::ostream& out;
    std::ostream& err;
};

// A command of the tool. `usage` is the full help text, printed by --help.
struct Command {
    std::string_view name;
    std::string_view summary;
    std::string_view usage;
    int (*run)(const Invocation&);
};

}
