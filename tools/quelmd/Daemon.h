// SPDX-License-Identifier: MIT
#pragma once

#include "CommandInbox.h"
#include "Companion.h"
#include "EventSource.h"
#include "SystemdManager.h"

#include <quelm/NotificationObserver.h>
#include <quelm/SharedStore.h>

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

namespace quelmd {

struct DaemonOptions {
    quelm::SharedStore store;
    std::filesystem::path configuration;
    std::filesystem::path runtimeFolder; // status.json and sessions/
    std::filesystem::path home;
};

// quelmd at work: the app of the widget's container on one side, the user's systemd on the other,
// on one sd-event loop. Publishes at start, after every change of a unit, session or the
// configuration, and after every batch of commands; beats every 30 s. Runs until SIGINT or
// SIGTERM. `Daemon(options, std::cerr).run()`.
class Daemon {
public:
    // Throws std::runtime_error when the loop cannot be made or there is no user systemd.
    Daemon(DaemonOptions, std::ostream& log);
    ~Daemon();
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    // Returns the exit status.
    int run();

private:
    struct PortSearch {
        Daemon* daemon;
        std::string serviceId;
        std::size_t attempt = 0;
        EventSource timer;
    };

    void say(const std::string& line);
    void loadConfiguration();
    void readSessions();
    void takeCommands();
    void beat();
    void schedulePublish(bool answer);
    void publish();
    void unitChanged(const std::string& unit, const UnitState&);
    void searchPorts();
    void lookForPort(PortSearch&);
    void scheduleOnce(EventSource& source, std::uint64_t microseconds, sd_event_time_handler_t handler);

    static int onCommandBell(sd_event_source*, int fd, std::uint32_t, void* userdata);
    static int onConfigurationChange(sd_event_source*, const struct inotify_event*, void* userdata);
    static int onSessionsChange(sd_event_source*, const struct inotify_event*, void* userdata);
    static int onReloadDue(sd_event_source*, std::uint64_t, void* userdata);
    static int onSessionsDue(sd_event_source*, std::uint64_t, void* userdata);
    static int onBeatDue(sd_event_source*, std::uint64_t, void* userdata);
    static int onPublishDue(sd_event_source*, void* userdata);
    static int onAnswerDue(sd_event_source*, std::uint64_t, void* userdata);
    static int onPortDue(sd_event_source*, std::uint64_t, void* userdata);

    DaemonOptions m_options;
    std::ostream& m_log;
    EventLoop m_loop;
    std::unique_ptr<SystemdManager> m_manager;
    std::unique_ptr<Companion> m_companion;
    CommandInbox m_inbox;
    std::string m_inboxProblem; // the last trouble taking commands, said once
    std::optional<std::filesystem::path> m_cgroupHierarchy;

    int m_bell = -1; // eventfd the notification observer rings
    EventSource m_bellSource;
    EventSource m_signalInt;
    EventSource m_signalTerm;
    EventSource m_configurationWatch;
    EventSource m_sessionsWatch;
    EventSource m_reloadTimer;
    EventSource m_sessionsTimer;
    EventSource m_beatTimer;
    EventSource m_publishSource;
    EventSource m_answerTimer;
    std::map<std::string, std::unique_ptr<PortSearch>> m_portSearches;

    bool m_answerOwed = false;
    std::optional<quelm::WidgetSnapshot> m_published;
    std::optional<StatusReport> m_reported;
    std::unique_ptr<quelm::NotificationObserver> m_observer;
};

}
