// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/Date.h>
#include <quelm/WidgetSession.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace quelmd {

// A coding-agent session as its hook reports it (`quelmctl session set`), one file per session in
// the runtime folder's "sessions/", so that quelmd, the one writer of the snapshot, publishes it.
struct SessionReport {
    quelm::WidgetSession session;
    std::optional<std::string> openCommand; // run for "quelm://session/<id>"
    quelm::Date updatedAt;

    bool operator==(const SessionReport&) const = default;
};

// A session not reported for this long is dropped.
inline constexpr double sessionSilenceLimit = 12 * 3600;

// Writes the report atomically as sessions/<escaped id>.json. Throws std::system_error.
void writeSessionReport(const std::filesystem::path& sessionsFolder, const SessionReport&);

// Removes the session's file; true when there was one.
bool removeSessionReport(const std::filesystem::path& sessionsFolder, const std::string& id);

// Every readable report of the folder, ordered by id; damaged files are skipped.
std::vector<SessionReport> readSessionReports(const std::filesystem::path& sessionsFolder);

// The report of one session, if it is there.
std::optional<SessionReport> readSessionReport(const std::filesystem::path& sessionsFolder, const std::string& id);

// "sessions/" in the runtime folder.
std::filesystem::path sessionsFolderIn(const std::filesystem::path& runtimeFolder);

}
