// SPDX-License-Identifier: MIT
// quelmctl: the companion app's side of the Quelm widget, for scripts and people.

#include "Arguments.h"
#include "Command.h"
#include "DemoCommand.h"
#include "DrainCommand.h"
#include "HeartbeatCommand.h"
#include "MarkCommand.h"
#include "PublishCommand.h"
#include "SessionCommand.h"
#include "StatusCommand.h"
#include "ToggleCommand.h"
#include "WatchCommand.h"

#include "ProgramText.h"

#include <algorithm>
#include <array>
#include <exception>
#include <iostream>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace quelmctl;

const std::array<const Command*, 9> commands {
    &publishCommand,
    &heartbeatCommand,
    &drainCommand,
    &watchCommand,
    &toggleCommand,
    &statusCommand,
    &sessionCommand,
    &markCommand,
    &demoCommand,
};

const Command* findCommand(std::string_view name)
{
    const auto found = std::find_if(commands.begin(), commands.end(), [&](const Command* c) { return c->name == name; });
    return found == commands.end() ? nullptr : *found;
}

void printToolUsage(std::ostream& out)
{
    out << "Usage: quelmctl [--root DIR] COMMAND [ARGUMENTS]\n"
           "\n"
           "The companion app's side of the Quelm widget: publish what runs, beat the\n"
           "heartbeat, take the widget's start and stop commands.\n"
           "\n"
           "Commands:\n";
    for (const Command* command : commands)
        out << "  " << command->name << std::string(12 - std::min<std::size_t>(command->name.size(), 11), ' ') << command->summary
            << '\n';
    out << "\n"
           "  --root DIR  use DIR as the store instead of the app group container\n"
           "              ($XDG_DATA_HOME/group-containers/<app group>); before or\n"
           "              after the command\n"
           "  --help      show this help, or a command's with \"quelmctl COMMAND --help\"\n"
           "  --version   show the version\n"
           "\n"
           "Exit status: 0 success, 1 the system refuses (cannot write, no container),\n"
           "2 bad usage or bad input.\n";
}

int toolUsageError(const std::string& message)
{
    return quelm::cli::reportUsageError(std::cerr, "quelmctl", message, "quelmctl");
}

int runCommand(const Command& command, Invocation invocation)
{
    const std::string prefix = "quelmctl " + std::string(command.name) + ": ";
    try {
        return command.run(invocation);
    } catch (const UsageError& error) {
        return quelm::cli::reportUsageError(std::cerr, "quelmctl " + std::string(command.name), error.what(),
            "quelmctl " + std::string(command.name));
    } catch (const CommandFailure& error) {
        std::cerr << prefix << error.what() << '\n';
        return error.code();
    } catch (const std::exception& error) {
        std::cerr << prefix << error.what() << '\n';
        return systemRefused;
    }
}

}

int main(int argc, char** argv)
{
    std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);

    std::optional<std::string> root;
    try {
        root = quelm::cli::takeGlobalOption(arguments, "--root");
    } catch (const UsageError& error) {
        return toolUsageError(error.what());
    }

    if (arguments.empty())
        return toolUsageError("no command given");
    const std::string& name = arguments.front();
    if (quelm::cli::asksForVersion(arguments)) {
        quelm::cli::printVersion(std::cout, "quelmctl");
        return success;
    }
    if (name == "--help" || name == "-h") {
        printToolUsage(std::cout);
        return success;
    }
    if (name == "help") {
        if (arguments.size() < 2) {
            printToolUsage(std::cout);
            return success;
        }
        if (const Command* command = findCommand(arguments[1])) {
            std::cout << command->usage;
            return success;
        }
        return toolUsageError("unknown command \"" + arguments[1] + "\"");
    }
    if (name.starts_with('-'))
        return toolUsageError("unknown option \"" + name + "\"");

    const Command* command = findCommand(name);
    if (!command)
        return toolUsageError("unknown command \"" + name + "\"");

    std::vector<std::string> rest(arguments.begin() + 1, arguments.end());
    if (asksForHelp(rest)) {
        std::cout << command->usage;
        return success;
    }
    std::optional<std::filesystem::path> rootPath;
    if (root)
        rootPath = *root;
    return runCommand(*command, Invocation { rootPath, std::move(rest), std::cout, std::cerr });
}
