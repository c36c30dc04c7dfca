// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/RawValue.h>

#include <optional>
#include <string>
#include <string_view>

namespace quelm {

// A coding-agent session the app follows. Aggregate: `WidgetSession { id, title, project, state }`.
struct WidgetSession {
    enum class State {
        working,
        needsApproval,
        waitingForInput,
    };

    std::string id;
    std::string title;
    std::string project;
    State state = State::working;

    // "quelm://session/" followed by the percent-encoded id; absent if that cannot be formed.
    std::optional<std::string> url() const;

    bool operator==(const WidgetSession&) const = default;
};

std::string_view rawValue(WidgetSession::State);
template<>
std::optional<WidgetSession::State> fromRawValue<WidgetSession::State>(std::string_view);

}

template<>
struct std::hash<quelm::WidgetSession> {
    std::size_t operator()(const quelm::WidgetSession&) const noexcept;
};
