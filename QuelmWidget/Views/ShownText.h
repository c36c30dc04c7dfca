// SPDX-License-Identifier: MIT
#pragma once

#include "Timeline/TimelineEntry.h"

#include <cstddef>
#include <optional>
#include <string>

namespace quelm::views {

// What a text node keeps of a text it is given: every line break (LF, CR, CR LF, VT, FF, NEL,
// U+2028, U+2029) becomes one space, so that "a\nb" reads "a b", and the text is cut after
// `longestShownText` characters, ending in "…", before anything shapes it. No row is wide enough
// to show that many characters (the widest holds about 300 of the narrowest), so the cut never shows; it keeps a title of megabytes from
// costing the layout seconds. Invalid UTF-8 passes through unchanged, byte for byte.
inline constexpr std::size_t longestShownText = 512;

std::string shownText(std::string text);

// `entry` with every title, name, project and category no longer than a row can show (whole
// characters, at most `longestShownText` of them and a little more), so that laying out a
// snapshot of megabyte titles copies and sorts kilobytes. None when every text is short already,
// the common case: then `entry` itself is shown. Ids stay whole: commands and links use them.
std::optional<TimelineEntry> withShortTexts(const TimelineEntry& entry);

}
