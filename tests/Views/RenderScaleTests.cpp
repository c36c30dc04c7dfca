// SPDX-License-Identifier: MIT
// A render is the same picture at every device scale: the layout in points does not depend on the
// scale, and the pixels at scale s are those of scale 2 resized to s, up to the small differences
// of anti-aliasing at another size.
#include "ViewsTestSupport.h"

#include "Views/ViewTreeJson.h"
#include "Widget/QuelmWidgetBundle.h"

#include <QColor>
#include <QImage>

#include <algorithm>
#include <cmath>
#include <cstdlib>

using namespace quelm;
using namespace quelm::test;

namespace {

class RenderScaleTest : public ViewsTest { };

constexpr double scales[] = { 0.5, 1, 1.25, 1.5, 2, 3 };

struct Difference {
    double mean = 0; // per channel, 0–255
    double share = 0; // of pixels with a channel more than `loud` apart
};

Difference compare(const QImage& a, const QImage& b, int loud)
{
    Difference difference;
    long long sum = 0;
    long long loudPixels = 0;
    for (int y = 0; y < a.height(); ++y) {
        const auto* left = reinterpret_cast<const QRgb*>(a.constScanLine(y));
        const auto* right = reinterpret_cast<const QRgb*>(b.constScanLine(y));
        for (int x = 0; x < a.width(); ++x) {
            const int channels[] = {
                std::abs(qRed(left[x]) - qRed(right[x])), std::abs(qGreen(left[x]) - qGreen(right[x])),
                std::abs(qBlue(left[x]) - qBlue(right[x])), std::abs(qAlpha(left[x]) - qAlpha(right[x])),
            };
            sum += channels[0] + channels[1] + channels[2] + channels[3];
            loudPixels += *std::max_element(std::begin(channels), std::end(channels)) > loud;
        }
    }
    const double pixels = static_cast<double>(a.width()) * a.height();
    difference.mean = static_cast<double>(sum) / (pixels * 4);
    difference.share = static_cast<double>(loudPixels) / pixels;
    return difference;
}

}

TEST_F(RenderScaleTest, TheViewTreesFramesAreTheSameAtEveryScale)
{
    // The tree is laid out in points once; each scale paints that same tree.
    for (const WidgetFamily family : QuelmWidget::supportedFamilies) {
        const views::RenderedWidget rendered = render(TimelineEntry::sample(fixedNow), family);
        const auto tree = views::widgetJson(rendered);
        for (const double scale : scales) {
            SCOPED_TRACE(scale);
            const QImage image = views::paintWidget(rendered, scale, views::Palette());
            EXPECT_EQ(image.size(), QSize(static_cast<int>(std::ceil(rendered.size.width * scale)), static_cast<int>(std::ceil(rendered.size.height * scale))));
            EXPECT_DOUBLE_EQ(image.devicePixelRatio(), scale);
            EXPECT_EQ(views::widgetJson(render(TimelineEntry::sample(fixedNow), family)), tree);
        }
    }
}

TEST_F(RenderScaleTest, ARenderAtEveryScaleIsTheRenderAtTwoResized)
{
    for (const WidgetFamily family : QuelmWidget::supportedFamilies) {
        const views::RenderedWidget rendered = render(TimelineEntry::sample(fixedNow), family);
        const QImage reference = views::paintWidget(rendered, 2, views::Palette()).convertToFormat(QImage::Format_ARGB32);
        for (const double scale : scales) {
            SCOPED_TRACE(std::string(rawValue(family)) + " at " + std::to_string(scale));
            const QImage image = views::paintWidget(rendered, scale, views::Palette()).convertToFormat(QImage::Format_ARGB32);
            const QImage resized = reference.scaled(image.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            const Difference difference = compare(image, resized, 96);
            // Text drawn at full size, or glyphs at the wrong size, move whole rows: far above these.
            EXPECT_LT(difference.mean, 4.0);
            EXPECT_LT(difference.share, 0.01);
        }
    }
}
