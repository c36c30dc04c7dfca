// SPDX-License-Identifier: MIT
#pragma once

#include "Look/Color.h"
#include "Look/GlyphLook.h"
#include "Text/LocalizedText.h"
#include "Rows/RowState.h"
#include "Rows/ToggleButton.h"

#include <quelm/WidgetCommand.h>
#include <quelm/WidgetGroup.h>

#include <optional>
#include <string_view>

namespace quelm {

// A group of items: group glyph, name over detail, spacer, button.
struct GroupRow {
    static constexpr std::string_view glyphSymbol = "square.stack.3d.up.fill";
    static constexpr double spacing = 7;
    static constexpr double nameFontSize = 11.5;  // medium weight, one line
    static constexpr double detailFontSize = 9.5; // secondary colour, one line, digits roll
    static constexpr double minimumSpacerLength = 4;
    static constexpr Color detailColor = Color::of(Color::Named::secondary);

    WidgetGroup group;
    std::optional<WidgetCommand::Action> pending {};
    bool compact = false;

    RowState state() const { return RowState::of(group, pending); }
    // Starting by transition, or, without a transition, by a pending start.
    bool isStarting() const;
    // First match: transition starting → "Iniciando…", stopping → "Parando…"; pending start →
    // "Iniciando…", stop → "Parando…"; no member running → "Grupo · %lld itens" (memberCount);
    // all running → "Grupo · tudo rodando"; else "Grupo · %lld de %lld" (runningCount,
    // memberCount). `isActive` plays no part.
    LocalizedText detail() const;
    bool showsDetail() const { return !compact; }
    // Accent at 1 with an accent halo at 0.5 when a member runs or the group is starting; else
    // `secondary` at 0.45 with no halo. Symbol size 11, frame 16 wide.
    GlyphLook glyph() const;
    // Primary when a member runs or the group is starting, else secondary. The name is not
    // localised.
    Color nameColor() const;
    // The group's button: its id, running when the group is active, showing the row's state.
    ToggleButton button() const { return { group.id, state() }; }

    bool operator==(const GroupRow&) const = default;
};

}
