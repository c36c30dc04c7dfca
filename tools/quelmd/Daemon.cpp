// SPDX-License-Identifier: MIT
#include "Daemon.h"

#include "ListeningPorts.h"
#include "ServiceRules.h"

#include <quelm/SharedConstants.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <csignal>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace quelmd {

namespace detail {

constexpr std::uint64_t microseconds = 1;
constexpr std::uint64_t milliseconds = 1000 * microseconds;
constexpr std::uint64_t seconds = 1000 * milliseconds;

constexpr std::uint64_t beatInterval = 30 * seconds;
// Editors write a file in several steps (truncate, write, rename): read it once they are done.
constexpr std::uint64_t settleDelay = 50 * milliseconds;
// The longest a taken command waits for the manager's news before it is answered anyway.
constexpr std::uint64_t answerDelay = 500 * milliseconds;
// A service listens some time after its unit is active, and its children may listen later still
// (a dev server behind a shell or a package manager): look again, less and less often, even after a
// port was found. Beats look again after that.
constexpr std::array<std::uint64_t, 10> portSearchDelays { 0, 50 * milliseconds, 100 * milliseconds, 200 * milliseconds,
    400 * milliseconds, 800 * milliseconds, 1600 * milliseconds, 3200 * milliseconds, 6400 * milliseconds, 12800 * milliseconds };

void check(int result, const char* what)
{
    if (result < 0)
        throw std::runtime_error(std::string(what) + ": " + std::strerror(-result));
}

std::uint64_t now(sd_event* loop)
{
    std::uint64_t value = 0;
    sd_event_now(loop, CLOCK_MONOTONIC, &value);
    return value;
}

}

Daemon::Daemon(DaemonOptions options, std::ostream& log)
    : m_options(std::move(options))
    , m_log(log)
    , m_inbox(m_options.store)
    , m_cgroupHierarchy(cgroupHierarchy())
{
    sd_event* loop = nullptr;
    detail::check(sd_event_new(&loop), "cannot make the event loop");
    m_loop.reset(loop);

    // Taken as events of the loop, never as asynchronous signals; blocked before any thread
    // starts, so the notification observer's thread inherits the mask.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    sd_event_source* source = nullptr;
    detail::check(sd_event_add_signal(loop, &source, SIGINT, nullptr, nullptr), "cannot take SIGINT");
    m_signalInt.reset(source);
    detail::check(sd_event_add_signal(loop, &source, SIGTERM, nullptr, nullptr), "cannot take SIGTERM");
    m_signalTerm.reset(source);

    m_manager = std::make_unique<SystemdManager>(loop, [this](const std::string& unit, const UnitState& state) { unitChanged(unit, state); });
    m_companion = std::make_unique<Companion>(*m_manager, [this](const std::string& line) { say(line); });
    m_companion->setConfigurationFile(m_options.configuration.string());
    m_companion->setLanguage(widgetLanguage(LocaleEnvironment::fromProcess()));

    m_bell = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (m_bell < 0)
        throw std::runtime_error(std::string("cannot make an eventfd: ") + std::strerror(errno));
    detail::check(sd_event_add_io(loop, &source, m_bell, EPOLLIN, onCommandBell, this), "cannot watch the eventfd");
    m_bellSource.reset(source);

    std::error_code error;
    std::filesystem::create_directories(m_options.configuration.parent_path(), error);
    if (sd_event_add_inotify(loop, &source, m_options.configuration.parent_path().c_str(),
            IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE | IN_DELETE | IN_ONLYDIR, onConfigurationChange, this)
        >= 0)
        m_configurationWatch.reset(source);
    else
        say("cannot watch " + m_options.configuration.parent_path().string() + "; changes to the configuration need a restart");

    const std::filesystem::path sessions = sessionsFolderIn(m_options.runtimeFolder);
    std::filesystem::create_directories(sessions, error);
    if (sd_event_add_inotify(loop, &source, sessions.c_str(), IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ONLYDIR,
            onSessionsChange, this)
        >= 0)
        m_sessionsWatch.reset(source);
    else
        say("cannot watch " + sessions.string() + "; sessions are read every 30 s");

    detail::check(sd_event_add_defer(loop, &source, onPublishDue, this), "cannot schedule publishing");
    m_publishSource.reset(source);
    sd_event_source_set_priority(source, SD_EVENT_PRIORITY_IDLE);
    sd_event_source_set_enabled(source, SD_EVENT_OFF);
}

