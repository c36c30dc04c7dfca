// SPDX-License-Identifier: MIT
#include "App/JsonOutput.h"

#include <quelm/SharedStore.h>
#include <quelm/WireFormat.h>

#include <ostream>

namespace quelm::cli {

nlohmann::json entryJson(const TimelineEntry& entry)
{
    nlohmann::json pending = nlohmann::json::object();
    for (const auto& [id, action] : entry.pending)
        pending[id] = rawValue(action);
    return {
        { "date", entry.date.secondsSince1970() },
        { "appStatus", rawValue(entry.appStatus) },
        { "sortOrder", rawValue(entry.sortOrder) },
        { "pending", std::move(pending) },
        { "snapshot", nlohmann::json::parse(encode(entry.snapshot)) },
    };
}

nlohmann::json timelineJson(const std::vector<TimelineEntry>& entries, std::optional<Date> reloadAfter)
{
    nlohmann::json list = nlohmann::json::array();
    for (const TimelineEntry& entry : entries)
        list.push_back(entryJson(entry));
    return {
        { "entries", std::move(list) },
        { "reloadAfter", reloadAfter ? nlohmann::json(reloadAfter->secondsSince1970()) : nlohmann::json(nullptr) },
    };
}

nlohmann::json layoutJson(const WidgetLayout& layout)
{
    const auto ids = [](const auto& list) {
        nlohmann::json array = nlohmann::json::array();
        for (const auto& element : list)
            array.push_back(element.id);
        return array;
    };
    return {
        { "sessions", ids(layout.sessions) },
        { "groups", ids(layout.groups) },
        { "items", ids(layout.items) },
    };
}

void printJson(std::ostream& out, const nlohmann::json& json)
{
    out << json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

}
