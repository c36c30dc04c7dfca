// SPDX-License-Identifier: MIT
#include "Text/QuelmMarkLabel.h"
#include "Rows/WidgetHeader.h"

#include <gtest/gtest.h>

#include <optional>

namespace quelm {
namespace {

WidgetItem item(std::string id, bool running)
{
    return WidgetItem { std::move(id), "T", "node", running };
}

TEST(WidgetHeaderTests, RunningCountCountsEveryRunningItemOnly)
{
    EXPECT_EQ(runningCount(WidgetSnapshot::empty), 0);
    WidgetSnapshot snapshot;
    for (int i = 0; i < 20; ++i)
        snapshot.items.push_back(item(std::to_string(i), i % 2 == 0));
    snapshot.groups = { WidgetGroup("group:g", "G", 5, 5, true) };
    snapshot.sessions = { WidgetSession { "s", "S", "p", WidgetSession::State::working } };
    EXPECT_EQ(runningCount(snapshot), 10);
}

TEST(WidgetHeaderTests, RunningCountIgnoresTransitions)
{
    WidgetSnapshot snapshot;
    WidgetItem starting = item("a", false);
    starting.transition = WidgetItem::Transition::starting;
    WidgetItem stopping = item("b", true);
    stopping.transition = WidgetItem::Transition::stopping;
    snapshot.items = { starting, stopping };
    EXPECT_EQ(runningCount(snapshot), 1);
}

TEST(WidgetHeaderTests, ExactlyOneHasItsOwnText)
{
    EXPECT_EQ(runningCountText(1), LocalizedText { "1 rodando" });
    EXPECT_EQ(runningCountText(1).baseText(), "1 rodando");
}

TEST(WidgetHeaderTests, ZeroUsesThePluralForm)
{
    EXPECT_EQ(runningCountText(0), (LocalizedText { "%lld rodando", { 0 } }));
    EXPECT_EQ(runningCountText(0).baseText(), "0 rodando");
}

TEST(WidgetHeaderTests, ManyUseThePluralForm)
{
    EXPECT_EQ(runningCountText(2), (LocalizedText { "%lld rodando", { 2 } }));
    EXPECT_EQ(runningCountText(14).localized([](std::string_view, std::optional<long long>) { return std::string("%lld running"); }), "14 running");
}

TEST(WidgetHeaderTests, HeaderFromSnapshot)
{
    WidgetSnapshot snapshot;
    snapshot.items = { item("a", true), item("b", false) };
    const WidgetHeader header = WidgetHeader::of(snapshot);
    EXPECT_EQ(header.runningCount, 1);
    EXPECT_TRUE(header.markRunning());
    EXPECT_EQ(header.countText(), LocalizedText { "1 rodando" });
    EXPECT_EQ(WidgetHeader::title(), LocalizedText { "Quelm" });

    const WidgetHeader idle = WidgetHeader::of(WidgetSnapshot::empty);
    EXPECT_FALSE(idle.markRunning());
    EXPECT_EQ(idle.countText(), (LocalizedText { "%lld rodando", { 0 } }));
}

TEST(QuelmMarkLabelTests, RunningIsLocalisedOtherwisePlainQuelm)
{
    EXPECT_EQ(QuelmMarkLabel::forRunning(true), (QuelmMarkLabel { "Quelm, com itens rodando", true }));
    EXPECT_EQ(QuelmMarkLabel::forRunning(false), (QuelmMarkLabel { "Quelm", false }));
}

}
}
