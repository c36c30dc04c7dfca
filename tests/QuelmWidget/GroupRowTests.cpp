// SPDX-License-Identifier: MIT
#include "Rows/GroupRow.h"

#include <gtest/gtest.h>

#include <optional>

namespace quelm {
namespace {

using Transition = WidgetItem::Transition;
using Action = WidgetCommand::Action;

const Color primary = Color::of(Color::Named::primary);
const Color secondary = Color::of(Color::Named::secondary);
const Color accent = Color::of(Color::Named::accent);
const GlyphLook alive { "square.stack.3d.up.fill", accent, 1.0, accent.withAlpha(0.5), 11 };
const GlyphLook idle { "square.stack.3d.up.fill", secondary, 0.45, std::nullopt, 11 };

WidgetGroup group(std::int64_t running, std::int64_t members, bool active, std::optional<Transition> transition = std::nullopt)
{
    return WidgetGroup("group:x", "Backend", members, running, active, transition);
}

std::string english(std::string_view key, std::optional<long long> = std::nullopt)
{
    if (key == "Grupo · %lld itens")
        return "Group · %lld items";
    if (key == "Grupo · %lld de %lld")
        return "Group · %lld of %lld";
    return std::string(key);
}

TEST(GroupRowTests, NoMemberRunningCountsTheMembers)
{
    const GroupRow row { group(0, 3, false) };
    EXPECT_EQ(row.detail(), (LocalizedText { "Grupo · %lld itens", { 3 } }));
    EXPECT_EQ(row.detail().baseText(), "Grupo · 3 itens");
    EXPECT_EQ(row.detail().localized(english), "Group · 3 items");
    EXPECT_EQ(row.glyph(), idle);
    EXPECT_EQ(row.nameColor(), secondary);
}

TEST(GroupRowTests, AllMembersRunning)
{
    const GroupRow row { group(3, 3, true) };
    EXPECT_EQ(row.detail(), LocalizedText { "Grupo · tudo rodando" });
    EXPECT_EQ(row.glyph(), alive);
    EXPECT_EQ(row.nameColor(), primary);
}

TEST(GroupRowTests, SomeMembersRunning)
{
    const GroupRow row { group(1, 3, true) };
    EXPECT_EQ(row.detail(), (LocalizedText { "Grupo · %lld de %lld", { 1, 3 } }));
    EXPECT_EQ(row.detail().baseText(), "Grupo · 1 de 3");
    EXPECT_EQ(row.detail().localized(english), "Group · 1 of 3");
}

TEST(GroupRowTests, IsActivePlaysNoPartInTheDetail)
{
    EXPECT_EQ((GroupRow { group(0, 3, true) }).detail(), (GroupRow { group(0, 3, false) }).detail());
    EXPECT_EQ((GroupRow { group(3, 3, false) }).detail(), LocalizedText { "Grupo · tudo rodando" });
}

TEST(GroupRowTests, StoppingGroupWithRunningMembersStaysAlive)
{
    const GroupRow row { group(2, 3, true, Transition::stopping) };
    EXPECT_EQ(row.detail(), LocalizedText { "Parando…" });
    EXPECT_EQ(row.glyph(), alive);
    EXPECT_EQ(row.nameColor(), primary);
    EXPECT_EQ(row.button().symbol(), "play.fill");
    EXPECT_FALSE(row.button().enabled());
    EXPECT_FALSE(row.button().start());
}

TEST(GroupRowTests, TransitionWinsOverPending)
{
    EXPECT_EQ((GroupRow { group(0, 3, false, Transition::starting), Action::stop }).detail(), LocalizedText { "Iniciando…" });
    EXPECT_EQ((GroupRow { group(0, 3, false, Transition::stopping), Action::start }).detail(), LocalizedText { "Parando…" });
    // Stopping by transition, even with a pending start: not starting.
    const GroupRow stopping { group(0, 3, false, Transition::stopping), Action::start };
    EXPECT_FALSE(stopping.isStarting());
    EXPECT_EQ(stopping.glyph(), idle);
    EXPECT_EQ(stopping.nameColor(), secondary);
}

TEST(GroupRowTests, PendingCommands)
{
    const GroupRow starting { group(0, 3, false), Action::start };
    EXPECT_EQ(starting.detail(), LocalizedText { "Iniciando…" });
    EXPECT_TRUE(starting.isStarting());
    EXPECT_EQ(starting.glyph(), alive);
    EXPECT_EQ(starting.nameColor(), primary);
    EXPECT_EQ(starting.button().symbol(), "stop.fill");
    EXPECT_FALSE(starting.button().enabled());
    EXPECT_TRUE(starting.button().start());

    const GroupRow stopping { group(0, 3, true), Action::stop };
    EXPECT_EQ(stopping.detail(), LocalizedText { "Parando…" });
    EXPECT_EQ(stopping.glyph(), idle);
    EXPECT_EQ(stopping.nameColor(), secondary);
    EXPECT_EQ(stopping.button().symbol(), "play.fill");
    EXPECT_FALSE(stopping.button().start());
}

TEST(GroupRowTests, StartingByTransitionLooksAlive)
{
    const GroupRow row { group(0, 3, false, Transition::starting) };
    EXPECT_TRUE(row.isStarting());
    EXPECT_EQ(row.glyph(), alive);
    EXPECT_EQ(row.nameColor(), primary);
}

TEST(GroupRowTests, ButtonCarriesTheGroupIdUnchanged)
{
    const GroupRow row { group(0, 3, false) };
    EXPECT_EQ(row.button().id, "group:x");
    EXPECT_TRUE(row.button().enabled());
    EXPECT_EQ(row.button().symbol(), "play.fill");
    EXPECT_TRUE(row.button().start());
    EXPECT_EQ((GroupRow { WidgetGroup("plain", "P", 1, 1, true) }).button().id, "plain");
}

TEST(GroupRowTests, CompactHidesTheDetail)
{
    EXPECT_FALSE((GroupRow { group(0, 3, false), std::nullopt, true }).showsDetail());
    EXPECT_TRUE((GroupRow { group(0, 3, false) }).showsDetail());
}

}
}
