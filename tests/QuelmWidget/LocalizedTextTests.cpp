// SPDX-License-Identifier: MIT
#include "Text/LocalizedText.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace quelm {
namespace {

TEST(LocalizedTextTests, TextWithoutPlaceholdersStaysAsItIs)
{
    EXPECT_EQ(LocalizedText { "Parado" }.baseText(), "Parado");
    EXPECT_EQ(LocalizedText { "Parado" }.format("Stopped"), "Stopped");
    EXPECT_EQ(LocalizedText { "" }.baseText(), "");
}

TEST(LocalizedTextTests, PlaceholdersTakeTheArgumentsInOrder)
{
    const LocalizedText text { "Grupo · %lld de %lld", { 1, 3 } };
    EXPECT_EQ(text.baseText(), "Grupo · 1 de 3");
    EXPECT_EQ(text.format("Group · %lld of %lld"), "Group · 1 of 3");
    EXPECT_EQ(text.format("%lld/%lld"), "1/3");
}

TEST(LocalizedTextTests, PositionalPlaceholdersMayReorder)
{
    const LocalizedText text { "Grupo · %lld de %lld", { 1, 3 } };
    EXPECT_EQ(text.format("%2$lld members, %1$lld running"), "3 members, 1 running");
    EXPECT_EQ(text.format("%1$lld-%1$lld"), "1-1");
    // A position past the arguments stays as it stands.
    EXPECT_EQ(text.format("%3$lld"), "%3$lld");
    EXPECT_EQ(text.format("%0$lld"), "%0$lld");
}

TEST(LocalizedTextTests, NegativeAndLargeNumbers)
{
    EXPECT_EQ((LocalizedText { "%lld", { -5 } }).baseText(), "-5");
    EXPECT_EQ((LocalizedText { "%lld", { 9223372036854775807LL } }).baseText(), "9223372036854775807");
}

TEST(LocalizedTextTests, MissingArgumentsAndOtherPercentSequencesStay)
{
    EXPECT_EQ((LocalizedText { "%lld rodando" }).baseText(), "%lld rodando");
    EXPECT_EQ((LocalizedText { "%lld e %lld", { 2 } }).baseText(), "2 e %lld");
    EXPECT_EQ((LocalizedText { "100%% %d %s %", { 2 } }).baseText(), "100% %d %s %");
    EXPECT_EQ((LocalizedText { "%ll", { 2 } }).baseText(), "%ll");
}

TEST(LocalizedTextTests, ExtraArgumentsAreIgnored)
{
    EXPECT_EQ((LocalizedText { "Grupo · tudo rodando", { 3, 3 } }).baseText(), "Grupo · tudo rodando");
}

TEST(LocalizedTextTests, NumbersMayBeWrittenByTheLocale)
{
    const LocalizedText text { "%lld rodando", { 1234 } };
    EXPECT_EQ(text.format("%lld running", [](long long n) { return "<" + std::to_string(n) + ">"; }), "<1234> running");
}

TEST(LocalizedTextTests, LocalizedLooksTheKeyUp)
{
    const LocalizedText text { "%lld rodando", { 4 } };
    EXPECT_EQ(text.localized([](std::string_view key, std::optional<long long>) { return key == "%lld rodando" ? std::string("%lld running") : std::string(key); }),
        "4 running");
    EXPECT_EQ(text.localized({}), "4 rodando");
}

TEST(LocalizedTextTests, TheFirstNumberChoosesTheForm)
{
    std::vector<std::optional<long long>> counts;
    const auto translate = [&](std::string_view, std::optional<long long> count) {
        counts.push_back(count);
        return std::string(count == 1 ? "Group · %lld item" : "Group · %lld items");
    };
    EXPECT_EQ((LocalizedText { "Grupo · %lld itens", { 1 } }).localized(translate), "Group · 1 item");
    EXPECT_EQ((LocalizedText { "Grupo · %lld itens", { 2 } }).localized(translate), "Group · 2 items");
    EXPECT_EQ((LocalizedText { "Parado" }).localized(translate), "Group · %lld items");
    EXPECT_EQ(counts, (std::vector<std::optional<long long>> { 1, 2, std::nullopt }));
}

TEST(LocalizedTextTests, MultibyteTextIsKept)
{
    EXPECT_EQ((LocalizedText { "Iniciando…" }).baseText(), "Iniciando…");
    EXPECT_EQ((LocalizedText { "Grupo · %lld itens", { 3 } }).baseText(), "Grupo · 3 itens");
}

}
}
