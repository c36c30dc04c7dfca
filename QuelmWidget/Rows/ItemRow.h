// SPDX-License-Identifier: MIT
#pragma once

#include "Look/Color.h"
#include "Look/GlyphLook.h"
#include "Text/LocalizedText.h"
#include "Rows/RowState.h"
#include "Rows/ToggleButton.h"

#include <quelm/Date.h>
#include <quelm/WidgetCommand.h>
#include <quelm/WidgetItem.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quelm {

// The second line of an item row: either a fixed text ("Iniciando…",
// "Parando…", "Parado"), localised like every row text, or a live line: the port part (":" +
// port + " · ", or empty) followed by the time since `startedAt` in the relative style
// (RelativeTime), which the view keeps up to date.
struct ItemRowDetail {
    enum class Kind {
        text,
        live,
    };

    Kind kind = Kind::text;
    LocalizedText text {};  // when kind is text
    std::string portPart {}; // when kind is live: ":8080 · " or ""
    Date startedAt {};       // when kind is live

    static ItemRowDetail fixed(std::string key) { return { Kind::text, { std::move(key) }, {}, {} }; }
    static ItemRowDetail live(std::optional<std::uint16_t> port, Date startedAt);

    bool isLive() const { return kind == Kind::live; }

    // The line as shown: the localised text, or the port part followed by `relativeTime` (the
    // text of the time since `startedAt`, which the caller formats).
    std::string shown(const LocalizedText::Translate& translate, std::string_view relativeTime) const;

    bool operator==(const ItemRowDetail&) const = default;
};

// One managed process or service: glyph, title over detail, spacer, button.
struct ItemRow {
    static constexpr double spacing = 7;
    static constexpr double titleFontSize = 11.5; // medium weight, one line
    static constexpr double detailFontSize = 9.5; // secondary colour, one line
    static constexpr double minimumSpacerLength = 4;
    static constexpr Color detailColor = Color::of(Color::Named::secondary);

    WidgetItem item;
    std::optional<WidgetCommand::Action> pending {};
    bool compact = false;

    RowState state() const { return RowState::of(item, pending); }
    // First match: transition starting → "Iniciando…"; stopping → "Parando…"; pending start →
    // "Iniciando…"; pending stop → "Parando…"; running with a start time → live; else "Parado".
    ItemRowDetail detail() const;
    // Compact rows are a single line: no detail.
    bool showsDetail() const { return !compact; }
    // The title as it stands (not localised): primary when the row appears running, else secondary.
    Color titleColor() const;
    // The glyph of the item's category, lit while the row appears running.
    GlyphLook glyph() const;
    // The item's button: its id and running flag, showing the row's state.
    ToggleButton button() const { return { item.id, state() }; }

    bool operator==(const ItemRow&) const = default;
};

}
