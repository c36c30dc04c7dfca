// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quelmd::detail {

// Replaces `file` atomically (temporary file, then rename; no fsync: the files describe the
// running session only), creating its folder with mode 0700
// and the file with 0600. Throws std::system_error.
void writeReportFile(const std::filesystem::path& file, std::string_view content);

// The file's bytes, up to 1 MiB, never through a symbolic link; nothing when it cannot be read.
std::optional<std::string> readReportFile(const std::filesystem::path& file);

}
