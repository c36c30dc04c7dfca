// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string_view>

namespace quelm::detail {

// How ICU's root collation orders two ASCII texts at secondary strength with numeric ordering
// on, worked out without ICU: spaces, then punctuation and symbols, then numbers by value, then
// letters without regard to case; control characters other than white space count for nothing.
// Empty when either text holds a byte outside ASCII or a number too long to be read as one, for
// ICU to decide.
std::optional<int> asciiCollation(std::string_view a, std::string_view b);

}
