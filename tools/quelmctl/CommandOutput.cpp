// SPDX-License-Identifier: MIT
#include "CommandOutput.h"

#include "TimeFormat.h"

#include <quelm/WireFormat.h>

namespace quelmctl {

std::string readableLine(const quelm::WidgetCommand& command)
{
    return iso8601(command.issuedAt) + ' ' + std::string(quelm::rawValue(command.action)) + ' ' + command.itemID + " ("
        + command.id.string() + ')';
}

void printCommand(std::ostream& out, const quelm::WidgetCommand& command, bool json)
{
    out << (json ? quelm::encode(command) : readableLine(command)) << '\n';
    out.flush();
}

}
