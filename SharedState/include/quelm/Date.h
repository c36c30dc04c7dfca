// SPDX-License-Identifier: MIT
#pragma once

#include <compare>

namespace quelm {

// An absolute instant, kept as seconds since 1970-01-01T00:00:00Z (the wire form of every date).
// Never pass a bare double where a Date is meant: `Date(seconds)` and `date.secondsSince1970()`.
class Date {
public:
    constexpr Date() = default;
    constexpr explicit Date(double secondsSince1970)
        : m_seconds(secondsSince1970)
    {
    }

    static Date now();

    // The earliest representable date; any real snapshot or command is newer.
    static constexpr Date distantPast() { return Date(-62135769600.0); }

    constexpr double secondsSince1970() const { return m_seconds; }
    constexpr double secondsSince(Date earlier) const { return m_seconds - earlier.m_seconds; }
    constexpr Date addingSeconds(double seconds) const { return Date(m_seconds + seconds); }

    constexpr bool operator==(const Date&) const = default;
    constexpr auto operator<=>(const Date&) const = default;

private:
    double m_seconds = 0;
};

}
