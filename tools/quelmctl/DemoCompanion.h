// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/Date.h>
#include <quelm/WidgetCommand.h>
#include <quelm/WidgetItem.h>
#include <quelm/WidgetSession.h>
#include <quelm/WidgetSnapshot.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace quelmctl {

// Where an item or a group stands, as a person reads it.
enum class DemoPhase {
    stopped,
    starting,
    running,
    stopping,
};

std::string_view describe(DemoPhase);

// One thing that happened to the demo's state, for one line of its output.
struct DemoEvent {
    enum class Kind {
        accepted,  // a command set the item or group moving
        unchanged, // a command asked for what already is (or is under way)
        settled,   // a transition ended
        unknown,   // a command for an id the demo does not have
    };

    Kind kind;
    std::string id;
    // The command's action; for `settled`, the direction the transition went.
    quelm::WidgetCommand::Action action;
    // Where the item or group stands after the event.
    DemoPhase phase;

    bool operator==(const DemoEvent&) const = default;
};

// A companion app in miniature: the widget's sample items, its group and its sessions, and what a
// start or stop does to them. Nothing here reads a clock or touches a file: the caller says when
// it is and publishes `snapshot` after each change, so the same steps can be replayed exactly.
class DemoCompanion {
public:
    using Clock = std::chrono::steady_clock;

    // The sample as it stands at `now`: the running items' start times lie as far before `now`
    // as the sample has them. Every start or stop takes `transitionTime`.
    DemoCompanion(quelm::Date now, Clock::duration transitionTime);

    // Carries out one of the widget's commands: the item (or every member of the group) begins
    // its transition, due `transitionTime` after `now`.
    std::vector<DemoEvent> take(const quelm::WidgetCommand&, Clock::time_point now);

    // Ends every transition due by `now`; an item that comes up is dated `wallNow`.
    std::vector<DemoEvent> settle(Clock::time_point now, quelm::Date wallNow);

    // When the next transition ends, if any is under way.
    std::optional<Clock::time_point> nextDue() const;

    // What the app publishes, written at `updatedAt`.
    quelm::WidgetSnapshot snapshot(quelm::Date updatedAt) const;

private:
    struct Service {
        quelm::WidgetItem item;
        std::optional<std::uint16_t> usualPort;
        std::optional<Clock::time_point> due;
    };

    struct Group {
        std::string id;
        std::string name;
        std::vector<std::string> members;
        std::optional<quelm::WidgetItem::Transition> transition;
        // The members whose transitions the group's own waits for.
        std::set<std::string> awaited;
    };

    Service* findService(const std::string& id);
    Group* findGroup(const std::string& id);
    std::int64_t runningCount(const Group&) const;
    // Moves one item towards `action`; nothing when it is there or on its way already.
    std::optional<DemoEvent> move(Service&, quelm::WidgetCommand::Action, Clock::time_point now);
    std::vector<DemoEvent> takeForGroup(Group&, quelm::WidgetCommand::Action, Clock::time_point now);

    std::vector<Service> m_services;
    std::vector<Group> m_groups;
    std::vector<quelm::WidgetSession> m_sessions;
    std::optional<std::string> m_language;
    Clock::duration m_transitionTime;
};

}
