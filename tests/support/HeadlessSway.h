// SPDX-License-Identifier: MIT
#pragma once

// A headless sway of a test's or a benchmark's own: software rendering, no input devices, its
// outputs as configured. Run as an unprivileged user when started by root (sway refuses root), with
// a runtime directory of that user's inside `directory`.
//   HeadlessSway sway(directory, "output HEADLESS-1 resolution 1024x768\n");
//   if (sway.problem()) skip(*sway.problem());  else run(…, "WAYLAND_DISPLAY=" + sway.socketName(), …)

#include "ChildWithOutput.h"

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace quelm::test {

class HeadlessSway {
public:
    static constexpr uid_t unprivileged = 65534;

    HeadlessSway(const std::filesystem::path& directory, const std::string& configuration, int outputs = 1)
        : m_runtime(directory / "runtime")
    {
        if (std::system("command -v sway >/dev/null 2>&1") != 0) {
            m_problem = "sway is not installed";
            return;
        }
        const bool root = ::geteuid() == 0;
        // The unprivileged user must reach its runtime directory and the configuration.
        ::chmod(directory.c_str(), 0755);
        std::filesystem::create_directory(m_runtime);
        ::chmod(m_runtime.c_str(), 0700);
        if (root && ::chown(m_runtime.c_str(), unprivileged, unprivileged) != 0) {
            m_problem = "cannot hand a runtime directory to an unprivileged user for sway";
            return;
        }
        const auto config = directory / "sway.conf";
        std::ofstream(config) << configuration;
        ::chmod(config.c_str(), 0644);

        // Its log goes to a file: a pipe nobody reads would fill up and stop the compositor.
        m_log = directory / "sway.log";
        std::vector<std::string> command { "sh", "-c", "exec \"$@\" >\"$0\" 2>&1", m_log.string(), "env", "-i", "PATH=/usr/local/bin:/usr/bin:/bin", "HOME=" + directory.string(),
            "XDG_RUNTIME_DIR=" + m_runtime.string(), "WLR_BACKENDS=headless", "WLR_RENDERER=pixman", "WLR_LIBINPUT_NO_DEVICES=1",
            "WLR_HEADLESS_OUTPUTS=" + std::to_string(outputs) };
        if (root)
            command.insert(command.end(), { "setpriv", "--reuid=65534", "--regid=65534", "--clear-groups" });
        command.insert(command.end(), { "sway", "--config", config.string() });
        m_sway.emplace(command);

        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!(socketName() && ipcSocket()) && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        if (!(socketName() && ipcSocket())) {
            m_sway.reset();
            std::ifstream said(m_log);
            m_problem = "sway cannot run here:\n" + std::string(std::istreambuf_iterator<char>(said), std::istreambuf_iterator<char>());
        }
    }

    // Why there is no compositor; none when it runs.
    const std::optional<std::string>& problem() const { return m_problem; }

    const std::filesystem::path& runtimeDirectory() const { return m_runtime; }
    // The Wayland socket's name in the runtime directory (WAYLAND_DISPLAY).
    std::optional<std::string> socketName() const { return entryStartingWith("wayland-", ".lock"); }
    // The path of sway's IPC socket (swaymsg -s).
    std::optional<std::string> ipcSocket() const
    {
        const auto name = entryStartingWith("sway-ipc.", "");
        return name ? std::optional((m_runtime / *name).string()) : std::nullopt;
    }

private:
    std::optional<std::string> entryStartingWith(const std::string& prefix, const std::string& butNotExtension) const
    {
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator(m_runtime, ignored)) {
            const std::string name = entry.path().filename().string();
            if (name.rfind(prefix, 0) == 0 && (butNotExtension.empty() || entry.path().extension() != butNotExtension))
                return name;
        }
        return std::nullopt;
    }

    std::filesystem::path m_runtime;
    std::filesystem::path m_log;
    std::optional<std::string> m_problem;
    std::optional<ChildWithOutput> m_sway;
};

}
