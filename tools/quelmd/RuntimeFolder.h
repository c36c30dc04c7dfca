// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>

namespace quelmd {

// Where quelmd and quelmctl meet besides the widget's container: $XDG_RUNTIME_DIR/quelm, or
// $XDG_STATE_HOME/quelm (~/.local/state/quelm) where there is no runtime directory. Nothing
// when neither can be named. Holds "status.json" (quelmd's report) and "sessions/" (the reported
// agent sessions).
std::optional<std::filesystem::path> runtimeFolder();

}
