// SPDX-License-Identifier: MIT
#include "TimeFormat.h"

#include <cmath>
#include <cstdio>
#include <ctime>

namespace quelmctl {

std::string iso8601(quelm::Date date)
{
    const double seconds = date.secondsSince1970();
    if (!std::isfinite(seconds))
        return std::to_string(seconds);
    const double milliseconds = std::round(seconds * 1000);
    const double wholeSeconds = std::floor(milliseconds / 1000);
    const auto time = static_cast<std::time_t>(wholeSeconds);
    const int fraction = static_cast<int>(milliseconds - wholeSeconds * 1000);
    std::tm parts {};
    if (!gmtime_r(&time, &parts))
        return std::to_string(seconds);
    char text[64];
    std::snprintf(text, sizeof text, "%04lld-%02d-%02dT%02d:%02d:%02d.%03dZ", static_cast<long long>(parts.tm_year) + 1900,
        parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec, fraction);
    return text;
}

}
