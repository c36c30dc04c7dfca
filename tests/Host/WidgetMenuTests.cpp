// SPDX-License-Identifier: MIT
#include "Host/WidgetMenu.h"

#include "Host/HostTexts.h"
#include "Host/WidgetWindow.h"
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <QContextMenuEvent>
#include <QMenu>
#include <QSignalSpy>
#include <QTimer>

#include <vector>

using namespace quelm;
using namespace quelm::host;

namespace {

class WidgetMenuTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { test::hostApplication(); }
};

std::vector<MenuEntry::Kind> kinds(const std::vector<MenuEntry>& entries)
{
    std::vector<MenuEntry::Kind> result;
    for (const MenuEntry& entry : entries)
        result.push_back(entry.kind);
    return result;
}

}

TEST_F(WidgetMenuTest, ListsEditSizesRemoveAddAndQuitInThatOrder)
{
    using Kind = MenuEntry::Kind;
    const std::vector<MenuEntry> menu = widgetMenu(WidgetFamily::medium);
    EXPECT_EQ(kinds(menu), (std::vector { Kind::choice, Kind::submenu, Kind::choice, Kind::separator, Kind::choice, Kind::separator, Kind::choice }));
    ASSERT_EQ(menu.size(), 7u);
    EXPECT_EQ(menu[0].text, hostText(HostTexts::edit));
    EXPECT_EQ(menu[0].choice, MenuChoice { MenuChoice::Kind::edit });
    EXPECT_EQ(menu[1].text, hostText(HostTexts::size));
    EXPECT_EQ(menu[2].text, hostText(HostTexts::remove));
    EXPECT_EQ(menu[2].choice, MenuChoice { MenuChoice::Kind::remove });
    EXPECT_EQ(menu[4].text, hostText(HostTexts::add));
    EXPECT_EQ(menu[4].choice, MenuChoice { MenuChoice::Kind::add });
    EXPECT_EQ(menu[6].text, QStringLiteral("Sair"));
    EXPECT_EQ(menu[6].choice, MenuChoice { MenuChoice::Kind::quit });
    for (const MenuEntry& entry : menu)
        EXPECT_TRUE(entry.kind == Kind::submenu || !entry.checked) << entry.text.toStdString();
}

TEST_F(WidgetMenuTest, TheSizesAreEveryFamilyWithOnlyTheCurrentOneChecked)
{
    for (const WidgetFamily current : { WidgetFamily::small, WidgetFamily::medium, WidgetFamily::large, WidgetFamily::extraLarge }) {
        SCOPED_TRACE(rawValue(current));
        const std::vector<MenuEntry> sizes = widgetMenu(current)[1].entries;
        ASSERT_EQ(sizes.size(), 4u);
        const WidgetFamily order[] { WidgetFamily::small, WidgetFamily::medium, WidgetFamily::large, WidgetFamily::extraLarge };
        for (std::size_t index = 0; index < sizes.size(); ++index) {
            EXPECT_EQ(sizes[index].kind, MenuEntry::Kind::choice);
            EXPECT_EQ(sizes[index].text, familyDisplayName(order[index]));
            EXPECT_EQ(sizes[index].choice, (MenuChoice { MenuChoice::Kind::changeFamily, order[index] }));
            EXPECT_EQ(sizes[index].checked, order[index] == current);
        }
    }
}

TEST_F(WidgetMenuTest, EachChoiceEmitsItsRequestFromTheWindow)
{
    WidgetWindow window(WidgetFamily::small, views::Palette());
    QSignalSpy edit(&window, &WidgetWindow::editRequested);
    QSignalSpy family(&window, &WidgetWindow::familyRequested);
    QSignalSpy remove(&window, &WidgetWindow::removeRequested);
    QSignalSpy add(&window, &WidgetWindow::addRequested);
    QSignalSpy quit(&window, &WidgetWindow::quitRequested);

    window.choose({ MenuChoice::Kind::edit });
    window.choose({ MenuChoice::Kind::changeFamily, WidgetFamily::large });
    window.choose({ MenuChoice::Kind::remove });
    window.choose({ MenuChoice::Kind::add });
    window.choose({ MenuChoice::Kind::quit });

    EXPECT_EQ(edit.count(), 1);
    ASSERT_EQ(family.count(), 1);
    EXPECT_EQ(family.at(0).at(0).value<WidgetFamily>(), WidgetFamily::large);
    EXPECT_EQ(remove.count(), 1);
    EXPECT_EQ(add.count(), 1);
    EXPECT_EQ(quit.count(), 1);
}

TEST_F(WidgetMenuTest, TheWindowsOwnMenuListsTheSameEntriesAndActsOnAChoice)
{
    WidgetWindow window(WidgetFamily::medium, views::Palette());
    QSignalSpy remove(&window, &WidgetWindow::removeRequested);
    std::vector<QString> shown;
    std::vector<QString> sizes;
    std::vector<bool> checked;
    QTimer::singleShot(0, &window, [&] {
        ASSERT_TRUE(test::waitFor([] { return QApplication::activePopupWidget() != nullptr; }));
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        QAction* removal = nullptr;
        for (QAction* action : menu->actions()) {
            shown.push_back(action->isSeparator() ? QString() : action->text());
            if (action->text() == hostText(HostTexts::remove))
                removal = action;
            if (QMenu* submenu = action->menu()) {
                for (QAction* size : submenu->actions()) {
                    sizes.push_back(size->text());
                    checked.push_back(size->isChecked());
                }
            }
        }
        if (!removal) {
            menu->close();
            return;
        }
        menu->setActiveAction(removal);
        QTest::keyClick(menu, Qt::Key_Return);
    });
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(10, 10), QPoint(10, 10));
    QApplication::sendEvent(&window, &event);

    std::vector<QString> expected;
    for (const MenuEntry& entry : widgetMenu(WidgetFamily::medium))
        expected.push_back(entry.text);
    EXPECT_EQ(shown, expected);
    EXPECT_EQ(sizes, (std::vector { familyDisplayName(WidgetFamily::small), familyDisplayName(WidgetFamily::medium),
                         familyDisplayName(WidgetFamily::large), familyDisplayName(WidgetFamily::extraLarge) }));
    EXPECT_EQ(checked, (std::vector { false, true, false, false }));
    EXPECT_EQ(remove.count(), 1);
}
