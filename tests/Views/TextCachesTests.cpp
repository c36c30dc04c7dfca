// SPDX-License-Identifier: MIT
// What renders keep between them: bounded, and never different from what they would make anew.

#include "ViewsTestSupport.h"

#include "Views/BoundedCache.h"
#include "Views/Typography.h"

#include <QImage>
#include <QPainter>

#include <functional>
#include <string>
#include <vector>

using namespace quelm;
using namespace quelm::test;
using views::Font;
using views::FontWeight;

namespace {

class TextCachesTest : public ViewsTest { };

// A line of white text on a transparent image, drawn by `draw`.
QImage lineImage(const std::function<void(QImage&, QPainter&)>& draw)
{
    QImage image(240, 40, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    views::Typography::makePointSized(image);
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    painter.setPen(Qt::white);
    draw(image, painter);
    painter.end();
    return image;
}

QImage drawnLine(const views::Typography& typography, const std::string& text, const Font& font)
{
    return lineImage([&](QImage&, QPainter& painter) { typography.drawLine(painter, QPointF(4, 28), text, font); });
}

}

TEST(BoundedCacheTest, MakesAValueOnceAndReturnsItAgain)
{
    views::BoundedCache<std::string, int> cache(4);
    int made = 0;
    const auto make = [&] { return ++made * 10; };
    EXPECT_EQ(cache.get("a", make), 10);
    EXPECT_EQ(cache.get("a", make), 10);
    EXPECT_EQ(made, 1);
    EXPECT_EQ(cache.get("b", make), 20);
    EXPECT_EQ(made, 2);
}

TEST(BoundedCacheTest, NeverHoldsMoreThanItsCapacity)
{
    views::BoundedCache<int, std::string> cache(8);
    for (int key = 0; key < 1000; ++key) {
        EXPECT_EQ(cache.get(key, [&] { return std::to_string(key); }), std::to_string(key));
        EXPECT_LE(cache.size(), cache.capacity());
    }
    EXPECT_GE(cache.size(), 1u);
    cache.clear();
    EXPECT_EQ(cache.size(), 0u);
}

TEST_F(TextCachesTest, MeasuringAndWrappingGiveTheSameAnswerWarmAsCold)
{
    const views::Typography cold;
    const views::Typography& warm = views::Typography::standard();
    const Font font { 11, FontWeight::regular };
    const std::string text = "Aguardando a sua aprovação para editar três arquivos do projeto";
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(warm.width(text, font), cold.width(text, font));
        EXPECT_EQ(warm.wrapped(text, font, 120, 2), cold.wrapped(text, font, 120, 2));
        EXPECT_EQ(warm.elided(text, font, 90), cold.elided(text, font, 90));
    }
    EXPECT_EQ(warm.wrapped(text, font, 120, 2).size(), 2u);
    EXPECT_NE(warm.elided(text, font, 90), text);
}

TEST_F(TextCachesTest, AShapedLineIsDrawnAsQtDrawsItsText)
{
    const views::Typography& typography = views::Typography::standard();
    const Font font { 13, FontWeight::semibold };
    const std::string text = "my-api (dev) · 3000 Ωλ";

    const QImage expected = lineImage([&](QImage& image, QPainter& painter) {
        painter.setFont(typography.font(font, image));
        painter.drawText(QPointF(4, 28), QString::fromStdString(text));
    });
    ASSERT_NE(expected, lineImage([](QImage&, QPainter&) { })) << "Qt drew nothing to compare with";

    const QImage first = drawnLine(typography, text, font);
    EXPECT_EQ(first, expected);
    // Drawn again from what was kept.
    EXPECT_EQ(drawnLine(typography, text, font), expected);
    // Forgotten and shaped anew.
    typography.forgetTexts();
    EXPECT_EQ(drawnLine(typography, text, font), expected);
}
