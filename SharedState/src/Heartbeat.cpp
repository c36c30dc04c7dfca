// SPDX-License-Identifier: MIT
#include "Heartbeat.h"

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <system_error>

#include <locale.h>

namespace quelm::detail {

namespace {

locale_t cLocale()
{
    // Made once, kept for the life of the process; safe against concurrent first use.
    static const locale_t locale = ::newlocale(LC_ALL_MASK, "C", locale_t {});
    return locale;
}

bool isLeadingSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

}

std::string formatHeartbeat(double seconds)
{
    if (std::isnan(seconds))
        return "nan";
    if (std::isinf(seconds))
        return seconds < 0 ? "-inf" : "inf";
    // Wide enough for every finite double in fixed notation (the longest, the smallest subnormal,
    // takes 326 characters).
    char buffer[512];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, seconds, std::chars_format::fixed);
    if (error != std::errc {})
        return {};
    std::string text(buffer, end);
    if (text.find('.') == std::string::npos)
        text += ".0";
    return text;
}

std::optional<double> parseHeartbeat(std::string_view text)
{
    if (text.empty() || isLeadingSpace(text.front()))
        return std::nullopt;
    // The bytes are taken as UTF-8 with each invalid sequence replaced by U+FFFD. Neither that
    // character nor any other beyond ASCII belongs to strtod's syntax in the C locale, so any byte
    // of 0x80 or more fails the parse; so does a NUL, where strtod would stop early.
    for (char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80 || c == '\0')
            return std::nullopt;
    }
    locale_t locale = cLocale();
    if (locale == locale_t {})
        return std::nullopt;
    std::string terminated(text);
    char* end = nullptr;
    double value = ::strtod_l(terminated.c_str(), &end, locale);
    if (end != terminated.c_str() + terminated.size())
        return std::nullopt;
    return value;
}

}
