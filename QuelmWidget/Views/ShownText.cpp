// SPDX-License-Identifier: MIT
#include "Views/ShownText.h"

#include <algorithm>
#include <string_view>

namespace quelm::views {

namespace detail {

// The length of the UTF-8 sequence that starts with `lead`; 1 for a byte that starts none.
std::size_t sequenceLength(unsigned char lead)
{
    if (lead >= 0xF0 && lead < 0xF8)
        return 4;
    if (lead >= 0xE0)
        return lead < 0xF0 ? 3 : 1;
    if (lead >= 0xC0)
        return 2;
    return 1;
}

// The length of the line break at the start of `rest`; 0 when there is none.
std::size_t lineBreakLength(std::string_view rest)
{
    switch (rest.front()) {
    case '\r':
        return rest.size() > 1 && rest[1] == '\n' ? 2 : 1;
    case '\n':
    case '\v':
    case '\f':
        return 1;
    default:
        break;
    }
    if (rest.starts_with("\xC2\x85") || rest.starts_with("\xE2\x80\xA8") || rest.starts_with("\xE2\x80\xA9"))
        return rest.front() == '\xC2' ? 2 : 3;
    return 0;
}

}

std::string shownText(std::string text)
{
    const auto needsWork = [&] {
        if (text.size() > longestShownText)
            return true;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (detail::lineBreakLength(std::string_view(text).substr(i)) > 0)
                return true;
        }
        return false;
    };
    if (!needsWork())
        return text;

    std::string shown;
    shown.reserve(std::min(text.size(), longestShownText * 4 + 3));
    const std::string_view all(text);
    std::size_t characters = 0;
    std::size_t i = 0;
    while (i < all.size()) {
        if (characters == longestShownText) {
            shown += "…";
            return shown;
        }
        if (const std::size_t breakLength = detail::lineBreakLength(all.substr(i))) {
            shown += ' ';
            i += breakLength;
        } else {
            const std::size_t length = std::min(detail::sequenceLength(static_cast<unsigned char>(all[i])), all.size() - i);
            shown.append(all.substr(i, length));
            i += length;
        }
        ++characters;
    }
    return shown;
}

}
