// SPDX-License-Identifier: MIT
#pragma once

#include "Text/LocalizedText.h"
#include "Widget/WidgetFamily.h"

#include <quelm/SharedStore.h>
#include <quelm/WidgetSnapshot.h>

#include <optional>
#include <string>

namespace quelm {

// A centred notice: the mark without its sphere in a 22 × 22 frame, painted
// tertiary; the title (12 pt, medium); the subtitle, when there is one (10 pt, secondary). Spacing 6.
// A tap anywhere on the widget opens `tapAddress` when there is one.
struct WidgetMessage {
    static constexpr double spacing = 6;
    static constexpr double markSize = 22;
    static constexpr double titleFontSize = 12;
    static constexpr double subtitleFontSize = 10;

    LocalizedText title;
    std::optional<LocalizedText> subtitle {};
    std::optional<std::string> tapAddress {};

    bool operator==(const WidgetMessage&) const = default;
};

// What the widget shows, stretched to fill it:
//   notRunning                           → closedMessage   "Quelm está fechado" / "Toque para abrir", tap opens "quelm://open"
//   noAccess                             → noAccessMessage "Sem acesso aos dados" / "Reinstale o Quelm", no tap
//   running, no items and no sessions    → nothingRunning  "Nada rodando", no subtitle (groups alone do not count)
//   running otherwise                    → the family's layout; any family but small, medium and
//                                          extra large (a future one) gets the large layout.
struct WidgetContent {
    enum class Kind {
        closedMessage,
        noAccessMessage,
        nothingRunning,
        small,
        medium,
        large,
        extraLarge,
    };

    Kind kind = Kind::closedMessage;

    static WidgetContent choose(SharedStore::AppStatus appStatus, const WidgetSnapshot& snapshot, WidgetFamily family);
    // A family the widget does not know (none) is shown like the large one.
    static WidgetContent choose(SharedStore::AppStatus appStatus, const WidgetSnapshot& snapshot, std::optional<WidgetFamily> family);

    bool isMessage() const { return message().has_value(); }
    // The notice of the three message kinds; none for a family layout.
    std::optional<WidgetMessage> message() const;

    bool operator==(const WidgetContent&) const = default;
};

std::string_view rawValue(WidgetContent::Kind);

}
