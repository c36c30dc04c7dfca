// SPDX-License-Identifier: MIT
#include <quelm/WidgetCommand.h>

namespace quelm {

std::string_view rawValue(WidgetCommand::Action action)
{
    return action == WidgetCommand::Action::start ? "start" : "stop";
}

template<>
std::optional<WidgetCommand::Action> fromRawValue<WidgetCommand::Action>(std::string_view raw)
{
    if (raw == "start")
        return WidgetCommand::Action::start;
    if (raw == "stop")
        return WidgetCommand::Action::stop;
    return std::nullopt;
}

}
