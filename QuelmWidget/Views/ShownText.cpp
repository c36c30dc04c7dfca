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

namespace detail {

// Longer than any text can show, so the cut never shows, yet short to copy.
constexpr std::size_t longestKeptBytes = longestShownText * 4 + 16;

bool tooLong(const std::string& text)
{
    return text.size() > longestKeptBytes;
}

// The start of `text`, whole characters only.
std::string head(const std::string& text)
{
    if (!tooLong(text))
        return text;
    std::size_t end = longestKeptBytes;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end;
    return text.substr(0, end);
}

}

std::optional<TimelineEntry> withShortTexts(const TimelineEntry& entry)
{
    const WidgetSnapshot& snapshot = entry.snapshot;
    const bool anyTooLong = std::any_of(snapshot.items.begin(), snapshot.items.end(), [](const WidgetItem& item) { return detail::tooLong(item.title) || detail::tooLong(item.category); })
        || std::any_of(snapshot.groups.begin(), snapshot.groups.end(), [](const WidgetGroup& group) { return detail::tooLong(group.name); })
        || std::any_of(snapshot.sessions.begin(), snapshot.sessions.end(), [](const WidgetSession& session) { return detail::tooLong(session.title) || detail::tooLong(session.project); });
    if (!anyTooLong)
        return std::nullopt;

    // Built field by field: a copy of the whole entry is what this avoids.
    TimelineEntry shown;
    shown.date = entry.date;
    shown.pending = entry.pending;
    shown.appStatus = entry.appStatus;
    shown.sortOrder = entry.sortOrder;
    shown.snapshot.language = snapshot.language;
    shown.snapshot.updatedAt = snapshot.updatedAt;
    shown.snapshot.items.reserve(snapshot.items.size());
    for (const WidgetItem& item : snapshot.items) {
        WidgetItem cut { item.id, detail::head(item.title), detail::head(item.category), item.isRunning, item.transition, item.port, item.startedAt };
        shown.snapshot.items.push_back(std::move(cut));
    }
    shown.snapshot.groups.reserve(snapshot.groups.size());
    for (const WidgetGroup& group : snapshot.groups) {
        WidgetGroup cut = group;
        cut.name = detail::head(group.name);
        shown.snapshot.groups.push_back(std::move(cut));
    }
    shown.snapshot.sessions.reserve(snapshot.sessions.size());
    for (const WidgetSession& session : snapshot.sessions)
        shown.snapshot.sessions.push_back({ session.id, detail::head(session.title), detail::head(session.project), session.state });
    return shown;
}

}