Daemon::~Daemon()
{
    m_observer.reset();
    m_portSearches.clear();
    m_companion.reset();
    m_manager.reset();
    if (m_bell >= 0)
        ::close(m_bell);
}

void Daemon::say(const std::string& line)
{
    m_log << "quelmd: " << line << '\n';
    m_log.flush();
}

int Daemon::run()
{
    loadConfiguration();
    readSessions();
    say("following " + std::to_string(m_companion->configuration().services.size()) + " services of "
        + m_options.configuration.string() + "; publishing to " + m_options.store.root().string());
    publish();
    beat();

    // Observing starts before the first take, so no command falls between the two; the handler
    // runs on the observer's own thread and only rings the loop.
    const int bell = m_bell;
    m_observer = std::make_unique<quelm::NotificationObserver>(std::string(quelm::SharedConstants::commandNotification), [bell] {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(bell, &one, sizeof one);
    });
    takeCommands();

    const int result = sd_event_loop(m_loop.get());
    if (result < 0) {
        say(std::string("the event loop failed: ") + std::strerror(-result));
        return 1;
    }
    // No last heartbeat: the widget shows the app closed once the last beat lapses. The units
    // keep running; the next quelmd shows them again.
    return 0;
}

void Daemon::loadConfiguration()
{
    try {
        ServiceConfiguration configuration = loadServiceConfiguration(m_options.configuration, m_options.home);
        m_companion->configure(std::move(configuration));
        m_companion->setConfigurationError(std::nullopt);
        if (m_published)
            say("read " + m_options.configuration.string() + ": " + std::to_string(m_companion->configuration().services.size())
                + " services, " + std::to_string(m_companion->configuration().groups.size()) + " groups");
    } catch (const ConfigurationError& error) {
        say(std::string(error.what()) + " (keeping the last good configuration)");
        m_companion->setConfigurationError(error.what());
    } catch (const std::exception& error) {
        say(std::string("cannot follow the configured units: ") + error.what());
        m_companion->setConfigurationError(error.what());
    }
    searchPorts();
    schedulePublish(false);
}

void Daemon::readSessions()
{
    const std::filesystem::path folder = sessionsFolderIn(m_options.runtimeFolder);
    const quelm::Date now = quelm::Date::now();
    std::vector<SessionReport> kept;
    std::optional<double> nextExpiry;
    for (SessionReport& report : readSessionReports(folder)) {
        const double expiry = report.updatedAt.secondsSince1970() + sessionSilenceLimit;
        if (expiry <= now.secondsSince1970()) {
            removeSessionReport(folder, report.session.id);
            continue;
        }
        nextExpiry = nextExpiry ? std::min(*nextExpiry, expiry) : expiry;
        kept.push_back(std::move(report));
    }
    m_companion->setSessions(std::move(kept));
    if (nextExpiry)
        scheduleOnce(m_sessionsTimer,
            static_cast<std::uint64_t>((*nextExpiry - now.secondsSince1970()) * static_cast<double>(detail::seconds)) + detail::seconds,
            onSessionsDue);
    schedulePublish(false);
}

