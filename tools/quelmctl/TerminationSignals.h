// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include <signal.h>

namespace quelmctl {

// SIGINT and SIGTERM taken out of asynchronous delivery, to be waited for instead: construct it
// before starting any thread, so that every thread inherits the blocked mask and only `wait`
// ever sees the signals. The mask is restored on destruction.
class TerminationSignals {
public:
    TerminationSignals();
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

    // Waits until one of the signals arrives (true) or `seconds` have passed (false); no timeout
    // waits for ever.
    bool wait(std::optional<double> seconds = std::nullopt) const;

    // The signal mask that a spawned child should start with: the one before construction.
    const sigset_t& previousMask() const { return m_previous; }

    // SIGINT and SIGTERM, for a loop that takes them through a descriptor instead of `wait`.
    const sigset_t& signals() const { return m_signals; }

private:
    sigset_t m_signals;
    sigset_t m_previous;
};

}
