// SPDX-License-Identifier: MIT
#include "UrlHandler.h"

#include "RuntimeFolder.h"
#include "SessionReport.h"
#include "SystemdManager.h"

#include "ExitStatus.h"

#include <HexDigit.h>

#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quelmd {

namespace detail {

std::optional<std::string> percentDecoded(std::string_view text)
{
    std::string result;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] != '%') {
            result += text[index];
            continue;
        }
        if (index + 2 >= text.size())
            return std::nullopt;
        const int high = quelm::detail::hexDigitValue(text[index + 1]);
        const int low = quelm::detail::hexDigitValue(text[index + 2]);
        if (high < 0 || low < 0)
            return std::nullopt;
        result += static_cast<char>(high * 16 + low);
        index += 2;
    }
    return result;
}

// Runs `command` through the shell in a process of its own, detached from this one: the desktop
// gave us its environment (display, session bus) and the command needs it, so it does not go
// through the service manager.
bool runDetached(const std::string& command)
{
    const pid_t child = ::fork();
    if (child < 0)
        return false;
    if (child == 0) {
        ::setsid();
        if (::fork() != 0)
            ::_exit(0);
        const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
        if (null >= 0)
            ::dup2(null, STDIN_FILENO);
        ::execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
        ::_exit(127);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}

std::optional<QuelmLink> parseQuelmLink(std::string_view url)
{
    constexpr std::string_view scheme = "quelm://";
    if (!url.starts_with(scheme))
        return std::nullopt;
    const std::string_view rest = url.substr(scheme.size());
    if (rest == "open" || rest == "open/")
        return QuelmLink { QuelmLink::Kind::open, {} };
    constexpr std::string_view session = "session/";
    if (rest.starts_with(session) && rest.size() > session.size()) {
        const std::optional<std::string> id = detail::percentDecoded(rest.substr(session.size()));
        if (id && !id->empty())
            return QuelmLink { QuelmLink::Kind::session, *id };
    }
    return std::nullopt;
}

int openUrl(const std::string& url, std::ostream& out, std::ostream& err)
{
    const std::optional<QuelmLink> link = parseQuelmLink(url);
    if (!link) {
        err << "quelmd open: \"" << url << "\" is not a quelm:// link quelmd knows (quelm://open, quelm://session/ID)\n";
        return quelm::cli::badUsage;
    }
    if (link->kind == QuelmLink::Kind::open) {
        try {
            SystemdManager manager(nullptr, {});
            const UnitState state = manager.state("quelmd.service");
            if (state.activeState == "active" || state.activeState == "activating") {
                out << "quelmd open: quelmd.service is running\n";
                return quelm::cli::success;
            }
            if (const std::optional<std::string> refusal = manager.start("quelmd.service")) {
                err << "quelmd open: cannot start quelmd.service: " << *refusal << '\n';
                return quelm::cli::systemRefused;
            }
            out << "quelmd open: started quelmd.service\n";
            return quelm::cli::success;
        } catch (const std::runtime_error& error) {
            err << "quelmd open: " << error.what() << '\n';
            return quelm::cli::systemRefused;
        }
    }
    const std::optional<std::filesystem::path> runtime = runtimeFolder();
    const std::optional<SessionReport> report = runtime ? readSessionReport(sessionsFolderIn(*runtime), link->sessionId) : std::nullopt;
    if (!report) {
        err << "quelmd open: no session \"" << link->sessionId << "\" is reported\n";
        return quelm::cli::systemRefused;
    }
    if (!report->openCommand) {
        err << "quelmd open: session \"" << link->sessionId << "\" gave no command to open it (quelmctl session set --open)\n";
        return quelm::cli::systemRefused;
    }
    if (!detail::runDetached(*report->openCommand)) {
        err << "quelmd open: cannot run the command of session \"" << link->sessionId << "\"\n";
        return quelm::cli::systemRefused;
    }
    out << "quelmd open: ran the command of session \"" << link->sessionId << "\"\n";
    return quelm::cli::success;
}

}
