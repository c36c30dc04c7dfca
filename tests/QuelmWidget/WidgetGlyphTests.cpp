// SPDX-License-Identifier: MIT
#include "Look/WidgetGlyph.h"

#include <gtest/gtest.h>

#include <string>

namespace quelm {
namespace {

const Color secondary = Color::of(Color::Named::secondary);

TEST(WidgetGlyphTests, KnownCategoriesHaveTheirSymbolAndTint)
{
    EXPECT_EQ(WidgetGlyph::styleFor("node"), (WidgetGlyph::Style { "leaf.fill", Color::rgb(0.42, 0.80, 0.47) }));
    EXPECT_EQ(WidgetGlyph::styleFor("docker"), (WidgetGlyph::Style { "shippingbox.fill", Color::rgb(0.35, 0.68, 0.95) }));
    EXPECT_EQ(WidgetGlyph::styleFor("kubernetes"), (WidgetGlyph::Style { "helm", Color::rgb(0.36, 0.78, 0.80) }));
    EXPECT_EQ(WidgetGlyph::styleFor("database"), (WidgetGlyph::Style { "cylinder.fill", Color::rgb(0.96, 0.66, 0.32) }));
    EXPECT_EQ(WidgetGlyph::styleFor("server"), (WidgetGlyph::Style { "dot.radiowaves.left.and.right", Color::rgb(0.55, 0.62, 0.98) }));
}

TEST(WidgetGlyphTests, AnyOtherCategoryIsTheSecondaryHexagonGrid)
{
    for (const std::string category : { "", "Node", "NODE", " node", "node ", "python", "Docker", "servers" }) {
        SCOPED_TRACE(category);
        EXPECT_EQ(WidgetGlyph::styleFor(category), (WidgetGlyph::Style { "circle.hexagongrid.fill", secondary }));
        EXPECT_EQ(WidgetGlyph::tint(category), secondary);
        EXPECT_EQ(WidgetGlyph::rank(category), 99);
    }
}

TEST(WidgetGlyphTests, CapitalNodeIsUnknown)
{
    const WidgetGlyph glyph { "Node", true };
    EXPECT_EQ(glyph.style().symbol, "circle.hexagongrid.fill");
    EXPECT_EQ(glyph.style().tint, secondary);
}

TEST(WidgetGlyphTests, TintIsTheStyleTint)
{
    for (const std::string category : { "node", "docker", "kubernetes", "database", "server", "other" })
        EXPECT_EQ(WidgetGlyph::tint(category), WidgetGlyph::styleFor(category).tint) << category;
}

TEST(WidgetGlyphTests, RanksFollowTheTableOrder)
{
    EXPECT_EQ(WidgetGlyph::rank("node"), 0);
    EXPECT_EQ(WidgetGlyph::rank("docker"), 1);
    EXPECT_EQ(WidgetGlyph::rank("kubernetes"), 2);
    EXPECT_EQ(WidgetGlyph::rank("database"), 3);
    EXPECT_EQ(WidgetGlyph::rank("server"), 4);
    EXPECT_EQ(WidgetGlyph::rank("Server"), 99);
}

TEST(WidgetGlyphTests, StyleFollowsTheCategoryField)
{
    EXPECT_EQ(WidgetGlyph({ "docker", false }).style(), WidgetGlyph::styleFor("docker"));
}

TEST(WidgetGlyphTests, RunningGlyphIsTintedWithAHalo)
{
    const GlyphLook look = WidgetGlyph { "node", true }.look();
    EXPECT_EQ(look.symbol, "leaf.fill");
    EXPECT_EQ(look.color, Color::rgb(0.42, 0.80, 0.47));
    EXPECT_EQ(look.opacity, 1.0);
    ASSERT_TRUE(look.halo.has_value());
    EXPECT_EQ(*look.halo, Color::rgb(0.42, 0.80, 0.47, 0.55));
    EXPECT_EQ(look.fontSize, 12);
}

TEST(WidgetGlyphTests, StoppedGlyphIsFadedSecondaryWithoutHaloAndKeepsItsWidth)
{
    const GlyphLook look = WidgetGlyph { "node", false }.look();
    EXPECT_EQ(look.symbol, "leaf.fill");
    EXPECT_EQ(look.color, secondary);
    EXPECT_EQ(look.opacity, 0.45);
    EXPECT_FALSE(look.halo.has_value());
    EXPECT_EQ(look.fontSize, 12);
    EXPECT_EQ(GlyphLook::width, 16);
    EXPECT_EQ(GlyphLook::haloRadius, 3);
}

TEST(WidgetGlyphTests, RunningUnknownCategoryUsesSecondaryAsTint)
{
    const GlyphLook look = WidgetGlyph { "python", true }.look();
    EXPECT_EQ(look.symbol, "circle.hexagongrid.fill");
    EXPECT_EQ(look.color, secondary);
    EXPECT_EQ(look.opacity, 1.0);
    EXPECT_EQ(look.halo, secondary.withAlpha(0.55));
}

}
}
