// SPDX-License-Identifier: MIT
#include "CommandHook.h"

#include <quelm/WireFormat.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace quelmctl {

namespace {

std::vector<std::string> environmentFor(const quelm::WidgetCommand& command)
{
    const std::vector<std::pair<std::string, std::string>> added {
        { "QUELM_ITEM_ID", command.itemID },
        { "QUELM_ACTION", std::string(quelm::rawValue(command.action)) },
        { "QUELM_COMMAND_ID", command.id.string() },
        { "QUELM_ISSUED_AT", nlohmann::json(command.issuedAt.secondsSince1970()).dump() },
    };
    std::vector<std::string> environment;
    for (char** entry = environ; *entry; ++entry) {
        const std::string_view variable = *entry;
        const bool replaced = std::any_of(added.begin(), added.end(),
            [&](const auto& pair) { return variable.starts_with(pair.first + '='); });
        if (!replaced)
            environment.emplace_back(variable);
    }
    for (const auto& [name, value] : added)
        environment.push_back(name + '=' + value);
    return environment;
}

}

CommandHook::CommandHook(std::string shellCommand, const sigset_t& childMask)
    : m_shellCommand(std::move(shellCommand))
    , m_childMask(childMask)
{
}

std::string CommandHook::run(const quelm::WidgetCommand& command) const
{
    std::vector<std::string> environment = environmentFor(command);
    std::vector<char*> envp;
    for (auto& variable : environment)
        envp.push_back(variable.data());
    envp.push_back(nullptr);
    std::string shell = "sh", dashC = "-c", script = m_shellCommand;
    char* argv[] = { shell.data(), dashC.data(), script.data(), nullptr };

    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigmask(&attributes, &m_childMask);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    pid_t pid = 0;
    const int failure = posix_spawn(&pid, "/bin/sh", nullptr, &attributes, argv, envp.data());
    posix_spawnattr_destroy(&attributes);
    if (failure)
        return std::string("cannot run /bin/sh: ") + std::strerror(failure);

    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR)
            return std::string("cannot wait for /bin/sh: ") + std::strerror(errno);
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) != 0)
        return "the command exited with status " + std::to_string(WEXITSTATUS(status));
    if (WIFSIGNALED(status))
        return "the command ended by signal " + std::to_string(WTERMSIG(status));
    return {};
}

}