void Daemon::takeCommands()
{
    std::string problem;
    const std::vector<quelm::ClaimedCommand> commands = m_inbox.take(&problem);
    // Said once per new trouble: a queue that stays unreadable would otherwise fill the journal.
    if (problem != m_inboxProblem && !problem.empty())
        say(problem);
    m_inboxProblem = problem;
    if (commands.empty())
        return;
    bool newsFollows = true;
    for (const quelm::ClaimedCommand& claimed : commands) {
        newsFollows = m_companion->carryOut(claimed.command) && newsFollows;
        if (!m_inbox.done(claimed, &problem))
            say(problem);
    }
    // A newer snapshot is what ends the widget's pending marks: an answer is owed for every
    // batch, even when nothing moved. A refusal or a command with nothing to do is answered at
    // once; otherwise the manager's news of the units answers, with the snapshot that shows them
    // running or stopped, and a timer makes sure the answer comes even if the news does not.
    m_answerOwed = true;
    if (!newsFollows)
        schedulePublish(true);
    else
        scheduleOnce(m_answerTimer, detail::answerDelay, onAnswerDue);
}

void Daemon::beat()
{
    m_options.store.touchHeartbeat(quelm::Date::now());
    scheduleOnce(m_beatTimer, detail::beatInterval, onBeatDue);
}

void Daemon::schedulePublish(bool answer)
{
    m_answerOwed = m_answerOwed || answer;
    sd_event_source_set_enabled(m_publishSource.get(), SD_EVENT_ONESHOT);
}

void Daemon::publish()
{
    const quelm::Date now = quelm::Date::now();
    const quelm::WidgetSnapshot snapshot = m_companion->snapshot(now);
    if (!m_published || m_answerOwed || !snapshot.hasSameContent(*m_published)) {
        try {
            m_options.store.writeSnapshot(snapshot);
            m_published = snapshot;
            m_answerOwed = false;
        } catch (const std::exception& error) {
            say("cannot write the snapshot in " + m_options.store.root().string() + ": " + error.what());
        }
    }
    StatusReport status = m_companion->status(now);
    status.container = m_options.store.root().string();
    if (m_reported) {
        StatusReport previous = *m_reported;
        previous.updatedAt = status.updatedAt;
        if (previous == status)
            return;
    }
    try {
        writeStatusReport(m_options.runtimeFolder, status);
        m_reported = std::move(status);
    } catch (const std::exception& error) {
        say(std::string("cannot write the status: ") + error.what());
    }
}

void Daemon::unitChanged(const std::string& unit, const UnitState& state)
{
    m_companion->unitChanged(unit, state);
    // Its processes may have changed: look for the port again.
    if (const ServiceDefinition* service = m_companion->serviceOfUnit(unit))
        m_portSearches.erase(service->id);
    searchPorts();
    schedulePublish(false);
}

void Daemon::searchPorts()
{
    if (!m_cgroupHierarchy)
        return;
    const std::map<std::string, std::string> candidates = m_companion->portCandidates();
    std::erase_if(m_portSearches, [&](const auto& entry) { return !candidates.contains(entry.first); });
    for (const auto& [serviceId, controlGroup] : candidates)
        if (!m_portSearches.contains(serviceId)) {
            auto search = std::make_unique<PortSearch>(PortSearch { this, serviceId, 0, nullptr });
            // Reading /proc takes milliseconds: the first look comes after the snapshot that
            // shows the unit running, not before it.
            sd_event_source* source = nullptr;
            if (sd_event_add_time_relative(m_loop.get(), &source, CLOCK_MONOTONIC, 0, 0, onPortDue, search.get()) >= 0) {
                search->timer.reset(source);
                sd_event_source_set_priority(source, SD_EVENT_PRIORITY_IDLE + 1);
            }
            m_portSearches.emplace(serviceId, std::move(search));
        }
}

