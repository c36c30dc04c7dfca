// SPDX-License-Identifier: MIT
// quelm-widget: the widget's program. Dispatches to one subcommand per file; add a subcommand by
// defining its `Command` and listing it in `commands` below.

#include "App/Command.h"

#include "ProgramText.h"

#include <array>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

namespace quelm::cli {

namespace {

constexpr std::array commands {
    &timelineCommand,
    &layoutCommand,
    &renderCommand,
    &hostCommand,
};

const Command* findCommand(std::string_view name)
{
    for (const Command* command : commands) {
        if (command->name == name)
            return command;
    }
    return nullptr;
}

void printUsage(std::ostream& out)
{
    out << "Usage: quelm-widget                (the desktop host: shows the placed widgets)\n"
           "       quelm-widget COMMAND [OPTIONS]\n"
           "       quelm-widget COMMAND --help\n"
           "       quelm-widget --version\n\n"
           "Commands:\n";
    for (const Command* command : commands) {
        std::string name(command->name);
        name.resize(std::max<std::size_t>(name.size() + 2, 12), ' ');
        out << "  " << name << command->summary << '\n';
    }
    out << "\nExit status: 0 on success, 2 for a bad command line or an unusable input, 1 otherwise.\n";
}

bool isHelp(std::string_view argument)
{
    return argument == "--help" || argument == "-h";
}

int dispatch(const std::vector<std::string>& arguments)
{
    // Without a command the program is the desktop host.
    if (arguments.empty())
        return dispatch({ std::string(hostCommand.name) });
    if (asksForVersion(arguments)) {
        printVersion(std::cout, "quelm-widget");
        return success;
    }
    const std::string& name = arguments.front();
    if (isHelp(name) || name == "help") {
        if (name == "help" && arguments.size() > 1) {
            if (const Command* command = findCommand(arguments[1])) {
                std::cout << command->usage;
                return success;
            }
            return reportUsageError(std::cerr, "quelm-widget", "unknown command \"" + arguments[1] + "\"", "quelm-widget");
        }
        printUsage(std::cout);
        return success;
    }

    const Command* command = findCommand(name);
    if (!command) {
        return reportUsageError(std::cerr, "quelm-widget", "unknown command \"" + name + "\"", "quelm-widget");
    }

    const std::span<const std::string> rest(arguments.begin() + 1, arguments.end());
    for (const std::string& argument : rest) {
        if (isHelp(argument)) {
            std::cout << command->usage;
            return success;
        }
    }
    try {
        return command->run(rest, std::cout, std::cerr);
    } catch (const UsageError& error) {
        const std::string where = "quelm-widget " + std::string(command->name);
        return reportUsageError(std::cerr, where, error.what(), where);
    } catch (const std::exception& error) {
        std::cerr << "quelm-widget " << command->name << ": " << error.what() << '\n';
        return systemRefused;
    }
}

}

}

int main(int argc, char** argv)
{
    std::vector<std::string> arguments(argv + 1, argv + argc);
    const int status = quelm::cli::dispatch(arguments);
    std::cout.flush();
    return std::cout.fail() && status == quelm::cli::success ? quelm::cli::systemRefused : status;
}
