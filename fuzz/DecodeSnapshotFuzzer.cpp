// SPDX-License-Identifier: MIT
#include "FuzzSupport.h"

// The snapshot and, on the same input, each record it is made of: a record can be decoded alone.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto document = quelm::fuzz::text(data, size);
    quelm::fuzz::checkRoundTrip<quelm::WidgetSnapshot>(document);
    quelm::fuzz::checkRoundTrip<quelm::WidgetItem>(document);
    quelm::fuzz::checkRoundTrip<quelm::WidgetGroup>(document);
    quelm::fuzz::checkRoundTrip<quelm::WidgetSession>(document);
    return 0;
}
