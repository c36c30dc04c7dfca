// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <optional>

#include <signal.h>

namespace quelmctl {

// What a single-threaded loop sleeps on: a bell that any thread may ring (a notification
// observer's delivery thread, say), the termination signals, and a time. The rings are counted
// until the loop takes them, so one that comes while the loop is busy wakes its next wait at
// once, and a burst of them wakes it only once.
class WakeUps {
public:
    using Clock = std::chrono::steady_clock;

    enum class Reason {
        terminated, // SIGINT or SIGTERM
        rung,
        watched, // the descriptor given to `watch` became readable
        due, // the time given to `wait` came
    };

    // `terminationSignals` must already be blocked in every thread (see TerminationSignals), so
    // that only this object ever takes them. Throws std::system_error when the descriptors cannot
    // be made.
    explicit WakeUps(const sigset_t& terminationSignals);
    ~WakeUps();
    WakeUps(const WakeUps&) = delete;
    WakeUps& operator=(const WakeUps&) = delete;

    // Safe from any thread, and from a signal handler.
    void ring() noexcept;

    // Also wakes when `descriptor` is readable (an inotify descriptor, say); the caller reads it.
    void watch(int descriptor) { m_watched = descriptor; }

    // Sleeps until a signal (which wins over a ring), a ring (taking every ring so far), the
    // watched descriptor, or `until`; without `until` only the others end it.
    Reason wait(std::optional<Clock::time_point> until);

private:
    int m_bell = -1;
    int m_signals = -1;
    int m_watched = -1;
};

}
