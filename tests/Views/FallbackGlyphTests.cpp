// SPDX-License-Identifier: MIT
// Titles in any script: what the widget's typeface lacks (emoji, CJK) comes from the Noto
// fallbacks, as real glyphs rather than empty boxes.
#include "ViewsTestSupport.h"

#include <QColor>
#include <QImage>

using namespace quelm;
using namespace quelm::test;

namespace {

class FallbackGlyphTest : public ViewsTest {
protected:
    // The medium widget with one session titled `title`, and the frame of that title in points.
    static std::pair<QImage, views::Frame> titleRender(const std::string& title)
    {
        WidgetSnapshot snapshot;
        snapshot.items = { item("a", true) };
        snapshot.sessions = { WidgetSession { "s", title, "quelm", WidgetSession::State::waitingForInput } };
        const views::RenderedWidget rendered = render(runningEntry(snapshot), WidgetFamily::medium);
        const views::ViewNode* row = rowOf(rendered.root, "s");
        EXPECT_NE(row, nullptr);
        const views::Frame frame = views::nodesOfType<views::node::Text>(*row).front()->frame;
        return { views::paintWidget(rendered, 2, views::Palette()).convertToFormat(QImage::Format_ARGB32), frame };
    }

    static QImage titleArea(const std::pair<QImage, views::Frame>& render)
    {
        const views::Frame& f = render.second;
        return render.first.copy(QRect(static_cast<int>(f.x * 2), static_cast<int>(f.y * 2), static_cast<int>(f.width * 2), static_cast<int>(f.height * 2)));
    }
};

// How many pixels are clearly coloured (not the white or grey of text on the dark glass).
int colouredPixels(const QImage& image)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor colour = QColor::fromRgba(image.pixel(x, y));
            count += colour.hsvSaturation() > 128 && colour.value() > 128;
        }
    }
    return count;
}

}

TEST_F(FallbackGlyphTest, AnEmojiInATitleDrawsInColour)
{
    const auto plain = titleRender("Deploy");
    const auto emoji = titleRender("Deploy 🍎🚀");
    EXPECT_GT(emoji.second.width, plain.second.width) << "the emoji takes room of its own";
    EXPECT_GT(colouredPixels(titleArea(emoji)), 50 + colouredPixels(titleArea(plain)));
}

TEST_F(FallbackGlyphTest, CjkCharactersDrawAsTheirOwnGlyphs)
{
    // A missing glyph draws the same empty box for every character; real glyphs differ.
    const QImage first = titleArea(titleRender("漢字"));
    const QImage second = titleArea(titleRender("日本"));
    ASSERT_EQ(first.size(), second.size()) << "full-width characters are equally wide";
    EXPECT_NE(first, second);
    const QImage kana = titleArea(titleRender("かな"));
    EXPECT_NE(kana, first);
}
