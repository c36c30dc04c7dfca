// SPDX-License-Identifier: MIT
#pragma once

#include "ServiceConfiguration.h"
#include "UnitState.h"

#include <quelm/WidgetGroup.h>
#include <quelm/WidgetItem.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace quelmd {

// How the widget shows a unit: running while active (also while reloading or stopping),
// "starting" while activating or reloading, "stopping" while deactivating, started when it last
// entered the active state. `detectedPort` is used when the configuration names none.
quelm::WidgetItem itemFor(const ServiceDefinition&, const UnitState&, std::optional<std::uint16_t> detectedPort);

// A group of the items: members that run, active when all run (and there is at least one),
// starting or stopping while any member is, starting winning over stopping.
quelm::WidgetGroup groupFor(const GroupDefinition&, std::span<const quelm::WidgetItem> items);

// Whether the unit has processes that may listen: worth looking for a port.
bool isUp(const UnitState&);

// The line a failed unit leaves in the journal and in `quelmctl status`: "exited with status
// 127", "killed by signal 9", "timed out", or the manager's own word for it.
std::string failureReason(const UnitState&);

}
