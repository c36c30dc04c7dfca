// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace quelmd {

// What the service manager says of one unit, as plain values: `UnitState state; state.activeState
// == "active"`. Filled in by the service manager's client; read by the mapping rules.
struct UnitState {
    std::string loadState = "not-found";  // loaded, not-found, masked, …
    std::string activeState = "inactive"; // active, reloading, inactive, failed, activating, deactivating
    std::string subState;
    std::string result;                   // success, exit-code, signal, timeout, …
    std::uint64_t activeEnterTimestamp = 0; // microseconds since 1970; 0 when it never entered
    std::string controlGroup;             // "/app.slice/quelm-web.service"; empty when it has none
    std::uint32_t mainPid = 0;
    std::int32_t execMainStatus = 0;      // exit status or signal number of the main process
    std::int32_t execMainCode = 0;        // CLD_EXITED, CLD_KILLED, … (0 when none ran)

    bool operator==(const UnitState&) const = default;
};

}
