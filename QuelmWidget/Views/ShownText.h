// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>

namespace quelm::views {

// What a text node keeps of a text it is given: every line break (LF, CR, CR LF, VT, FF, NEL,
// U+2028, U+2029) becomes one space, so that "a\nb" reads "a b", and the text is cut after
// `longestShownText` characters, ending in "…", before anything shapes it. No row is wide enough
// to show that many characters, so the cut never shows; it keeps a title of megabytes from
// costing the layout seconds. Invalid UTF-8 passes through unchanged, byte for byte.
inline constexpr std::size_t longestShownText = 1024;

std::string shownText(std::string text);

}
