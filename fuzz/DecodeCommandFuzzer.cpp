// SPDX-License-Identifier: MIT
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    quelm::fuzz::checkRoundTrip<quelm::WidgetCommand>(quelm::fuzz::text(data, size));
    return 0;
}