void Daemon::lookForPort(PortSearch& search)
{
    const std::map<std::string, std::string> candidates = m_companion->portCandidates();
    const auto candidate = candidates.find(search.serviceId);
    if (candidate == candidates.end())
        return;
    const std::optional<std::uint16_t> port = lowestListeningPort(*m_cgroupHierarchy, candidate->second);
    if (m_companion->setDetectedPort(search.serviceId, port))
        schedulePublish(false);
    if (++search.attempt >= detail::portSearchDelays.size())
        return;
    sd_event_source* source = nullptr;
    if (sd_event_add_time_relative(m_loop.get(), &source, CLOCK_MONOTONIC, detail::portSearchDelays[search.attempt], 0, onPortDue, &search)
        >= 0) {
        search.timer.reset(source);
        sd_event_source_set_priority(source, SD_EVENT_PRIORITY_IDLE + 1);
    }
}

void Daemon::scheduleOnce(EventSource& source, std::uint64_t delay, sd_event_time_handler_t handler)
{
    if (source) {
        sd_event_source_set_time(source.get(), detail::now(m_loop.get()) + delay);
        sd_event_source_set_enabled(source.get(), SD_EVENT_ONESHOT);
        return;
    }
    sd_event_source* made = nullptr;
    if (sd_event_add_time_relative(m_loop.get(), &made, CLOCK_MONOTONIC, delay, 0, handler, this) >= 0) {
        source.reset(made);
        sd_event_source_set_enabled(made, SD_EVENT_ONESHOT);
    }
}

int Daemon::onCommandBell(sd_event_source*, int fd, std::uint32_t, void* userdata)
{
    std::uint64_t rings = 0;
    [[maybe_unused]] const ssize_t read = ::read(fd, &rings, sizeof rings);
    static_cast<Daemon*>(userdata)->takeCommands();
    return 0;
}

int Daemon::onConfigurationChange(sd_event_source*, const struct inotify_event* event, void* userdata)
{
    Daemon* daemon = static_cast<Daemon*>(userdata);
    if (event->len > 0 && daemon->m_options.configuration.filename() == event->name)
        daemon->scheduleOnce(daemon->m_reloadTimer, detail::settleDelay, onReloadDue);
    return 0;
}

int Daemon::onSessionsChange(sd_event_source*, const struct inotify_event*, void* userdata)
{
    Daemon* daemon = static_cast<Daemon*>(userdata);
    daemon->scheduleOnce(daemon->m_sessionsTimer, 5 * detail::milliseconds, onSessionsDue);
    return 0;
}

int Daemon::onReloadDue(sd_event_source*, std::uint64_t, void* userdata)
{
    static_cast<Daemon*>(userdata)->loadConfiguration();
    return 0;
}

int Daemon::onSessionsDue(sd_event_source*, std::uint64_t, void* userdata)
{
    static_cast<Daemon*>(userdata)->readSessions();
    return 0;
}

int Daemon::onBeatDue(sd_event_source*, std::uint64_t, void* userdata)
{
    Daemon* daemon = static_cast<Daemon*>(userdata);
    daemon->beat();
    // Services listen, stop listening and move to other ports long after they started: no event
    // tells of a new listening socket, so each beat looks.
    if (daemon->m_cgroupHierarchy)
        for (const auto& [serviceId, controlGroup] : daemon->m_companion->portCandidates())
            if (daemon->m_companion->setDetectedPort(serviceId, lowestListeningPort(*daemon->m_cgroupHierarchy, controlGroup)))
                daemon->schedulePublish(false);
    if (!daemon->m_sessionsWatch)
        daemon->readSessions();
    return 0;
}

int Daemon::onAnswerDue(sd_event_source*, std::uint64_t, void* userdata)
{
    Daemon* daemon = static_cast<Daemon*>(userdata);
    if (daemon->m_answerOwed)
        daemon->schedulePublish(true);
    return 0;
}

int Daemon::onPublishDue(sd_event_source*, void* userdata)
{
    static_cast<Daemon*>(userdata)->publish();
    return 0;
}

int Daemon::onPortDue(sd_event_source*, std::uint64_t, void* userdata)
{
    PortSearch* search = static_cast<PortSearch*>(userdata);
    search->timer.reset();
    search->daemon->lookForPort(*search);
    return 0;
}

}
