// SPDX-License-Identifier: MIT
#include "FuzzSupport.h"

#include "Heartbeat.h"

#include <cmath>
#include <cstring>

namespace {

bool sameValue(double a, double b)
{
    if (std::isnan(a) || std::isnan(b))
        return std::isnan(a) && std::isnan(b);
    return a == b && std::signbit(a) == std::signbit(b);
}

// The app writes what formatHeartbeat makes; the widget must read exactly that value back.
void checkBeatReadsBack(double seconds)
{
    const auto text = quelm::detail::formatHeartbeat(seconds);
    if (std::isfinite(seconds) && (text.find('.') == std::string::npos || text.find_first_of("eE") != std::string::npos))
        quelm::fuzz::fail("a finite beat is not written in fixed notation with a point");
    const auto read = quelm::detail::parseHeartbeat(text);
    if (!read)
        quelm::fuzz::fail("a written beat does not parse");
    if (!sameValue(*read, seconds))
        quelm::fuzz::fail("a written beat parses to another value");
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto text = quelm::fuzz::text(data, size);
    if (const auto parsed = quelm::detail::parseHeartbeat(text))
        checkBeatReadsBack(*parsed);
    if (size >= sizeof(double)) {
        double seconds;
        std::memcpy(&seconds, data, sizeof seconds);
        checkBeatReadsBack(seconds);
    }
    return 0;
}
