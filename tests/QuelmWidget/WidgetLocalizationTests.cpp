// SPDX-License-Identifier: MIT
#include "Text/WidgetLocalization.h"

#include <gtest/gtest.h>

#include <set>

namespace quelm {
namespace {

// Stands for the installed translations: only English.
const WidgetLocalization::HasTranslation onlyEnglish = [](std::string_view language) { return language == "en"; };

TEST(WidgetLocalizationTests, NoLanguageUsesTheBaseTextsAndTheCurrentLocale)
{
    bool asked = false;
    const auto result = WidgetLocalization::choose(std::nullopt, [&](std::string_view) { asked = true; return true; }, "de_DE");
    EXPECT_EQ(result, (WidgetLocalization { std::nullopt, "de_DE" }));
    EXPECT_FALSE(asked);
}

TEST(WidgetLocalizationTests, LanguageWithATranslationIsUsed)
{
    EXPECT_EQ(WidgetLocalization::choose("en", onlyEnglish, "pt_BR"), (WidgetLocalization { "en", "en" }));
}

TEST(WidgetLocalizationTests, LanguageWithoutATranslationFallsBackSilentlyButKeepsItsLocale)
{
    EXPECT_EQ(WidgetLocalization::choose("fr", onlyEnglish, "pt_BR"), (WidgetLocalization { std::nullopt, "fr" }));
    // Case matters, as for a folder name.
    EXPECT_EQ(WidgetLocalization::choose("EN", onlyEnglish, "pt_BR"), (WidgetLocalization { std::nullopt, "EN" }));
}

TEST(WidgetLocalizationTests, MissingPredicateMeansNoTranslations)
{
    EXPECT_EQ(WidgetLocalization::choose("en", {}, "pt_BR"), (WidgetLocalization { std::nullopt, "en" }));
}

TEST(WidgetLocalizationTests, NamesThatCouldBePathsAreNeverLookedUp)
{
    std::set<std::string> asked;
    const WidgetLocalization::HasTranslation everything = [&](std::string_view language) {
        asked.emplace(language);
        return true;
    };
    for (const std::string language : { "", "../en", "en/x", ".", "..", "en.qm", "e n", "en\n" }) {
        SCOPED_TRACE(language);
        EXPECT_EQ(WidgetLocalization::choose(language, everything, "C").translation, std::nullopt);
    }
    EXPECT_TRUE(asked.empty());
    for (const std::string language : { "pt_BR", "pt-BR", "zh-Hans", "sr@latin", "en" })
        EXPECT_EQ(WidgetLocalization::choose(language, everything, "C").translation, language);
}

TEST(WidgetLocalizationTests, TranslationFileName)
{
    EXPECT_EQ(WidgetLocalization::translationFileName("en"), "quelm_en.qm");
    EXPECT_EQ(WidgetLocalization::translationFileName("pt_BR"), "quelm_pt_BR.qm");
}

}
}
