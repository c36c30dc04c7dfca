// SPDX-License-Identifier: MIT
#include "Host/HostTexts.h"

#include "HostTestSupport.h"
#include "Text/LocalizationKeys.h"

#include <gtest/gtest.h>

#include <QTranslator>

#include <set>
#include <string>

using namespace quelm;
using namespace quelm::host;

namespace {

class HostTextsTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { test::hostApplication(); }

    void SetUp() override { ASSERT_TRUE(m_english.load(QStringLiteral(":/quelm/i18n/quelm_en.qm"))); }

    QString english(std::string_view context, std::string_view key) const
    {
        return m_english.translate(std::string(context).c_str(), std::string(key).c_str());
    }

private:
    QTranslator m_english;
};

}

TEST_F(HostTextsTest, KeysAreDistinctAndNonEmpty)
{
    const std::set<std::string_view> distinct(HostTexts::all.begin(), HostTexts::all.end());
    EXPECT_EQ(distinct.size(), HostTexts::all.size());
    EXPECT_FALSE(distinct.contains(""));
}

TEST_F(HostTextsTest, EnglishTranslatesEveryHostText)
{
    for (const std::string_view key : HostTexts::all) {
        SCOPED_TRACE(key);
        EXPECT_FALSE(english(HostTexts::context, key).isEmpty());
    }
}

TEST_F(HostTextsTest, EnglishSamples)
{
    EXPECT_EQ(english(HostTexts::context, HostTexts::edit), QStringLiteral("Edit widget"));
    EXPECT_EQ(english(HostTexts::context, HostTexts::add), QStringLiteral("Add widget…"));
    EXPECT_EQ(english(HostTexts::context, HostTexts::extraLarge), QStringLiteral("Extra large"));
    EXPECT_EQ(english(HostTexts::context, HostTexts::requestFailed), QStringLiteral("Could not send the request."));
}

TEST_F(HostTextsTest, TheEditSheetsTextsAreTheWidgetsOwn)
{
    for (const std::string_view key : { "Ordenar por", "Tipo de processo", "Iniciados por último", "Quelm",
             "O que está rodando na sua máquina, com iniciar e parar." }) {
        SCOPED_TRACE(key);
        EXPECT_TRUE(LocalizationKeys::contains(key));
        EXPECT_FALSE(HostTexts::contains(key));
        EXPECT_FALSE(english(LocalizationKeys::context, key).isEmpty());
    }
    EXPECT_EQ(english(LocalizationKeys::context, "Ordenar por"), QStringLiteral("Sort by"));
}

TEST_F(HostTextsTest, WithoutATranslationTheKeysAreShown)
{
    EXPECT_EQ(hostText(HostTexts::remove), QStringLiteral("Remover widget"));
    EXPECT_EQ(widgetText("Iniciados por último"), QStringLiteral("Iniciados por último"));
}

TEST_F(HostTextsTest, TheUsersLanguageIsInstalled)
{
    test::ScopedEnvironment all("LC_ALL", "en_US.UTF-8");
    ASSERT_TRUE(installTranslation(test::hostApplication()));
    EXPECT_EQ(hostText(HostTexts::remove), QStringLiteral("Remove widget"));
    EXPECT_EQ(widgetText("Tipo de processo"), QStringLiteral("Process type"));
    for (QTranslator* translator : test::hostApplication().findChildren<QTranslator*>()) {
        QCoreApplication::removeTranslator(translator);
        translator->deleteLater();
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(hostText(HostTexts::remove), QStringLiteral("Remover widget"));
}

TEST_F(HostTextsTest, ALanguageWithoutATranslationKeepsTheBaseTexts)
{
    test::ScopedEnvironment all("LC_ALL", "xx_YY.UTF-8");
    EXPECT_FALSE(installTranslation(test::hostApplication()));
    test::ScopedEnvironment posix("LC_ALL", "C");
    EXPECT_FALSE(installTranslation(test::hostApplication()));
    EXPECT_EQ(hostText(HostTexts::remove), QStringLiteral("Remover widget"));
}
