#pragma once

#include <filesystem>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quelmctl {

// What the tool's exit status tells a script.
enum ExitCode : int {
    success = 0,
    systemRefused = 1, // cannot write, no container, a signal or a child could not be set up
    badUsage = 2,      // unknown command or option, bad argument, refused input document
};

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

// The command line is wrong: the dispatcher prints the message and the command's usage on
// stderr and exits with badUsage.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The command cannot go on: the dispatcher prints the message on stderr and exits with `code`.
class CommandFailure : public std::runtime_error {
public:
    CommandFailure(ExitCode code, const std::string& message)
        : std::runtime_error(message)
        , m_code(code)
    {
    }
    ExitCode code() const { return m_code; }

private:
    ExitCode m_code;
};

}
