// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/Date.h>

#include <string>
#include <string_view>

namespace quelm {

// The live "time since" of a running item's detail line: the time elapsed since the start, in the locale's abbreviated units
// as ICU writes them, updated every second under one minute and every minute after that.
//   under 1 minute: seconds                 "42 sec"
//   under 1 hour:   minutes                 "5 min"
//   under 1 day:    hours and minutes       "2 hr, 5 min" ("2 hr" on the hour)
//   from 1 day:     days and hours          "3 days, 4 hr" ("3 days" on the day)
// A start in the future counts as no time elapsed.
struct RelativeTime {
    // `locale`: an ICU or POSIX locale identifier ("pt_BR", "pt-BR", "en_US.UTF-8"); one that ICU
    // does not know falls back to ICU's default.
    static std::string text(Date since, Date now, std::string_view locale);
    // The first instant after `now` at which `text` changes.
    static Date nextChange(Date since, Date now);
};

}
