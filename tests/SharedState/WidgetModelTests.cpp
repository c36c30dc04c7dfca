// SPDX-License-Identifier: MIT
#include <quelm/WidgetCommand.h>
#include <quelm/WidgetSnapshot.h>

#include <gtest/gtest.h>

#include <unordered_set>

using namespace quelm;

TEST(WidgetModel, EnumerationRawValuesConvertExactly)
{
    EXPECT_EQ(fromRawValue<WidgetItem::Transition>("starting"), WidgetItem::Transition::starting);
    EXPECT_EQ(fromRawValue<WidgetItem::Transition>("stopping"), WidgetItem::Transition::stopping);
    EXPECT_FALSE(fromRawValue<WidgetItem::Transition>("Starting"));
    EXPECT_FALSE(fromRawValue<WidgetItem::Transition>(" starting"));
    EXPECT_EQ(rawValue(WidgetItem::Transition::stopping), "stopping");

    EXPECT_EQ(fromRawValue<WidgetSession::State>("needsApproval"), WidgetSession::State::needsApproval);
    EXPECT_EQ(fromRawValue<WidgetSession::State>("waitingForInput"), WidgetSession::State::waitingForInput);
    EXPECT_FALSE(fromRawValue<WidgetSession::State>("needsapproval"));
    EXPECT_EQ(rawValue(WidgetSession::State::working), "working");

    EXPECT_EQ(fromRawValue<WidgetCommand::Action>("stop"), WidgetCommand::Action::stop);
    EXPECT_FALSE(fromRawValue<WidgetCommand::Action>(""));
    EXPECT_EQ(rawValue(WidgetCommand::Action::start), "start");
}

TEST(WidgetModel, GroupConstructorTakesIsActiveBeforeTransition)
{
    WidgetGroup group("group:x", "Trabalho", 3, 2, true, WidgetItem::Transition::stopping);
    EXPECT_TRUE(group.isActive);
    EXPECT_TRUE(group.isRunning());
    EXPECT_EQ(group.transition, WidgetItem::Transition::stopping);
    EXPECT_EQ(WidgetGroup::idPrefix, "group:");
}

TEST(WidgetModel, CommandConstructorTakesItemActionIdAndTime)
{
    auto id = Uuid::random();
    WidgetCommand command("a", WidgetCommand::Action::stop, id, Date(7));
    EXPECT_EQ(command.id, id);
    EXPECT_EQ(command.itemID, "a");
    EXPECT_EQ(command.action, WidgetCommand::Action::stop);
    EXPECT_EQ(command.issuedAt, Date(7));
}

TEST(WidgetModel, RecordsAreIndependentCopies)
{
    WidgetSnapshot original { { WidgetItem { "a", "A", "node", true } }, {}, {}, std::nullopt, Date(1) };
    auto copy = original;
    copy.items[0].title = "B";
    EXPECT_EQ(original.items[0].title, "A");
}

TEST(WidgetModel, SnapshotsDifferingOnlyInUpdatedAtHaveTheSameContentButAreNotEqual)
{
    WidgetSnapshot a { { WidgetItem { "a", "A", "node", true, std::nullopt, 3000 } }, { WidgetGroup("g", "G", 1, 1, true) },
        { WidgetSession { "s", "t", "p", WidgetSession::State::working } }, "pt-BR", Date(1) };
    auto b = a;
    b.updatedAt = Date(2);
    EXPECT_TRUE(a.hasSameContent(b));
    EXPECT_NE(a, b);

    auto otherPort = a;
    otherPort.items[0].port = 3001;
    EXPECT_FALSE(a.hasSameContent(otherPort));
}

TEST(WidgetModel, AbsentAndEmptyLanguageAreDifferentContent)
{
    WidgetSnapshot absent { {}, {}, {}, std::nullopt, Date(1) };
    WidgetSnapshot empty { {}, {}, {}, std::string(), Date(1) };
    EXPECT_FALSE(absent.hasSameContent(empty));
    EXPECT_FALSE(empty.hasSameContent(absent));
    EXPECT_TRUE(absent.hasSameContent(absent));
}

