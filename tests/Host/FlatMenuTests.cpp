// SPDX-License-Identifier: MIT
#include "Host/FlatMenu.h"

#include "Host/HostTexts.h"
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>

using namespace quelm;
using namespace quelm::host;

namespace {

class FlatMenuTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { test::hostApplication(); }
};

using Row = FlatMenu::Row;

}

TEST_F(FlatMenuTest, TheSizesSubmenuBecomesAHeadingWithItsChoicesBeneathSetApartFromWhatFollows)
{
    const FlatMenu menu(widgetMenu(WidgetFamily::large));
    std::vector<Row::Kind> kinds;
    std::vector<QString> texts;
    for (const Row& row : menu.rows()) {
        kinds.push_back(row.kind);
        texts.push_back(row.text);
    }
    using Kind = Row::Kind;
    EXPECT_EQ(kinds, (std::vector { Kind::choice, Kind::heading, Kind::choice, Kind::choice, Kind::choice, Kind::choice, Kind::separator, Kind::choice,
                         Kind::separator, Kind::choice, Kind::separator, Kind::choice }));
    EXPECT_EQ(texts, (std::vector { hostText(HostTexts::edit), hostText(HostTexts::size), familyDisplayName(WidgetFamily::small),
                         familyDisplayName(WidgetFamily::medium), familyDisplayName(WidgetFamily::large), familyDisplayName(WidgetFamily::extraLarge),
                         QString(), hostText(HostTexts::remove), QString(), hostText(HostTexts::add), QString(), hostText(HostTexts::quit) }));
    EXPECT_TRUE(menu.rows()[4].checked);
    EXPECT_EQ(menu.rows()[4].choice, (MenuChoice { MenuChoice::Kind::changeFamily, WidgetFamily::large }));
    EXPECT_EQ(menu.rows()[11].choice, MenuChoice { MenuChoice::Kind::quit });
}

TEST_F(FlatMenuTest, RowsStackInsideTheMenuWithoutOverlap)
{
    const FlatMenu menu(widgetMenu(WidgetFamily::small));
    const QRectF whole(QPointF(0, 0), QSizeF(menu.size()));
    double bottom = 0;
    for (const Row& row : menu.rows()) {
        EXPECT_TRUE(whole.contains(row.frame)) << row.text.toStdString();
        EXPECT_GE(row.frame.top(), bottom) << row.text.toStdString();
        bottom = row.frame.bottom();
        if (row.kind != Row::Kind::separator) {
            EXPECT_GE(row.frame.height(), 20);
        }
    }
    EXPECT_GT(menu.size().width(), 0);
}

TEST_F(FlatMenuTest, OnlyChoiceRowsAreHitAndEachByItsOwnMiddle)
{
    const FlatMenu menu(widgetMenu(WidgetFamily::medium));
    for (std::size_t index = 0; index < menu.rows().size(); ++index) {
        const Row& row = menu.rows()[index];
        const auto hit = menu.rowAt(row.frame.center());
        if (row.kind == Row::Kind::choice)
            EXPECT_EQ(hit, index) << row.text.toStdString();
        else
            EXPECT_FALSE(hit) << index;
    }
    EXPECT_FALSE(menu.rowAt(QPointF(1, 1)));
    EXPECT_FALSE(menu.rowAt(QPointF(menu.size().width() + 5, menu.rows().front().frame.center().y())));
}

TEST_F(FlatMenuTest, PaintsDarkGlassAndTheHighlightedRowInTheAccent)
{
    const FlatMenu menu(widgetMenu(WidgetFamily::medium));
    const views::Palette palette(Color::rgb(1, 0, 0));
    QImage image(menu.size() * 2, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(2);
    image.fill(Qt::transparent);
    const std::size_t lit = menu.rows().size() - 1;
    {
        QPainter painter(&image);
        menu.paint(painter, lit, palette);
    }
    // Sampled at the right end of the rows, clear of their texts.
    const auto sample = [&](const Row& row) { return image.pixelColor(static_cast<int>(row.frame.right() - 3) * 2, static_cast<int>(row.frame.center().y()) * 2); };
    const QColor highlighted = sample(menu.rows()[lit]);
    EXPECT_GT(highlighted.red(), 200);
    EXPECT_LT(highlighted.green(), 40);
    const QColor glass = sample(menu.rows().front());
    EXPECT_LT(glass.lightness(), 60);
    EXPECT_GT(glass.alpha(), 240);
    // The corners stay clear where the outline rounds off.
    EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0);
}
