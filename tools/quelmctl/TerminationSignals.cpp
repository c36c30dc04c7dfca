// SPDX-License-Identifier: MIT
#include "TerminationSignals.h"

#include <cerrno>
#include <cmath>
#include <ctime>

#include <pthread.h>
#include <unistd.h>

namespace quelmctl {

TerminationSignals::TerminationSignals()
{
    sigemptyset(&m_signals);
    sigaddset(&m_signals, SIGINT);
    sigaddset(&m_signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &m_signals, &m_previous);
}

TerminationSignals::~TerminationSignals()
{
    pthread_sigmask(SIG_SETMASK, &m_previous, nullptr);
}

bool TerminationSignals::wait(std::optional<double> seconds) const
{
    if (!seconds) {
        int signal = 0;
        while (sigwait(&m_signals, &signal) != 0) { }
        return true;
    }

    timespec deadline {};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    const double whole = std::floor(*seconds);
    deadline.tv_sec += static_cast<time_t>(whole);
    deadline.tv_nsec += static_cast<long>((*seconds - whole) * 1e9);
    if (deadline.tv_nsec >= 1'000'000'000) {
        deadline.tv_sec += 1;
        deadline.tv_nsec -= 1'000'000'000;
    }
    while (true) {
        timespec now {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        timespec left { deadline.tv_sec - now.tv_sec, deadline.tv_nsec - now.tv_nsec };
        if (left.tv_nsec < 0) {
            left.tv_sec -= 1;
            left.tv_nsec += 1'000'000'000;
        }
        if (left.tv_sec < 0)
            return false;
        if (sigtimedwait(&m_signals, nullptr, &left) >= 0)
            return true;
        if (errno == EAGAIN)
            return false;
        // EINTR: interrupted by another signal; wait for the rest of the time.
    }
}

}
