// SPDX-License-Identifier: MIT
#include "Host/WidgetMenu.h"

#include "Host/HostTexts.h"
#include "Widget/QuelmWidgetBundle.h"

#include <utility>

namespace quelm::host {

namespace detail {

MenuEntry choiceEntry(QString text, MenuChoice choice, bool checked = false)
{
    MenuEntry entry;
    entry.kind = MenuEntry::Kind::choice;
    entry.text = std::move(text);
    entry.choice = choice;
    entry.checked = checked;
    return entry;
}

MenuEntry separator()
{
    return {};
}

}

std::vector<MenuEntry> widgetMenu(WidgetFamily family)
{
    using Kind = MenuChoice::Kind;
    MenuEntry sizes;
    sizes.kind = MenuEntry::Kind::submenu;
    sizes.text = hostText(HostTexts::size);
    for (const WidgetFamily offered : QuelmWidget::supportedFamilies)
        sizes.entries.push_back(detail::choiceEntry(familyDisplayName(offered), { Kind::changeFamily, offered }, offered == family));

    return {
        detail::choiceEntry(hostText(HostTexts::edit), { Kind::edit }),
        std::move(sizes),
        detail::choiceEntry(hostText(HostTexts::remove), { Kind::remove }),
        detail::separator(),
        detail::choiceEntry(hostText(HostTexts::add), { Kind::add }),
        detail::separator(),
        detail::choiceEntry(hostText(HostTexts::quit), { Kind::quit }),
    };
}

}
