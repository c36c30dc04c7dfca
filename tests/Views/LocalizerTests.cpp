// SPDX-License-Identifier: MIT
#include "TestSupport.h"
#include "ViewsTestSupport.h"

#include "Views/Localizer.h"
#include "Text/RelativeTime.h"

using namespace quelm;
using namespace quelm::test;
using views::Localizer;

namespace {
class LocalizerTest : public ViewsTest { };
}

TEST_F(LocalizerTest, EnglishIsShippedAndTranslatesEveryText)
{
    EXPECT_TRUE(Localizer::hasTranslation("en"));
    const Localizer english = Localizer::forSnapshotLanguage("en", fixedLocale);
    ASSERT_EQ(english.localization().translation, "en");
    EXPECT_EQ(english.translate("Nada rodando"), "Nothing running");
    EXPECT_EQ(english.text({ "Grupo · %lld de %lld", { 1, 3 } }), "Group · 1 of 3");
    EXPECT_EQ(english.translate("Iniciando…"), "Starting…");
}

TEST_F(LocalizerTest, EnglishCountsInTheSingularAndThePlural)
{
    const Localizer english = Localizer::forSnapshotLanguage("en", fixedLocale);
    EXPECT_EQ(english.text({ "Grupo · %lld itens", { 1 } }), "Group · 1 item");
    EXPECT_EQ(english.text({ "Grupo · %lld itens", { 0 } }), "Group · 0 items");
    EXPECT_EQ(english.text({ "Grupo · %lld itens", { 2 } }), "Group · 2 items");
    EXPECT_EQ(english.text({ "Grupo · %lld itens", { 1200 } }), "Group · 1,200 items");
    // Texts without plural forms keep their one translation whatever the count.
    EXPECT_EQ(english.text({ "%lld rodando", { 2 } }), "2 running");
    EXPECT_EQ(english.text({ "Grupo · %lld de %lld", { 3, 3 } }), "Group · 3 of 3");
    // The base texts stay as the rows give them.
    const Localizer base = Localizer::forSnapshotLanguage("xx", fixedLocale);
    EXPECT_EQ(base.text({ "Grupo · %lld itens", { 1 } }), "Grupo · 1 itens");
}

TEST_F(LocalizerTest, LanguageWithoutTranslationGivesBaseTextsSilently)
{
    EXPECT_FALSE(Localizer::hasTranslation("xx"));
    const Localizer unknown = Localizer::forSnapshotLanguage("xx", fixedLocale);
    EXPECT_FALSE(unknown.localization().translation);
    EXPECT_EQ(unknown.localization().locale, "xx");
    EXPECT_EQ(unknown.translate("Nada rodando"), "Nada rodando");
}

TEST_F(LocalizerTest, NoLanguageGivesBaseTextsInTheUsersLocale)
{
    const Localizer none = Localizer::forSnapshotLanguage(std::nullopt, "en_US.UTF-8");
    EXPECT_FALSE(none.localization().translation);
    EXPECT_EQ(none.translate("Parado"), "Parado");
    EXPECT_EQ(none.number(12345), "12,345");
}

TEST_F(LocalizerTest, LanguageThatLooksLikeAPathIsNeverLoaded)
{
    EXPECT_FALSE(Localizer::hasTranslation("../en"));
    EXPECT_FALSE(Localizer::hasTranslation("en/../en"));
    EXPECT_FALSE(Localizer::forSnapshotLanguage("../i18n/quelm_en", fixedLocale).localization().translation);
}

TEST_F(LocalizerTest, NumbersFollowTheLocale)
{
    EXPECT_EQ(Localizer::forSnapshotLanguage("pt-BR", "").number(1234567), "1.234.567");
    EXPECT_EQ(Localizer::forSnapshotLanguage("en", "").number(1234567), "1,234,567");
    EXPECT_EQ(Localizer::forSnapshotLanguage("en", "").number(7), "7");
}

TEST_F(LocalizerTest, RelativeTimesFollowTheLocale)
{
    const Localizer english = Localizer::forSnapshotLanguage("en", fixedLocale);
    const Date started = fixedNow.addingSeconds(-600);
    EXPECT_EQ(english.relativeTime(started, fixedNow), RelativeTime::text(started, fixedNow, "en"));
    EXPECT_NE(english.relativeTime(started, fixedNow).find("10"), std::string::npos);
}

TEST_F(LocalizerTest, NumbersAndTimesWrittenBeforeAreWrittenTheSameAgainInTheirOwnLocale)
{
    const Localizer brazilian = Localizer::forSnapshotLanguage("pt-BR", "");
    const Localizer english = Localizer::forSnapshotLanguage("en", "");
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(brazilian.number(5173), "5.173");
        EXPECT_EQ(english.number(5173), "5,173");
        for (const double seconds : { 0.0, 0.4, 59.9, 600.0, 3 * 3600.0 + 120, 2 * 86400.0 + 3600 }) {
            const Date started = fixedNow.addingSeconds(-seconds);
            EXPECT_EQ(brazilian.relativeTime(started, fixedNow), RelativeTime::text(started, fixedNow, "pt-BR")) << seconds;
            EXPECT_EQ(english.relativeTime(started, fixedNow), RelativeTime::text(started, fixedNow, "en")) << seconds;
        }
    }
    const Date daysAgo = fixedNow.addingSeconds(-(2 * 86400.0 + 3600));
    EXPECT_NE(brazilian.relativeTime(daysAgo, fixedNow), english.relativeTime(daysAgo, fixedNow));
}

TEST_F(LocalizerTest, CurrentLocaleComesFromTheEnvironment)
{
    const ScopedEnvironment all("LC_ALL", std::nullopt);
    const ScopedEnvironment messages("LC_MESSAGES", "fr_FR.UTF-8");
    const ScopedEnvironment lang("LANG", "de_DE.UTF-8");
    EXPECT_EQ(Localizer::currentLocaleName(), "fr_FR.UTF-8");
    const ScopedEnvironment override("LC_ALL", "en_GB.UTF-8");
    EXPECT_EQ(Localizer::currentLocaleName(), "en_GB.UTF-8");
}