TEST(WidgetModel, SameContentComparesGroupsSessionsAndItemCounts)
{
    WidgetSnapshot base { { WidgetItem { "a", "A", "node", true } }, { WidgetGroup("g", "G", 1, 1, true) },
        { WidgetSession { "s", "t", "p", WidgetSession::State::working } }, std::nullopt, Date(1) };
    auto moreItems = base;
    moreItems.items.push_back(WidgetItem { "b", "B", "node", false });
    EXPECT_FALSE(base.hasSameContent(moreItems));
    auto otherGroup = base;
    otherGroup.groups[0].runningCount = 0;
    EXPECT_FALSE(base.hasSameContent(otherGroup));
    auto otherSession = base;
    otherSession.sessions[0].state = WidgetSession::State::needsApproval;
    EXPECT_FALSE(base.hasSameContent(otherSession));
}

TEST(WidgetModel, EmptySnapshotIsWrittenAtTheDistantPast)
{
    EXPECT_TRUE(WidgetSnapshot::empty.items.empty());
    EXPECT_TRUE(WidgetSnapshot::empty.groups.empty());
    EXPECT_TRUE(WidgetSnapshot::empty.sessions.empty());
    EXPECT_FALSE(WidgetSnapshot::empty.language);
    EXPECT_EQ(WidgetSnapshot::empty.updatedAt.secondsSince1970(), -62135769600.0);
    EXPECT_LT(WidgetSnapshot::empty.updatedAt, Date(-1e10));
}

TEST(WidgetModel, SessionUrlPercentEncodesTheId)
{
    EXPECT_EQ(WidgetSession({ "abc", "t", "p", WidgetSession::State::working }).url(), "quelm://session/abc");
    EXPECT_EQ(WidgetSession({ "a b", "t", "p", WidgetSession::State::working }).url(), "quelm://session/a%20b");
    EXPECT_EQ(WidgetSession({ "a#b", "t", "p", WidgetSession::State::working }).url(), "quelm://session/a%23b");
    EXPECT_EQ(WidgetSession({ "a?b;c", "t", "p", WidgetSession::State::working }).url(), "quelm://session/a%3Fb%3Bc");
    EXPECT_EQ(WidgetSession({ "x/y:z@w~!$&'()*+,-._=", "t", "p", WidgetSession::State::working }).url(),
        "quelm://session/x/y:z@w~!$&'()*+,-._=");
    EXPECT_EQ(WidgetSession({ "ção", "t", "p", WidgetSession::State::working }).url(), "quelm://session/%C3%A7%C3%A3o");
    EXPECT_FALSE(WidgetSession({ "\xc3", "t", "p", WidgetSession::State::working }).url());
}

TEST(WidgetModel, HashingSeparatesAbsentFromPresentOptionals)
{
    WidgetItem withoutPort { "a", "A", "node", true };
    WidgetItem withPortZero { "a", "A", "node", true, std::nullopt, 0 };
    EXPECT_NE(withoutPort, withPortZero);
    EXPECT_NE(std::hash<WidgetItem> {}(withoutPort), std::hash<WidgetItem> {}(withPortZero));
    std::unordered_set<WidgetItem> set { withoutPort, withPortZero, withoutPort };
    EXPECT_EQ(set.size(), 2u);
}

TEST(Uuid, TextIsCanonicalUpperCaseAndParsesBothCases)
{
    auto id = Uuid::parse("6f1c0a4e-2b3d-4c5e-8f90-123456789abc");
    ASSERT_TRUE(id);
    EXPECT_EQ(id->string(), "6F1C0A4E-2B3D-4C5E-8F90-123456789ABC");
    EXPECT_EQ(Uuid::parse(id->string()), id);
    EXPECT_FALSE(Uuid::parse("6f1c0a4e2b3d4c5e8f90123456789abc"));
    EXPECT_FALSE(Uuid::parse("6f1c0a4e-2b3d-4c5e-8f90-123456789abg"));
    EXPECT_FALSE(Uuid::parse("{6f1c0a4e-2b3d-4c5e-8f90-123456789ab}"));
}

TEST(Uuid, RandomIdsAreVersionFourAndDistinct)
{
    std::unordered_set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        auto id = Uuid::random();
        EXPECT_EQ(id.bytes()[6] >> 4, 4);
        EXPECT_EQ(id.bytes()[8] & 0xC0, 0x80);
        seen.insert(id.string());
    }
    EXPECT_EQ(seen.size(), 1000u);
}
