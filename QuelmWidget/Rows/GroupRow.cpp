// SPDX-License-Identifier: MIT
#include "Rows/GroupRow.h"

namespace quelm {

namespace {
bool looksAlive(const GroupRow& row)
{
    return row.group.runningCount >= 1 || row.isStarting();
}
}

bool GroupRow::isStarting() const
{
    if (group.transition)
        return *group.transition == WidgetItem::Transition::starting;
    return pending == WidgetCommand::Action::start;
}

LocalizedText GroupRow::detail() const
{
    using Transition = WidgetItem::Transition;
    using Action = WidgetCommand::Action;
    if (group.transition)
        return { *group.transition == Transition::starting ? "Iniciando…" : "Parando…" };
    if (pending)
        return { *pending == Action::start ? "Iniciando…" : "Parando…" };
    if (group.runningCount == 0)
        return { "Grupo · %lld itens", { group.memberCount } };
    if (group.runningCount == group.memberCount)
        return { "Grupo · tudo rodando" };
    return { "Grupo · %lld de %lld", { group.runningCount, group.memberCount } };
}

GlyphLook GroupRow::glyph() const
{
    if (looksAlive(*this)) {
        const Color accent = Color::of(Color::Named::accent);
        return { glyphSymbol, accent, 1.0, accent.withAlpha(0.5), GlyphLook::rowFontSize };
    }
    return { glyphSymbol, Color::of(Color::Named::secondary), 0.45, std::nullopt, GlyphLook::rowFontSize };
}

Color GroupRow::nameColor() const
{
    return Color::of(looksAlive(*this) ? Color::Named::primary : Color::Named::secondary);
}

}
