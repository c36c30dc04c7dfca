// SPDX-License-Identifier: MIT
#include "DemoCommand.h"

#include "Arguments.h"
#include "CommandIntake.h"
#include "DemoCompanion.h"
#include "SessionBus.h"
#include "StoreLocation.h"
#include "TerminationSignals.h"
#include "WakeUps.h"

#include <quelm/NotificationObserver.h>
#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>
#include <quelm/WireFormat.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace quelmctl {

namespace {

using Clock = DemoCompanion::Clock;

constexpr double longestBeatInterval = 86400;
constexpr double longestTransition = 3600;

Clock::duration seconds(double value)
{
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(value));
}

double secondsOption(const Arguments& arguments, std::string_view option, double fallback, bool zeroAllowed, double most)
{
    const std::optional<std::string> text = arguments.value(option);
    if (!text)
        return fallback;
    const double value = parseNumber(option, *text);
    if (value < 0 || (value == 0 && !zeroAllowed) || value > most)
        throw UsageError("option " + std::string(option) + " needs a number of seconds " + (zeroAllowed ? "from 0" : "above 0")
            + " to " + std::to_string(int(most)));
    return value;
}

std::string plural(std::size_t count, const std::string& one, const std::string& many)
{
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

// The app's side of the store, one event per line: stdout for what happens, stderr for what is
// ignored or fails. Every line is flushed, since a script or a test waits for it.
class DemoLoop {
public:
    DemoLoop(const Invocation& invocation, quelm::SharedStore store, Clock::duration beatInterval, Clock::duration transitionTime)
        : m_invocation(invocation)
        , m_store(std::move(store))
        , m_beatInterval(beatInterval)
        , m_companion(quelm::Date::now(), transitionTime)
    {
    }

    // The first snapshot creates the store's directory, so the first beat can land; the widget
    // shows the app running from here on.
    void start()
    {
        const quelm::WidgetSnapshot snapshot = m_companion.snapshot(quelm::Date::now());
        try {
            m_store.writeSnapshot(snapshot);
        } catch (const std::system_error& error) {
            throw CommandFailure(systemRefused, "cannot write the snapshot in " + m_store.root().string() + ": " + error.what());
        }
        say("published the sample to " + m_store.root().string() + ": " + plural(snapshot.items.size(), "item", "items") + ", "
            + plural(snapshot.groups.size(), "group", "groups") + ", " + plural(snapshot.sessions.size(), "session", "sessions"));
        beat();
        if (m_store.appStatus(quelm::Date::now()) != quelm::SharedStore::AppStatus::running)
            throw CommandFailure(systemRefused, "cannot write the heartbeat in " + m_store.root().string());
        m_consumer.emplace(openConsumer(m_store));
    }

    // Everything waiting in the queue; a delivery that comes meanwhile rings again, so nothing
    // enqueued after this drain's listing waits for long.
    void takeCommands()
    {
        const quelm::ClaimBatch batch = m_consumer->claim();
        if (batch.failed())
            complain(describeFailure(batch));
        if (batch.commands.empty())
            return;
        std::vector<DemoEvent> events;
        for (const quelm::ClaimedCommand& claimed : batch.commands) {
            std::vector<DemoEvent> taken = m_companion.take(claimed.command, Clock::now());
            events.insert(events.end(), taken.begin(), taken.end());
        }
        // Published even when nothing moved: a newer snapshot is what ends the widget's pending
        // marks, so an answer is owed for every command.
        publish();
        report(events);
        // Carried out and answered: only now are the commands done with.
        for (const quelm::ClaimedCommand& claimed : batch.commands)
            acknowledge(*m_consumer, claimed);
    }

    void settleDue()
    {
        const std::vector<DemoEvent> events = m_companion.settle(Clock::now(), quelm::Date::now());
        if (events.empty())
            return;
        publish();
        report(events);
    }

    void beatIfDue()
    {
        if (Clock::now() >= m_nextBeat)
            beat();
    }

    Clock::time_point nextWake() const
    {
        const std::optional<Clock::time_point> due = m_companion.nextDue();
        return due ? std::min(*due, m_nextBeat) : m_nextBeat;
    }

    void say(const std::string& line)
    {
        m_invocation.out << "demo: " << line << '\n';
        m_invocation.out.flush();
    }

private:
    void beat()
    {
        m_store.touchHeartbeat(quelm::Date::now());
        m_nextBeat = Clock::now() + m_beatInterval;
        say("heartbeat");
    }

    void publish()
    {
        try {
            m_store.writeSnapshot(m_companion.snapshot(quelm::Date::now()));
        } catch (const std::exception& error) {
            // The next change publishes again; a passing failure must not end the app.
            complain("cannot write the snapshot in " + m_store.root().string() + ": " + error.what());
        }
    }

    void report(const std::vector<DemoEvent>& events)
    {
        for (const DemoEvent& event : events) {
            const std::string action(quelm::rawValue(event.action));
            const std::string phase(describe(event.phase));
            switch (event.kind) {
            case DemoEvent::Kind::accepted:
                say(action + ' ' + event.id + " → " + phase);
                break;
            case DemoEvent::Kind::unchanged:
                say(action + ' ' + event.id + " → already " + phase);
                break;
            case DemoEvent::Kind::settled:
                say(event.id + ' ' + phase);
                break;
            case DemoEvent::Kind::unknown:
                complain(action + ' ' + event.id + ": no such item or group; ignored");
                break;
            }
        }
    }

    void complain(const std::string& line)
    {
        m_invocation.err << "quelmctl demo: " << line << '\n';
        m_invocation.err.flush();
    }

    const Invocation& m_invocation;
    quelm::SharedStore m_store;
    Clock::duration m_beatInterval;
    Clock::time_point m_nextBeat;
    DemoCompanion m_companion;
    std::optional<quelm::CommandConsumer> m_consumer;
};

int runDemo(const Invocation& invocation)
{
    const Arguments arguments(invocation.arguments, { { "--beat-every", true }, { "--transition-seconds", true } }, 0);
    const double beatEvery = secondsOption(arguments, "--beat-every", 30, false, longestBeatInterval);
    const double transition = secondsOption(arguments, "--transition-seconds", 1, true, longestTransition);
    const quelm::SharedStore store = openStore(invocation);

    if (beatEvery >= quelm::SharedConstants::heartbeatTimeout)
        invocation.err << "quelmctl demo: warning: beats " << beatEvery << " s apart let the widget show the app as not running ("
                       << quelm::SharedConstants::heartbeatTimeout << " s timeout)\n";
    if (!sessionBusLikely())
        invocation.err << "quelmctl demo: warning: no session bus found; the widget's commands are taken only at start\n";

    // Before the observer starts its thread, so that the signals reach only `wakeUps`.
    const TerminationSignals signals;
    WakeUps wakeUps(signals.signals());
    DemoLoop loop(invocation, store, seconds(beatEvery), seconds(transition));
    loop.start();

    // Observing starts before the first drain, so no command falls between the two. The handler
    // runs on the observer's thread and only rings: the loop below does all the work.
    const quelm::NotificationObserver observer(std::string(quelm::SharedConstants::commandNotification),
        [&wakeUps] { wakeUps.ring(); });
    loop.takeCommands();
    loop.say("waiting for the widget's commands");

    // No last heartbeat on the way out: the widget sees the app stop once the last beat lapses.
    for (;;) {
        const WakeUps::Reason reason = wakeUps.wait(loop.nextWake());
        if (reason == WakeUps::Reason::terminated)
            return success;
        if (reason == WakeUps::Reason::rung)
            loop.takeCommands();
        loop.settleDue();
        loop.beatIfDue();
    }
}

}

const Command demoCommand {
    .name = "demo",
    .summary = "play a companion app: publish a sample, beat, carry out commands",
    .usage = R"(Usage: quelmctl demo [--beat-every SECONDS] [--transition-seconds SECONDS]
                    [--root DIR]

Plays the companion app, to watch the widget at work without one. Publishes the
widget's sample (five items, the group "Trabalho" of items a, b and c, two
agent sessions) and beats the heartbeat at start and every 30 seconds. Takes the
widget's commands at start and whenever the widget posts the command
notification (on the session bus), and carries each out: the item, or every
member of a group, shows starting or stopping, and a second later running or
stopped; the snapshot is published after each change. Runs until interrupted
(SIGINT or SIGTERM, exit 0), without a last heartbeat, so the widget shows the
app as closed 90 seconds later.

One line per event on standard output, for example:

  demo: start c → starting
  demo: c running

A command for an unknown item is reported on standard error and ignored.

  --beat-every SECONDS          heartbeat interval (default 30)
  --transition-seconds SECONDS  how long a start or stop takes (default 1)
  --root DIR                    use DIR as the store instead of the app group
                                container

Exit status: 0 interrupted, 1 the store cannot be written, 2 bad usage.
)",
    .run = runDemo,
};

}
