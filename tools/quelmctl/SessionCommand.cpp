// SPDX-License-Identifier: MIT
#include "SessionCommand.h"

#include <RuntimeFolder.h>
#include <SessionReport.h>

#include <quelm/WireFormat.h>

#include <system_error>

namespace quelmctl {

namespace {

std::filesystem::path sessionsFolder()
{
    const std::optional<std::filesystem::path> runtime = quelmd::runtimeFolder();
    if (!runtime)
        throw CommandFailure(systemRefused, "no runtime folder to report sessions in (neither XDG_RUNTIME_DIR nor HOME is set)");
    return quelmd::sessionsFolderIn(*runtime);
}

int setSession(const Invocation& invocation, const std::vector<std::string>& rest)
{
    const Arguments arguments(rest, { { "--title", true }, { "--project", true }, { "--state", true }, { "--open", true } }, 1);
    if (arguments.operands().size() != 1 || arguments.operands().front().empty())
        throw UsageError("session set needs the session's ID");
    const std::optional<std::string> title = arguments.value("--title");
    const std::optional<std::string> project = arguments.value("--project");
    const std::optional<std::string> state = arguments.value("--state");
    if (!title || !project || !state)
        throw UsageError("session set needs --title, --project and --state");
    const auto parsedState = quelm::fromRawValue<quelm::WidgetSession::State>(*state);
    if (!parsedState)
        throw UsageError("--state must be working, needsApproval or waitingForInput, not \"" + *state + "\"");
    const quelmd::SessionReport report { quelm::WidgetSession { arguments.operands().front(), *title, *project, *parsedState },
        arguments.value("--open"), quelm::Date::now() };
    const std::filesystem::path folder = sessionsFolder();
    try {
        quelmd::writeSessionReport(folder, report);
    } catch (const std::system_error& error) {
        throw CommandFailure(systemRefused, std::string("cannot report the session: ") + error.what());
    }
    invocation.out << "session " << report.session.id << ": " << *state << '\n';
    return success;
}

int endSession(const Invocation& invocation, const std::vector<std::string>& rest)
{
    const Arguments arguments(rest, {}, 1);
    if (arguments.operands().size() != 1 || arguments.operands().front().empty())
        throw UsageError("session end needs the session's ID");
    const std::string& id = arguments.operands().front();
    if (quelmd::removeSessionReport(sessionsFolder(), id))
        invocation.out << "session " << id << ": ended\n";
    else
        invocation.out << "session " << id << ": was not reported\n";
    return success;
}

int runSession(const Invocation& invocation)
{
    if (invocation.arguments.empty())
        throw UsageError("session needs set or end");
    const std::string& action = invocation.arguments.front();
    const std::vector<std::string> rest(invocation.arguments.begin() + 1, invocation.arguments.end());
    if (action == "set")
        return setSession(invocation, rest);
    if (action == "end")
        return endSession(invocation, rest);
    throw UsageError("session needs set or end, not \"" + action + "\"");
}

}

const Command sessionCommand {
    .name = "session",
    .summary = "report a coding agent's session to quelmd, or end it",
    .usage = R"(Usage: quelmctl session set ID --title TITLE --project PROJECT
                            --state working|needsApproval|waitingForInput
                            [--open COMMAND]
       quelmctl session end ID

Reports a coding agent's session to quelmd, which shows it in the widget's
sessions: one line in the agent's hook keeps it current. "set" adds the session
or updates it; "end" removes it. A session not set again for 12 hours is
dropped. With --open, clicking the session in the widget (the link
quelm://session/ID) runs COMMAND through the shell, for example to bring the
agent's terminal forward.

The report is a file in $XDG_RUNTIME_DIR/quelm/sessions (or
$XDG_STATE_HOME/quelm/sessions without a runtime directory); quelmd, the one
writer of the widget's snapshot, publishes it.

Exit status: 0 success, 1 the report cannot be written, 2 bad usage.
)",
    .run = runSession,
};

}
