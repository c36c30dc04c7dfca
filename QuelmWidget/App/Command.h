#pragma once

#include <iosfwd>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quelm::app {

// Exit statuses of every subcommand.
enum ExitStatus : int {
    exitSuccess = 0,
    exitFailure = 1,
    exitUsage = 2, // bad arguments or an input that cannot be used
};

// A wrong command line or an unusable input: the dispatcher prints the message and exits with
// `exitUsage`.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

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
