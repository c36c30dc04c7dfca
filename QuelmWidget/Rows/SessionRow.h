// SPDX-License-Identifier: MIT
#pragma once

#include "Look/Color.h"
#include "Look/GlyphLook.h"
#include "Text/LocalizedText.h"

#include <quelm/WidgetSession.h>

#include <optional>
#include <string>
#include <string_view>

namespace quelm {

// A coding-agent session: the whole row is a link; inside, the session
// glyph, the first line over the second line, and a spacer. No button.
class SessionRow {
public:
    // A warm coral: sRGB 0.93, 0.58, 0.47, opacity 1.
    static constexpr Color tint = Color::rgb(0.93, 0.58, 0.47);
    static constexpr double firstLineFontSize = 11.5; // medium weight, one line
    static constexpr double secondLineFontSize = 9.5; // in the status colour

    // The look of one session state: status text, its colour, and the glyph.
    struct Style {
        std::string_view status;
        Color statusColor;
        GlyphLook glyph;
        bool operator==(const Style&) const = default;
    };

    // The second line: `prefix` (empty when compact, else the project and " · ") followed by the
    // localised status.
    struct SecondLine {
        std::string prefix;
        LocalizedText status;
        std::string shown(const LocalizedText::Translate& translate) const { return prefix + status.localized(translate); }
        bool operator==(const SecondLine&) const = default;
    };

    // The link goes to the session's own address (`session.url()`).
    SessionRow(WidgetSession session, bool compact);
    // The link goes to `url`, or to "quelm://open" when there is none.
    SessionRow(WidgetSession session, bool compact, std::optional<std::string> url);

    const WidgetSession& session() const { return m_session; }
    bool compact() const { return m_compact; }
    const std::optional<std::string>& url() const { return m_url; }

    //   working          "trabalhando"          secondary  "sparkle"                       tint, 1     tint at 0.5
    //   needsApproval    "precisa de aprovação" orange     "exclamationmark.bubble.fill"   orange, 1   none
    //   waitingForInput  "aguardando você"      secondary  "sparkle"                       secondary, 0.6  none
    static Style style(WidgetSession::State);

    LocalizedText status() const { return { std::string(style(m_session.state).status) }; }
    Color statusColor() const { return style(m_session.state).statusColor; }
    GlyphLook glyph() const { return style(m_session.state).glyph; }
    // The link's destination: the session's address, else (none or empty) "quelm://open".
    std::string destination() const;
    // The project when compact, else the title (as they stand, not localised).
    const std::string& firstLine() const { return m_compact ? m_session.project : m_session.title; }
    // The status alone when compact, else the project + " · " + the status.
    SecondLine secondLine() const;

    bool operator==(const SessionRow&) const = default;

private:
    WidgetSession m_session;
    bool m_compact = false;
    std::optional<std::string> m_url;
};

}
