// SPDX-License-Identifier: MIT
#include "Rows/SessionRow.h"

#include "Widget/AppAddress.h"

namespace quelm {

SessionRow::SessionRow(WidgetSession session, bool compact)
    : m_session(std::move(session))
    , m_compact(compact)
    , m_url(m_session.url())
{
}

SessionRow::SessionRow(WidgetSession session, bool compact, std::optional<std::string> url)
    : m_session(std::move(session))
    , m_compact(compact)
    , m_url(std::move(url))
{
}

SessionRow::Style SessionRow::style(WidgetSession::State state)
{
    const Color secondary = Color::of(Color::Named::secondary);
    const Color orange = Color::of(Color::Named::orange);
    switch (state) {
    case WidgetSession::State::needsApproval:
        return { "precisa de aprovação", orange, { "exclamationmark.bubble.fill", orange, 1.0, std::nullopt, GlyphLook::rowFontSize } };
    case WidgetSession::State::waitingForInput:
        return { "aguardando você", secondary, { "sparkle", secondary, 0.6, std::nullopt, GlyphLook::rowFontSize } };
    case WidgetSession::State::working:
        break;
    }
    return { "trabalhando", secondary, { "sparkle", tint, 1.0, tint.withAlpha(0.5), GlyphLook::rowFontSize } };
}

std::string SessionRow::destination() const
{
    // An empty address is no address.
    return m_url && !m_url->empty() ? *m_url : std::string(openAppAddress);
}

SessionRow::SecondLine SessionRow::secondLine() const
{
    if (m_compact)
        return { {}, status() };
    return { m_session.project + " · ", status() };
}

}
