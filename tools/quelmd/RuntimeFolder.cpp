// SPDX-License-Identifier: MIT
#include "RuntimeFolder.h"

#include <cstdlib>

namespace quelmd {

std::optional<std::filesystem::path> runtimeFolder()
{
    const auto absolute = [](const char* name) -> const char* {
        const char* value = std::getenv(name);
        return value && *value == '/' ? value : nullptr;
    };
    if (const char* runtime = absolute("XDG_RUNTIME_DIR"))
        return std::filesystem::path(runtime) / "quelm";
    if (const char* state = absolute("XDG_STATE_HOME"))
        return std::filesystem::path(state) / "quelm";
    if (const char* home = absolute("HOME"))
        return std::filesystem::path(home) / ".local" / "state" / "quelm";
    return std::nullopt;
}

}
