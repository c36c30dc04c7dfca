// SPDX-License-Identifier: MIT
#include "WakeUps.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <system_error>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace quelmctl {

namespace {

// Milliseconds for poll, rounded up so that the wait never ends just before `until`.
int pollTimeout(std::optional<WakeUps::Clock::time_point> until)
{
    if (!until)
        return -1;
    const auto left = *until - WakeUps::Clock::now();
    if (left <= WakeUps::Clock::duration::zero())
        return 0;
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    return milliseconds > INT_MAX ? INT_MAX : int(milliseconds);
}

void readAll(int descriptor, void* buffer, std::size_t size)
{
    while (::read(descriptor, buffer, size) < 0 && errno == EINTR) { }
}

}

WakeUps::WakeUps(const sigset_t& terminationSignals)
{
    m_bell = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (m_bell < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
    m_signals = ::signalfd(-1, &terminationSignals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (m_signals < 0) {
        const int error = errno;
        ::close(m_bell);
        throw std::system_error(error, std::generic_category(), "signalfd");
    }
}

WakeUps::~WakeUps()
{
    ::close(m_signals);
    ::close(m_bell);
}

void WakeUps::ring() noexcept
{
    const std::uint64_t one = 1;
    // Only a counter at its limit refuses, and then the loop is woken anyway.
    while (::write(m_bell, &one, sizeof one) < 0 && errno == EINTR) { }
}

WakeUps::Reason WakeUps::wait(std::optional<Clock::time_point> until)
{
    for (;;) {
        pollfd descriptors[3] = { { m_signals, POLLIN, 0 }, { m_bell, POLLIN, 0 }, { m_watched, POLLIN, 0 } };
        const int ready = ::poll(descriptors, 3, pollTimeout(until));
        if (ready < 0) {
            if (errno == EINTR)
                continue;
            throw std::system_error(errno, std::generic_category(), "poll");
        }
        if (descriptors[0].revents & POLLIN) {
            signalfd_siginfo signal {};
            readAll(m_signals, &signal, sizeof signal);
            return Reason::terminated;
        }
        if (descriptors[1].revents & POLLIN) {
            std::uint64_t rings = 0;
            readAll(m_bell, &rings, sizeof rings);
            return Reason::rung;
        }
        if (descriptors[2].revents & POLLIN)
            return Reason::watched;
        if (until && Clock::now() >= *until)
            return Reason::due;
    }
}

}
