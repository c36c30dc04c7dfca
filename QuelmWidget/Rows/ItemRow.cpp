// SPDX-License-Identifier: MIT
#include "Rows/ItemRow.h"

#include "Look/WidgetGlyph.h"

#include <cstdio>

namespace quelm {

namespace {
constexpr std::string_view starting = "Iniciando…";
constexpr std::string_view stopping = "Parando…";
constexpr std::string_view stopped = "Parado";
}

ItemRowDetail ItemRowDetail::live(std::optional<std::uint16_t> port, Date startedAt)
{
    ItemRowDetail detail;
    detail.kind = Kind::live;
    if (port) {
        // Formatted in a buffer: GCC 12 warns falsely (-Wrestrict) on the concatenation at -O3.
        char buffer[16];
        std::snprintf(buffer, sizeof buffer, ":%u · ", static_cast<unsigned>(*port));
        detail.portPart = buffer;
    }
    detail.startedAt = startedAt;
    return detail;
}

std::string ItemRowDetail::shown(const LocalizedText::Translate& translate, std::string_view relativeTime) const
{
    if (kind == Kind::live)
        return portPart + std::string(relativeTime);
    return text.localized(translate);
}

ItemRowDetail ItemRow::detail() const
{
    using Transition = WidgetItem::Transition;
    using Action = WidgetCommand::Action;
    if (item.transition)
        return ItemRowDetail::fixed(std::string(*item.transition == Transition::starting ? starting : stopping));
    if (pending)
        return ItemRowDetail::fixed(std::string(*pending == Action::start ? starting : stopping));
    if (item.isRunning && item.startedAt)
        return ItemRowDetail::live(item.port, *item.startedAt);
    return ItemRowDetail::fixed(std::string(stopped));
}

Color ItemRow::titleColor() const
{
    return Color::of(state().appearsRunning ? Color::Named::primary : Color::Named::secondary);
}

GlyphLook ItemRow::glyph() const
{
    return WidgetGlyph { item.category, state().appearsRunning }.look();
}

}
