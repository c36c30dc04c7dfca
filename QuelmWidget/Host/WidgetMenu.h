// SPDX-License-Identifier: MIT
#pragma once

#include "Widget/WidgetFamily.h"

#include <QString>

#include <vector>

namespace quelm::host {

// What a choice in a placed widget's context menu asks the host to do.
struct MenuChoice {
    enum class Kind {
        edit,
        changeFamily,
        remove,
        add,
        quit,
    };
    Kind kind = Kind::edit;
    WidgetFamily family = WidgetFamily::small; // the size asked for, with changeFamily

    bool operator==(const MenuChoice&) const = default;
};

// One line of the menu: a choice, a submenu of choices, or a separator.
struct MenuEntry {
    enum class Kind {
        choice,
        submenu,
        separator,
    };
    Kind kind = Kind::separator;
    QString text;
    MenuChoice choice;         // with Kind::choice
    bool checked = false;      // a choice that says what is (the widget's size)
    std::vector<MenuEntry> entries; // with Kind::submenu
};

// The context menu of a widget of `family`, in the user's language, from top to bottom: edit, the
// sizes the widget offers (the current one checked), remove, add another, quit. Every way the host
// shows a menu lists exactly these.
//   for (const MenuEntry& entry : widgetMenu(window.family())) …
std::vector<MenuEntry> widgetMenu(WidgetFamily family);

}
