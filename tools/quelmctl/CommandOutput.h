// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/WidgetCommand.h>

#include <ostream>
#include <string>

namespace quelmctl {

// How drained commands are shown: one line each, either the wire form (--json) or
// "2026-11-22T21:56:50.123Z start my-api (6F1C…)" for people.
std::string readableLine(const quelm::WidgetCommand&);
void printCommand(std::ostream&, const quelm::WidgetCommand&, bool json);

}
