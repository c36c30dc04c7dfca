// SPDX-License-Identifier: MIT
#include "Layout/WidgetContent.h"

#include <gtest/gtest.h>

namespace quelm {
namespace {

using AppStatus = SharedStore::AppStatus;
using Kind = WidgetContent::Kind;

constexpr WidgetFamily families[] = {
    WidgetFamily::small, WidgetFamily::medium, WidgetFamily::large, WidgetFamily::extraLarge
};

WidgetSnapshot fullSnapshot()
{
    WidgetSnapshot snapshot;
    snapshot.items = { WidgetItem { "a", "A", "node", true } };
    snapshot.groups = { WidgetGroup("group:g", "G", 1, 1, true) };
    snapshot.sessions = { WidgetSession { "s", "S", "p", WidgetSession::State::needsApproval } };
    snapshot.language = "en";
    return snapshot;
}

TEST(WidgetContentTests, ClosedAppShowsItsMessageWhateverTheSnapshot)
{
    for (const WidgetFamily family : families) {
        for (const WidgetSnapshot& snapshot : { WidgetSnapshot::empty, fullSnapshot() }) {
            const WidgetContent content = WidgetContent::choose(AppStatus::notRunning, snapshot, family);
            EXPECT_EQ(content.kind, Kind::closedMessage);
            ASSERT_TRUE(content.isMessage());
            EXPECT_EQ(content.message(), (WidgetMessage { { "Quelm está fechado" }, LocalizedText { "Toque para abrir" }, "quelm://open" }));
        }
    }
}

TEST(WidgetContentTests, NoAccessShowsItsMessageWithoutTap)
{
    for (const WidgetFamily family : families) {
        for (const WidgetSnapshot& snapshot : { WidgetSnapshot::empty, fullSnapshot() }) {
            const WidgetContent content = WidgetContent::choose(AppStatus::noAccess, snapshot, family);
            EXPECT_EQ(content.kind, Kind::noAccessMessage);
            const auto message = content.message();
            ASSERT_TRUE(message.has_value());
            EXPECT_EQ(message->title, LocalizedText { "Sem acesso aos dados" });
            EXPECT_EQ(message->subtitle, LocalizedText { "Reinstale o Quelm" });
            EXPECT_FALSE(message->tapAddress.has_value());
        }
    }
}

TEST(WidgetContentTests, RunningWithNothingShowsNothingRunningWithoutSubtitle)
{
    for (const WidgetFamily family : families) {
        const WidgetContent content = WidgetContent::choose(AppStatus::running, WidgetSnapshot::empty, family);
        EXPECT_EQ(content.kind, Kind::nothingRunning);
        EXPECT_EQ(content.message(), (WidgetMessage { { "Nada rodando" }, std::nullopt, std::nullopt }));
    }
}

TEST(WidgetContentTests, GroupsAloneShowNothingRunning)
{
    WidgetSnapshot snapshot;
    snapshot.groups = { WidgetGroup("group:g", "G", 3, 3, true) };
    EXPECT_EQ(WidgetContent::choose(AppStatus::running, snapshot, WidgetFamily::large).kind, Kind::nothingRunning);
}

TEST(WidgetContentTests, StoppedItemsOrSessionsAloneShowTheLayout)
{
    WidgetSnapshot items;
    items.items = { WidgetItem { "a", "A", "node", false } };
    EXPECT_EQ(WidgetContent::choose(AppStatus::running, items, WidgetFamily::small).kind, Kind::small);
    WidgetSnapshot sessions;
    sessions.sessions = { WidgetSession { "s", "S", "p", WidgetSession::State::working } };
    EXPECT_EQ(WidgetContent::choose(AppStatus::running, sessions, WidgetFamily::small).kind, Kind::small);
}

TEST(WidgetContentTests, RunningPicksTheFamilyLayout)
{
    const WidgetSnapshot snapshot = fullSnapshot();
    EXPECT_EQ(WidgetContent::choose(AppStatus::running, snapshot, WidgetFamily::small).kind, Kind::small);
    EXPECT_EQ(WidgetContent::choose(AppStatus::running, snapshot, WidgetFamily::medium).kind, Kind::medium);
    EXPECT_EQ(WidgetContent::choose(AppStatus::running, snapshot, WidgetFamily::large).kind, Kind::large);
    EXPECT_EQ(WidgetContent::choose(AppStatus::running, snapshot, WidgetFamily::extraLarge).kind, Kind::extraLarge);
    for (const Kind kind : { Kind::small, Kind::medium, Kind::large, Kind::extraLarge }) {
        EXPECT_FALSE(WidgetContent { kind }.isMessage());
        EXPECT_FALSE(WidgetContent { kind }.message().has_value());
    }
}

TEST(WidgetContentTests, AnyOtherFamilyGetsTheLargeLayout)
{
    const WidgetSnapshot snapshot = fullSnapshot();
    EXPECT_EQ(WidgetContent::choose(AppStatus::running, snapshot, std::optional<WidgetFamily>()).kind, Kind::large);
    EXPECT_EQ(WidgetContent::choose(AppStatus::running, snapshot, static_cast<WidgetFamily>(42)).kind, Kind::large);
    // An unknown family still shows the status messages.
    EXPECT_EQ(WidgetContent::choose(AppStatus::notRunning, snapshot, std::optional<WidgetFamily>()).kind, Kind::closedMessage);
}

TEST(WidgetContentTests, KindNames)
{
    EXPECT_EQ(rawValue(Kind::closedMessage), "closedMessage");
    EXPECT_EQ(rawValue(Kind::nothingRunning), "nothingRunning");
    EXPECT_EQ(rawValue(Kind::extraLarge), "extraLarge");
}

TEST(WidgetContentTests, MessageLook)
{
    EXPECT_EQ(WidgetMessage::spacing, 6);
    EXPECT_EQ(WidgetMessage::markSize, 22);
    EXPECT_EQ(WidgetMessage::titleFontSize, 12);
    EXPECT_EQ(WidgetMessage::subtitleFontSize, 10);
}

}
}
