// SPDX-License-Identifier: MIT
// quelmd: the Quelm companion app for Linux, on the user's systemd.

#include "Daemon.h"
#include "RuntimeFolder.h"
#include "ServiceConfiguration.h"
#include "UrlHandler.h"

#include "Arguments.h"
#include "CommandErrors.h"
#include "ExitStatus.h"
#include "ProgramText.h"

#include <quelm/SharedConstants.h>

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

namespace {

using namespace quelm::cli;

constexpr std::string_view usage = R"(Usage: quelmd [--config FILE] [--root DIR]
       quelmd open URL

The Quelm companion app for Linux. Runs the services of services.toml as units
of the user's systemd instance and shows them in the Quelm widget: publishes
what runs to the widget's container, beats its heartbeat every 30 seconds, and
starts or stops a service or a group when the widget asks. systemd starts,
stops, tracks and logs the processes; a service keeps running when quelmd
stops, and shows again when it starts.

The configuration is reloaded when it changes; a file with an error is reported
(file, line and key) and the last good configuration stays in force. Failures
of services go to standard error (the journal under systemd) and to
"quelmctl status".

  --config FILE  read the services from FILE instead of
                 $XDG_CONFIG_HOME/quelm/services.toml
  --root DIR     use DIR as the widget's container instead of the app group's
                 ($XDG_DATA_HOME/group-containers/<app group>)
  --help         show this help
  --version      show the version

quelmd open URL opens a quelm:// link, as the desktop's handler of the scheme:
"quelm://open" starts quelmd.service when it is not running, and
"quelm://session/ID" runs the command the session gave with --open.

Exit status: 0 stopped by SIGINT or SIGTERM, or the link opened; 1 no user
systemd instance, the container cannot be written, or the link cannot be
opened; 2 bad usage.
)";

int runDaemon(const std::vector<std::string>& arguments)
{
    const Arguments options(arguments, { { "--config", true }, { "--root", true } }, 0);
    std::optional<quelm::SharedStore> store;
    if (const std::optional<std::string> root = options.value("--root")) {
        if (root->empty())
            throw UsageError("option --root needs a directory");
        store = quelm::SharedStore(*root);
    } else {
        store = quelm::SharedStore::forAppGroup(quelm::SharedConstants::appGroupIdentifier);
    }
    if (!store)
        throw CommandFailure(systemRefused, "no container for the widget (neither XDG_DATA_HOME nor HOME is set)");

    std::optional<std::filesystem::path> configuration = quelmd::defaultConfigurationFile();
    if (const std::optional<std::string> file = options.value("--config")) {
        if (file->empty())
            throw UsageError("option --config needs a file");
        configuration = std::filesystem::absolute(*file);
    }
    if (!configuration)
        throw CommandFailure(systemRefused, "no configuration file can be named (neither XDG_CONFIG_HOME nor HOME is set)");
    const std::optional<std::filesystem::path> runtime = quelmd::runtimeFolder();
    if (!runtime)
        throw CommandFailure(systemRefused, "no runtime folder (neither XDG_RUNTIME_DIR nor HOME is set)");
    const char* home = std::getenv("HOME");

    quelmd::Daemon daemon(quelmd::DaemonOptions { *store, *configuration, *runtime, home ? home : "/" }, std::cerr);
    return daemon.run();
}

}

int main(int argc, char** argv)
{
    const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    if (asksForVersion(arguments)) {
        printVersion(std::cout, "quelmd");
        return success;
    }
    if (asksForHelp(arguments)) {
        std::cout << usage;
        return success;
    }
    try {
        if (!arguments.empty() && arguments.front() == "open") {
            if (arguments.size() != 2)
                throw UsageError("open takes one URL");
            return quelmd::openUrl(arguments[1], std::cout, std::cerr);
        }
        return runDaemon(arguments);
    } catch (const UsageError& error) {
        return reportUsageError(std::cerr, "quelmd", error.what(), "quelmd");
    } catch (const CommandFailure& error) {
        std::cerr << "quelmd: " << error.what() << '\n';
        return error.code();
    } catch (const std::exception& error) {
        std::cerr << "quelmd: " << error.what() << '\n';
        return systemRefused;
    }
}
