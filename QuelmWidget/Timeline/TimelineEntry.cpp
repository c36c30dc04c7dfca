// SPDX-License-Identifier: MIT
#include "Timeline/TimelineEntry.h"

#include <cmath>

namespace quelm {

namespace {

TimelineEntry buildSample()
{
    const Date now = Date::now();
    const auto ago = [now](double seconds) { return now.addingSeconds(-seconds); };

    WidgetSnapshot snapshot;
    snapshot.items = {
        WidgetItem { "a", "my-api (dev)", "node", true, std::nullopt, 3000, ago(5400) },
        WidgetItem { "b", "web (dev)", "node", true, std::nullopt, 5173, ago(600) },
        WidgetItem { "c", "postgres", "database", false },
        WidgetItem { "d", "py-svc (uvicorn)", "server", true, std::nullopt, 8000, ago(60) },
        WidgetItem { "e", "cache (shop)", "docker", false },
    };
    snapshot.groups = { WidgetGroup("group:x", "Trabalho", 3, 2, true) };
    snapshot.sessions = {
        WidgetSession { "s1", "Ajustar o widget", "quelm", WidgetSession::State::needsApproval },
        WidgetSession { "s2", "Migração do banco", "my-api", WidgetSession::State::working },
    };
    snapshot.language = std::nullopt;
    snapshot.updatedAt = now;

    TimelineEntry entry;
    entry.date = now;
    entry.snapshot = std::move(snapshot);
    entry.appStatus = SharedStore::AppStatus::running;
    entry.sortOrder = WidgetSortOrder::category;
    return entry;
}

}

const TimelineEntry& TimelineEntry::sample()
{
    // A function-local static: initialised exactly once, on first use, thread-safely.
    static const TimelineEntry sample = buildSample();
    return sample;
}

TimelineEntry TimelineEntry::sample(Date now)
{
    TimelineEntry entry = TimelineEntry::sample();
    const Date built = entry.date;
    // Each date keeps its distance from the moment the sample was built, to the millisecond: the
    // distances are whole seconds, and a hair less would read as a minute less.
    const auto moved = [&](Date date) { return now.addingSeconds(-std::round(built.secondsSince(date) * 1000) / 1000); };
    entry.date = now;
    entry.snapshot.updatedAt = moved(entry.snapshot.updatedAt);
    for (WidgetItem& item : entry.snapshot.items) {
        if (item.startedAt)
            item.startedAt = moved(*item.startedAt);
    }
    return entry;
}

}
