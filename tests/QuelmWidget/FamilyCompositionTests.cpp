// SPDX-License-Identifier: MIT
#include "Layout/FamilyComposition.h"

#include <gtest/gtest.h>

namespace quelm {
namespace {

using Rows = WidgetSection::Rows;

std::vector<Rows> rows(const std::vector<WidgetSection>& sections)
{
    std::vector<Rows> result;
    for (const auto& section : sections)
        result.push_back(section.rows);
    return result;
}

TEST(FamilyCompositionTests, SectionTitles)
{
    EXPECT_EQ(WidgetSection { Rows::sessions }.title(), LocalizedText { "Claude" });
    EXPECT_EQ(WidgetSection { Rows::groups }.title(), LocalizedText { "Grupos" });
    EXPECT_EQ(WidgetSection { Rows::items }.title(), LocalizedText { "Itens" });
    EXPECT_EQ(WidgetSection::titleFontSize, 9.5);
    EXPECT_EQ(WidgetSection::topPadding, 3);
    EXPECT_EQ(WidgetSection::titleColor, Color::of(Color::Named::tertiary));
}

TEST(FamilyCompositionTests, LargeShowsOnlyTheSectionsThatHaveRows)
{
    EXPECT_EQ(rows(FamilyComposition { true, true, true }.largeSections()), (std::vector<Rows> { Rows::sessions, Rows::groups, Rows::items }));
    EXPECT_EQ(rows(FamilyComposition { false, true, true }.largeSections()), (std::vector<Rows> { Rows::groups, Rows::items }));
    EXPECT_EQ(rows(FamilyComposition { true, false, false }.largeSections()), (std::vector<Rows> { Rows::sessions }));
    EXPECT_TRUE(FamilyComposition {}.largeSections().empty());
}

TEST(FamilyCompositionTests, MediumWithoutSessionsHasNoSessionColumn)
{
    EXPECT_FALSE((FamilyComposition { false, true, true }).mediumShowsSessionColumn());
    EXPECT_TRUE((FamilyComposition { true, false, false }).mediumShowsSessionColumn());
    EXPECT_EQ(FamilyComposition::mediumSessionColumnWidth, 112);
}

TEST(FamilyCompositionTests, ExtraLargeWithOnlyItemsHasNoLeftColumn)
{
    const FamilyComposition onlyItems { false, false, true };
    EXPECT_FALSE(onlyItems.extraLargeShowsLeftColumn());
    EXPECT_TRUE(onlyItems.extraLargeLeftSections().empty());
    EXPECT_TRUE(onlyItems.extraLargeShowsItems());
}

TEST(FamilyCompositionTests, ExtraLargeLeftColumn)
{
    EXPECT_EQ(rows(FamilyComposition { true, true, true }.extraLargeLeftSections()), (std::vector<Rows> { Rows::sessions, Rows::groups }));
    EXPECT_EQ(rows(FamilyComposition { false, true, false }.extraLargeLeftSections()), (std::vector<Rows> { Rows::groups }));
    EXPECT_TRUE((FamilyComposition { false, true, false }).extraLargeShowsLeftColumn());
    EXPECT_FALSE((FamilyComposition { false, true, false }).extraLargeShowsItems());
    // The extra-large family is 766 wide with margins of 16: W = 734.
    EXPECT_DOUBLE_EQ(FamilyComposition::extraLargeLeftColumnWidth(734), (734 - 29) * 0.55);
}

}
}
