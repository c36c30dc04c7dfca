// SPDX-License-Identifier: MIT
#include "Rows/SessionRow.h"

#include <gtest/gtest.h>

#include <optional>

namespace quelm {
namespace {

using State = WidgetSession::State;

const Color secondary = Color::of(Color::Named::secondary);
const Color orange = Color::of(Color::Named::orange);
const Color coral = Color::rgb(0.93, 0.58, 0.47);

WidgetSession session(State state)
{
    return WidgetSession { "abc", "Fix the build", "quelm", state };
}

std::string english(std::string_view key, std::optional<long long> = std::nullopt)
{
    if (key == "precisa de aprovação")
        return "needs approval";
    if (key == "trabalhando")
        return "working";
    return std::string(key);
}

TEST(SessionRowTests, StateTable)
{
    EXPECT_EQ(SessionRow::style(State::working),
        (SessionRow::Style { "trabalhando", secondary, { "sparkle", coral, 1.0, coral.withAlpha(0.5), 11 } }));
    EXPECT_EQ(SessionRow::style(State::needsApproval),
        (SessionRow::Style { "precisa de aprovação", orange, { "exclamationmark.bubble.fill", orange, 1.0, std::nullopt, 11 } }));
    EXPECT_EQ(SessionRow::style(State::waitingForInput),
        (SessionRow::Style { "aguardando você", secondary, { "sparkle", secondary, 0.6, std::nullopt, 11 } }));
}

TEST(SessionRowTests, TintIsWarmCoral)
{
    EXPECT_EQ(SessionRow::tint, Color::rgb(0.93, 0.58, 0.47, 1));
}

TEST(SessionRowTests, CompactSessionAwaitingApproval)
{
    const SessionRow row(session(State::needsApproval), true);
    EXPECT_EQ(row.firstLine(), "quelm");
    EXPECT_EQ(row.secondLine(), (SessionRow::SecondLine { "", LocalizedText { "precisa de aprovação" } }));
    EXPECT_EQ(row.secondLine().shown({}), "precisa de aprovação");
    EXPECT_EQ(row.secondLine().shown(english), "needs approval");
    EXPECT_EQ(row.statusColor(), orange);
    EXPECT_EQ(row.glyph().symbol, "exclamationmark.bubble.fill");
    EXPECT_EQ(row.glyph().color, orange);
}

TEST(SessionRowTests, FullRowShowsTitleThenProjectAndStatus)
{
    const SessionRow row(session(State::working), false);
    EXPECT_EQ(row.firstLine(), "Fix the build");
    EXPECT_EQ(row.secondLine().shown({}), "quelm · trabalhando");
    EXPECT_EQ(row.secondLine().shown(english), "quelm · working");
    EXPECT_EQ(row.status(), LocalizedText { "trabalhando" });
    EXPECT_EQ(row.statusColor(), secondary);
}

TEST(SessionRowTests, LinksToTheSessionAddress)
{
    const SessionRow row(session(State::working), false);
    ASSERT_TRUE(row.url().has_value());
    EXPECT_EQ(row.url(), session(State::working).url());
    EXPECT_EQ(row.destination(), "quelm://session/abc");
}

TEST(SessionRowTests, WithoutAddressOpensTheApp)
{
    EXPECT_EQ(SessionRow(session(State::needsApproval), true, std::nullopt).destination(), "quelm://open");
    EXPECT_EQ(SessionRow(session(State::needsApproval), true, std::string()).destination(), "quelm://open");
    EXPECT_EQ(SessionRow(session(State::working), false, "quelm://session/x").destination(), "quelm://session/x");
}

TEST(SessionRowTests, SessionWhoseAddressCannotBeFormedOpensTheApp)
{
    WidgetSession broken = session(State::waitingForInput);
    broken.id = "\xff\xfe";
    const SessionRow row(broken, false);
    EXPECT_FALSE(row.url().has_value());
    EXPECT_EQ(row.destination(), "quelm://open");
}

}
}
