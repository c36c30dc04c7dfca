// SPDX-License-Identifier: MIT
#include "ViewsTestSupport.h"

#include "Views/GlassView.h"
#include "Views/SymbolImages.h"

#include <QImage>
#include <QPainter>

#include <array>

using namespace quelm;
using namespace quelm::test;

namespace {

class GlassViewTest : public ViewsTest { };

int alpha(const QImage& image, int x, int y)
{
    return qAlpha(image.pixel(x, y));
}

}

TEST_F(GlassViewTest, CornersAreTransparentInEveryFamily)
{
    for (const WidgetFamily family :
        { WidgetFamily::small, WidgetFamily::medium, WidgetFamily::large, WidgetFamily::extraLarge }) {
        SCOPED_TRACE(std::string(rawValue(family)));
        const auto rendered = render(TimelineEntry::sample(fixedNow), family);
        const QImage image = views::paintWidget(rendered, 2);
        const int w = image.width();
        const int h = image.height();
        EXPECT_EQ(w, static_cast<int>(rendered.size.width * 2));
        EXPECT_EQ(h, static_cast<int>(rendered.size.height * 2));
        for (const auto& [x, y] : std::array<std::pair<int, int>, 4> { { { 0, 0 }, { w - 1, 0 }, { 0, h - 1 }, { w - 1, h - 1 } } }) {
            EXPECT_EQ(alpha(image, x, y), 0) << x << "," << y;
            EXPECT_EQ(alpha(image, x == 0 ? 6 : x - 6, y == 0 ? 6 : y - 6), 0) << "well inside the rounded corner";
        }
        EXPECT_EQ(alpha(image, w / 2, 0), 255) << "the edge between the corners belongs to the glass";
        EXPECT_EQ(alpha(image, w / 2, h / 2), 255);
        EXPECT_EQ(alpha(image, 22, 22), 255);
    }
}

TEST_F(GlassViewTest, BaseIsNearBlackAndDarkensDownwards)
{
    views::node::Glass plain;
    QImage image(400, 400, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    views::GlassView::paintBackground(painter, QRectF(0, 0, 400, 400), plain, views::Palette());
    painter.end();
    // Beyond the reach of the top-leading highlight and inside the border: the base alone, grey
    // 0.12 at the top to 0.05 at the bottom.
    const QColor top = image.pixelColor(300, 4);
    const QColor bottom = image.pixelColor(300, 395);
    EXPECT_NEAR(top.redF(), 0.12, 0.01);
    EXPECT_NEAR(bottom.redF(), 0.05, 0.01);
    EXPECT_EQ(top.alpha(), 255);
    EXPECT_EQ(top.red(), top.blue());
    // The highlight lightens the top-leading corner.
    EXPECT_GT(image.pixelColor(30, 30).red(), top.red());
    // The border is lighter at the top than the base beneath it.
    EXPECT_GT(image.pixelColor(200, 0).red(), top.red());
}

TEST_F(GlassViewTest, GlowTintsItsCorner)
{
    views::node::Glass glowing { quelm::WidgetGlass::glowLayers({ Color::of(Color::Named::orange) }) };
    QImage image(300, 300, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    views::GlassView::paintBackground(painter, QRectF(0, 0, 300, 300), glowing, views::Palette());
    painter.end();
    const QColor trailing = image.pixelColor(290, 290);
    const QColor leading = image.pixelColor(10, 290);
    EXPECT_GT(trailing.red(), trailing.blue() + 30) << "orange at the bottom trailing corner";
    EXPECT_NEAR(leading.red(), leading.blue(), 3) << "no second glow";
}

TEST_F(GlassViewTest, SymbolsOfEveryRowAreInTheResource)
{
    for (const char* symbol : { "leaf.fill", "play.fill", "stop.fill", "shippingbox.fill", "helm", "cylinder.fill",
             "dot.radiowaves.left.and.right", "circle.hexagongrid.fill", "square.stack.3d.up.fill", "sparkle",
             "exclamationmark.bubble.fill" })
        EXPECT_TRUE(views::SymbolImages::has(symbol)) << symbol;
}

namespace {

QImage paintedGlass(const views::node::Glass& glass, QSize size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    views::GlassView::paintBackground(painter, QRectF(QPointF(0, 0), QSizeF(size)), glass, views::Palette());
    painter.end();
    return image;
}

}

TEST_F(GlassViewTest, KeptBackgroundsStayFewAndAForgottenOneIsPaintedTheSame)
{
    const views::node::Glass glowing { quelm::WidgetGlass::glowLayers({ Color::of(Color::Named::orange) }) };
    views::GlassView::forgetBackgrounds();
    const QImage first = paintedGlass(glowing, QSize(170, 170));
    EXPECT_EQ(views::GlassView::keptBackgrounds(), 1u);
    EXPECT_EQ(paintedGlass(glowing, QSize(170, 170)), first) << "drawn from what was kept";

    // However many sizes a long session asks for, only a few are kept.
    for (int width = 100; width < 140; ++width) {
        paintedGlass(glowing, QSize(width, 80));
        EXPECT_LE(views::GlassView::keptBackgrounds(), 8u);
    }

    views::GlassView::forgetBackgrounds();
    EXPECT_EQ(views::GlassView::keptBackgrounds(), 0u);
    EXPECT_EQ(paintedGlass(glowing, QSize(170, 170)), first) << "painted anew";
}

TEST_F(GlassViewTest, KeptSymbolImagesStayFewAndStayTheSame)
{
    const QImage first = views::SymbolImages::tinted("play.fill", 24, QColor(255, 255, 255, 200));
    ASSERT_FALSE(first.isNull());
    // A long session's worth of colours.
    for (int shade = 0; shade < 400; ++shade) {
        views::SymbolImages::tinted("play.fill", 24, QColor(shade % 256, 128, 64, 200));
        EXPECT_LE(views::SymbolImages::keptImages(), 256u);
    }
    EXPECT_EQ(views::SymbolImages::tinted("play.fill", 24, QColor(255, 255, 255, 200)), first);
}
