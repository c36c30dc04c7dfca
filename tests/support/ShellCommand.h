// SPDX-License-Identifier: MIT
#pragma once

// Command lines run through the shell to their end, for tests that look at what a program printed:
//   const ShellRun listed = runThroughShell({ "xprop", "-id", window }, "</dev/null 2>&1");

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/wait.h>

namespace quelm::test {

// `text` as one word of a POSIX shell, whatever it holds.
inline std::string shellQuoted(const std::string& text)
{
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

struct ShellRun {
    int status = -1; // the exit status; -1 when a signal ended it
    std::string output; // its standard output, and whatever `redirections` sent there
};

// Runs `arguments`, each quoted, followed by `redirections` (for example "</dev/null 2>&1"), in
// this process's environment, and reads its standard output to the end.
inline ShellRun runThroughShell(const std::vector<std::string>& arguments, const std::string& redirections)
{
    std::string command;
    for (const auto& argument : arguments)
        command += shellQuoted(argument) + " ";
    command += redirections;
    ShellRun result;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe)
        throw std::runtime_error("popen failed");
    char buffer[4096];
    std::size_t count;
    while ((count = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
        result.output.append(buffer, count);
    const int status = ::pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

}
