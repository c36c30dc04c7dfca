// SPDX-License-Identifier: MIT
#include "SessionBus.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace quelmctl {

bool sessionBusLikely()
{
    if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); address && *address)
        return true;
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    std::error_code error;
    return runtime && *runtime && std::filesystem::exists(std::filesystem::path(runtime) / "bus", error);
}

}
