// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string_view>

namespace quelm::detail {

// How ICU's root collation orders two UTF-8 texts at secondary strength with numeric ordering on,
// worked out without ICU for texts in ASCII and the accented letters of Latin-1 ("café",
// "Produção"): spaces, then punctuation and symbols, then numbers by value, then letters without
// regard to case; accents decide only between texts otherwise alike. Control characters other
// than white space count for nothing.
// Empty when either text holds another character or a number too long to be read as one, for
// ICU to decide.
std::optional<int> latinCollation(std::string_view a, std::string_view b);

}
