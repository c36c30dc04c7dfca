// SPDX-License-Identifier: MIT
#include "ViewsTestSupport.h"

#include "Views/LayoutEngine.h"
#include "Views/ShownText.h"
#include "Views/SessionRowView.h"

using namespace quelm;
using namespace quelm::test;
using views::shownText;

namespace {

std::size_t characters(const std::string& text)
{
    std::size_t count = 0;
    for (const char c : text)
        count += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    return count;
}

class ShownTextTest : public ViewsTest { };

}

TEST(ShownText, EveryLineBreakReadsAsOneSpace)
{
    EXPECT_EQ(shownText("first line\nsecond line"), "first line second line");
    EXPECT_EQ(shownText("a\r\nb\rc\vd\fe"), "a b c d e");
    EXPECT_EQ(shownText("a\xC2\x85" "b\xE2\x80\xA8" "c\xE2\x80\xA9" "d"), "a b c d");
    EXPECT_EQ(shownText("two\n\nbreaks"), "two  breaks");
    EXPECT_EQ(shownText("Migração do banco"), "Migração do banco");
}

TEST(ShownText, ATextLongerThanAnyRowIsCutBeforeItIsShaped)
{
    const std::string huge(16 << 20, 'x');
    const std::string shown = shownText(huge);
    EXPECT_EQ(characters(shown), views::longestShownText + 1);
    EXPECT_TRUE(shown.ends_with("…"));

    // Cut on a character's boundary, never inside one.
    std::string accented;
    for (int i = 0; i < 2000; ++i)
        accented += "ç";
    const std::string cut = shownText(accented);
    EXPECT_EQ(cut.size(), views::longestShownText * 2 + std::string("…").size());

    const std::string fits(views::longestShownText, 'y');
    EXPECT_EQ(shownText(fits), fits);
}

TEST(ShownText, InvalidBytesPassThrough)
{
    EXPECT_EQ(shownText("a\xff" "b"), "a\xff" "b");
    EXPECT_EQ(shownText("\xe2\x80"), "\xe2\x80");
}

TEST_F(ShownTextTest, ATitleWithALineBreakShowsASpaceInItsRow)
{
    const WidgetSession record { "s", "first line\nsecond line", "quelm", WidgetSession::State::working };
    const views::Localizer localizer = views::Localizer::forSnapshotLanguage(std::nullopt, fixedLocale);
    const views::ViewContext context { localizer, localizer, fixedNow };
    views::ViewNode row = views::SessionRowView::node(SessionRow(record, false), context);
    const views::LayoutEngine engine;
    engine.layout(row, { 0, 0, 300, engine.measure(row, 300).height });
    EXPECT_EQ(shownTexts(row).front(), "first line second line");
}

TEST(ShownText, AnEntryOfHugeTitlesIsShownFromTheirStartsWithItsIdsWhole)
{
    TimelineEntry entry = TimelineEntry::sample(fixedNow);
    EXPECT_EQ(views::withShortTexts(entry), std::nullopt) << "short texts are shown as they are";

    const std::string huge(4 << 20, 'x');
    const std::string longId(64 << 10, 'i');
    entry.snapshot.items.front().title = huge;
    entry.snapshot.items.front().id = longId;
    entry.snapshot.sessions.front().project = huge;
    entry.snapshot.groups.front().name = huge;
    const auto shown = views::withShortTexts(entry);
    ASSERT_TRUE(shown);
    EXPECT_LT(shown->snapshot.items.front().title.size(), 4096u);
    EXPECT_GT(shown->snapshot.items.front().title.size(), views::longestShownText);
    EXPECT_EQ(shown->snapshot.items.front().id, longId);
    EXPECT_LT(shown->snapshot.sessions.front().project.size(), 4096u);
    EXPECT_LT(shown->snapshot.groups.front().name.size(), 4096u);
    EXPECT_EQ(shown->snapshot.items.size(), entry.snapshot.items.size());
    EXPECT_EQ(shown->snapshot.items[1], entry.snapshot.items[1]);
    EXPECT_EQ(shown->pending, entry.pending);
    EXPECT_EQ(shown->appStatus, entry.appStatus);
}
