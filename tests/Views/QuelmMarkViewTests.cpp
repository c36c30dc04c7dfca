// SPDX-License-Identifier: MIT
#include "ViewsTestSupport.h"

#include "Views/QuelmMarkView.h"

#include <QImage>
#include <QPainter>

#include <cmath>

using namespace quelm;
using namespace quelm::test;

namespace {

class QuelmMarkViewTest : public ViewsTest {
protected:
    // The mark alone, 200 × 200 pixels, on a transparent image.
    static QImage markAlone(bool running, const QColor& color = Qt::white)
    {
        QImage image(200, 200, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        views::QuelmMarkView::paint(painter, QRectF(0, 0, 200, 200), color, running);
        return image;
    }

    // The alpha at `radius` pixels from the centre, in the direction of `degrees`.
    static int alphaAt(const QImage& image, double radius, double degrees)
    {
        const double angle = degrees * M_PI / 180;
        const int x = static_cast<int>(std::floor(100 + radius * std::cos(angle)));
        const int y = static_cast<int>(std::floor(100 + radius * std::sin(angle)));
        return qAlpha(image.pixel(x, y));
    }
};

}

// For a 200-pixel mark the sphere's radius is 25 and the hole's 29.5: the ring between them is
// the background, whatever the mark's colour.
TEST_F(QuelmMarkViewTest, HoleIsTransparentAroundTheSphere)
{
    const QImage image = markAlone(true);
    for (const double degrees : { 0.0, 45.0, 90.0, 135.0, 200.0, 300.0 }) {
        EXPECT_EQ(alphaAt(image, 27.5, degrees), 0) << degrees;
        EXPECT_EQ(alphaAt(image, 10, degrees), 255) << "the sphere, " << degrees;
    }
}

TEST_F(QuelmMarkViewTest, StarBodyIsOpaque)
{
    const QImage image = markAlone(false);
    // Along the diagonals towards the tips, between the hole and the tips.
    for (const double degrees : { 45.0, 135.0, 225.0, 315.0 }) {
        EXPECT_EQ(alphaAt(image, 45, degrees), 255) << degrees;
        EXPECT_EQ(alphaAt(image, 70, degrees), 255) << degrees;
    }
    // The pinched sides leave the middle of each edge clear.
    EXPECT_EQ(qAlpha(image.pixel(100, 2)), 0);
    EXPECT_EQ(qAlpha(image.pixel(2, 100)), 0);
}

TEST_F(QuelmMarkViewTest, WithoutRunningTheHoleIsEmpty)
{
    const QImage image = markAlone(false);
    EXPECT_EQ(alphaAt(image, 0, 0), 0);
    EXPECT_EQ(alphaAt(image, 10, 60), 0);
}

TEST_F(QuelmMarkViewTest, HoleShowsWhatLiesBehindTheMark)
{
    QImage image(200, 200, QImage::Format_ARGB32_Premultiplied);
    image.fill(QColor(255, 0, 0));
    QPainter painter(&image);
    views::QuelmMarkView::paint(painter, QRectF(0, 0, 200, 200), Qt::white, true);
    painter.end();
    EXPECT_EQ(image.pixelColor(100 + 27, 100), QColor(255, 0, 0)) << "the background, not erased";
    EXPECT_EQ(image.pixelColor(100, 100), QColor(Qt::white));
}

TEST_F(QuelmMarkViewTest, TranslucentColourPaintsTheMarkEvenly)
{
    const QImage image = markAlone(true, QColor::fromRgbF(1, 1, 1, 0.25f));
    const int body = alphaAt(image, 60, 45);
    EXPECT_NEAR(body, 64, 1);
    // Where the outline's stroke overlaps the fill, the mark is not any denser.
    EXPECT_EQ(alphaAt(image, 88, 45), body);
    EXPECT_EQ(alphaAt(image, 0, 0), body);
}

TEST_F(QuelmMarkViewTest, MarkAtDevicePixelRatioTwoStaysInItsFrame)
{
    QImage image(48, 48, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(2);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    views::QuelmMarkView::paint(painter, QRectF(6, 6, 12, 12), Qt::white, true);
    painter.end();
    EXPECT_EQ(qAlpha(image.pixel(24, 24)), 255) << "the sphere at the centre of the frame, in device pixels";
    EXPECT_EQ(qAlpha(image.pixel(5, 5)), 0);
    EXPECT_EQ(qAlpha(image.pixel(40, 40)), 0);
    EXPECT_GT(qAlpha(image.pixel(19, 19)), 200) << "the body towards the top-leading tip";
}

TEST_F(QuelmMarkViewTest, AccessibilityLabelSaysWhetherItemsRun)
{
    const views::Localizer portuguese = views::Localizer::forCurrentLocale("pt_BR.UTF-8");
    const views::Localizer english = views::Localizer::forCurrentLocale("en_GB.UTF-8");
    const views::ViewContext inPortuguese { portuguese, portuguese, fixedNow };
    const views::ViewContext inEnglish { portuguese, english, fixedNow };
    const auto label = [](const views::ViewNode& mark) { return mark.as<views::node::Mark>()->accessibilityLabel; };
    const Color color = Color::of(Color::Named::primary);
    EXPECT_EQ(label(views::QuelmMarkView::node(true, color, 12, inPortuguese)), "Quelm, com itens rodando");
    EXPECT_EQ(label(views::QuelmMarkView::node(true, color, 12, inEnglish)), "Quelm, with items running");
    EXPECT_EQ(label(views::QuelmMarkView::node(false, color, 12, inEnglish)), "Quelm");
}
