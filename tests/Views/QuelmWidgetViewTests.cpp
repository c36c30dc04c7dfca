// SPDX-License-Identifier: MIT
#include "ViewsTestSupport.h"

#include "Layout/ItemColumns.h"
#include "Look/WidgetGlyph.h"

#include <array>

using namespace quelm;
using namespace quelm::test;
using views::ViewNode;
namespace node = views::node;

namespace {

constexpr std::array families {
    WidgetFamily::small,
    WidgetFamily::medium,
    WidgetFamily::large,
    WidgetFamily::extraLarge,
};

class QuelmWidgetViewTest : public ViewsTest { };

TimelineEntry sampleWithStatus(SharedStore::AppStatus status)
{
    TimelineEntry entry = TimelineEntry::sample(fixedNow);
    entry.appStatus = status;
    return entry;
}

WidgetSnapshot itemsOnly(std::size_t count)
{
    WidgetSnapshot snapshot;
    for (std::size_t i = 0; i < count; ++i)
        snapshot.items.push_back(item("item" + std::to_string(10 + i), true));
    return snapshot;
}

const node::Message& messageOf(const ViewNode& root)
{
    const auto messages = all<node::Message>(root);
    EXPECT_EQ(messages.size(), 1u);
    return *messages.front()->as<node::Message>();
}

// The header's mark.
const node::Mark& headerMark(const ViewNode& root)
{
    return *all<node::Mark>(root).front()->as<node::Mark>();
}

std::vector<std::string> sectionTitles(const ViewNode& root)
{
    std::vector<std::string> titles;
    for (const ViewNode* section : all<node::Section>(root))
        titles.push_back(section->as<node::Section>()->title);
    return titles;
}

}

TEST_F(QuelmWidgetViewTest, FamiliesHaveTheirSizes)
{
    EXPECT_EQ(views::QuelmWidgetView::size(WidgetFamily::small), (views::Size { 170, 170 }));
    EXPECT_EQ(views::QuelmWidgetView::size(WidgetFamily::medium), (views::Size { 364, 170 }));
    EXPECT_EQ(views::QuelmWidgetView::size(WidgetFamily::large), (views::Size { 364, 382 }));
    EXPECT_EQ(views::QuelmWidgetView::size(WidgetFamily::extraLarge), (views::Size { 766, 382 }));
}

TEST_F(QuelmWidgetViewTest, ClosedAppShowsItsMessageInEveryFamilyAndATapOpensTheApp)
{
    for (const WidgetFamily family : families) {
        SCOPED_TRACE(std::string(rawValue(family)));
        const auto rendered = render(sampleWithStatus(SharedStore::AppStatus::notRunning), family);
        const node::Message& message = messageOf(rendered.root);
        EXPECT_EQ(message.title, "Quelm está fechado");
        EXPECT_EQ(message.subtitle, "Toque para abrir");
        EXPECT_TRUE(all<node::Row>(rendered.root).empty()) << "whatever the snapshot holds";

        const auto links = all<node::Link>(rendered.root);
        ASSERT_EQ(links.size(), 1u);
        EXPECT_EQ(links.front()->as<node::Link>()->url, "quelm://open");
        EXPECT_EQ(links.front()->frame, (views::Frame { 0, 0, rendered.size.width, rendered.size.height }));
        // A click in a corner of the widget, outside the content margins, still opens the app.
        EXPECT_EQ(views::hitTarget(rendered.root, 3, rendered.size.height - 3), links.front());
    }
}

TEST_F(QuelmWidgetViewTest, NoAccessShowsItsMessageInEveryFamilyWithoutATapAction)
{
    for (const WidgetFamily family : families) {
        SCOPED_TRACE(std::string(rawValue(family)));
        const auto rendered = render(sampleWithStatus(SharedStore::AppStatus::noAccess), family);
        const node::Message& message = messageOf(rendered.root);
        EXPECT_EQ(message.title, "Sem acesso aos dados");
        EXPECT_EQ(message.subtitle, "Reinstale o Quelm");
        EXPECT_TRUE(all<node::Link>(rendered.root).empty());
        EXPECT_EQ(views::hitTarget(rendered.root, rendered.size.width / 2, rendered.size.height / 2), nullptr);
    }
}

TEST_F(QuelmWidgetViewTest, MessageIsCentredWithTheMarkWithoutSphere)
{
    const auto rendered = render(sampleWithStatus(SharedStore::AppStatus::noAccess), WidgetFamily::medium);
    const ViewNode* mark = all<node::Mark>(rendered.root).front();
    EXPECT_FALSE(mark->as<node::Mark>()->running);
    EXPECT_EQ(mark->as<node::Mark>()->color, Color::of(Color::Named::tertiary));
    EXPECT_EQ(mark->frame.width, 22);
    EXPECT_NEAR(mark->frame.x + 11, rendered.size.width / 2, 0.001);
    const ViewNode* stack = all<node::Message>(rendered.root).front()->children.data();
    EXPECT_NEAR(stack->frame.y + stack->frame.height / 2, rendered.size.height / 2, 0.001);
}

TEST_F(QuelmWidgetViewTest, RunningAppWithOnlyGroupsShowsNothingRunning)
{
    WidgetSnapshot snapshot;
    snapshot.groups = { WidgetGroup("g", "G", 2, 2, true) };
    for (const WidgetFamily family : families) {
        const auto rendered = render(runningEntry(snapshot), family);
        const node::Message& message = messageOf(rendered.root);
        EXPECT_EQ(message.title, "Nada rodando");
        EXPECT_FALSE(message.subtitle);
    }
}

TEST_F(QuelmWidgetViewTest, HeaderCountsRunningItems)
{
    WidgetSnapshot snapshot;
    snapshot.items = { item("a", true), item("b", false) };
    auto rendered = render(runningEntry(snapshot), WidgetFamily::small);
    EXPECT_TRUE(showsText(rendered.root, "1 rodando"));
    EXPECT_TRUE(headerMark(rendered.root).running);

    snapshot.items = { item("a", false), item("b", false) };
    rendered = render(runningEntry(snapshot), WidgetFamily::small);
    EXPECT_TRUE(showsText(rendered.root, "0 rodando"));
    EXPECT_FALSE(headerMark(rendered.root).running) << "nothing runs: no sphere";
    EXPECT_EQ(headerMark(rendered.root).accessibilityLabel, "Quelm");
}

TEST_F(QuelmWidgetViewTest, HeaderCountIncludesItemsTheLayoutDoesNotShow)
{
    const auto rendered = render(runningEntry(itemsOnly(9)), WidgetFamily::small);
    EXPECT_EQ(all<node::Row>(rendered.root).size(), 3u);
    EXPECT_TRUE(showsText(rendered.root, "9 rodando"));
}

TEST_F(QuelmWidgetViewTest, ExtraLargeShowsAtMostFourteenItemsInTwoColumnsOfSeven)
{
    const auto rendered = render(runningEntry(itemsOnly(15)), WidgetFamily::extraLarge);
    const auto rows = all<node::Row>(rendered.root);
    ASSERT_EQ(rows.size(), 14u);
    // Two columns: the first seven rows share one x, the next seven another.
    for (std::size_t i = 1; i < 7; ++i) {
        EXPECT_EQ(rows[i]->frame.x, rows[0]->frame.x);
        EXPECT_EQ(rows[7 + i]->frame.x, rows[7]->frame.x);
    }
    EXPECT_GT(rows[7]->frame.x, rows[0]->frame.maxX());
    EXPECT_NEAR(rows[7]->frame.x - rows[0]->frame.maxX(), 14, 0.001);
    EXPECT_NEAR(rows[0]->frame.width, rows[7]->frame.width, 0.001) << "columns share the width equally";
}

TEST_F(QuelmWidgetViewTest, FifteenItemsMakeColumnsOfSevenSevenAndOne)
{
    const auto columns = itemColumns(itemsOnly(15).items);
    ASSERT_EQ(columns.size(), 3u);
    EXPECT_EQ(columns[0].size(), 7u);
    EXPECT_EQ(columns[1].size(), 7u);
    EXPECT_EQ(columns[2].size(), 1u);
}

TEST_F(QuelmWidgetViewTest, ExtraLargeWithOnlyItemsHasNoLeftColumnAndNoDivider)
{
    const auto rendered = render(runningEntry(itemsOnly(3)), WidgetFamily::extraLarge);
    EXPECT_TRUE(all<node::Divider>(rendered.root).empty());
    EXPECT_EQ(sectionTitles(rendered.root), (std::vector<std::string> { "Itens" }));
    const auto rows = all<node::Row>(rendered.root);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_NEAR(rows.front()->frame.x, 16, 0.001);
    EXPECT_NEAR(rows.front()->frame.width, 766 - 32, 0.001) << "the one column takes the whole width";
}

TEST_F(QuelmWidgetViewTest, ExtraLargeWithSessionsFramesTheLeftColumnAndDividesIt)
{
    const auto rendered = render(TimelineEntry::sample(fixedNow), WidgetFamily::extraLarge);
    EXPECT_EQ(sectionTitles(rendered.root), (std::vector<std::string> { "Claude", "Grupos", "Itens" }));
    const auto dividers = all<node::Divider>(rendered.root);
    ASSERT_EQ(dividers.size(), 1u);
    const double regionWidth = 766 - 32;
    const double leftWidth = (regionWidth - 29) * 0.55;
    EXPECT_NEAR(dividers.front()->frame.x, 16 + leftWidth + 6, 0.001);
    const ViewNode* session = rowOf(rendered.root, "s1");
    ASSERT_TRUE(session);
    EXPECT_NEAR(session->frame.width, leftWidth, 0.001);
    const ViewNode* firstItem = rowOf(rendered.root, "a");
    ASSERT_TRUE(firstItem);
    EXPECT_NEAR(firstItem->frame.x, dividers.front()->frame.maxX() + 6, 0.001);
    EXPECT_NEAR(firstItem->frame.maxX(), 766 - 16, 0.001);
    EXPECT_EQ(all<node::Row>(rendered.root).size(), 2u + 1u + 5u);
}

TEST_F(QuelmWidgetViewTest, MediumWithoutSessionsHasNoDividerAndNoSessionColumn)
{
    const auto rendered = render(runningEntry(itemsOnly(2)), WidgetFamily::medium);
    EXPECT_TRUE(all<node::Divider>(rendered.root).empty());
    for (const ViewNode* row : all<node::Row>(rendered.root)) {
        EXPECT_NE(row->as<node::Row>()->kind, views::RowKind::session);
        EXPECT_NEAR(row->frame.width, 364 - 32, 0.001);
    }
}

TEST_F(QuelmWidgetViewTest, MediumPutsSessionsInAColumn112Wide)
{
    const auto rendered = render(TimelineEntry::sample(fixedNow), WidgetFamily::medium);
    ASSERT_EQ(all<node::Divider>(rendered.root).size(), 1u);
    const ViewNode* session = rowOf(rendered.root, "s2");
    ASSERT_TRUE(session);
    EXPECT_NEAR(session->frame.width, 112, 0.001);
    EXPECT_NEAR(session->frame.maxX(), 364 - 16, 0.001);
    // One group and three items: four rows, not compact, that fit the widget.
    const ViewNode* lastItem = rowOf(rendered.root, "d");
    ASSERT_TRUE(lastItem);
    EXPECT_LE(lastItem->frame.maxY(), 170 - 16 + 0.001);
    EXPECT_EQ(all<node::Row>(rendered.root).size(), 4u + 2u);
}

TEST_F(QuelmWidgetViewTest, SmallShowsTheAttentionSessionAndCompactRows)
{
    const auto rendered = render(TimelineEntry::sample(fixedNow), WidgetFamily::small);
    EXPECT_EQ(shownTexts(rendered.root),
        (std::vector<std::string> { "Quelm", "3 rodando", "quelm", "precisa de aprovação", "Trabalho", "my-api (dev)" }));
    EXPECT_TRUE(all<node::Section>(rendered.root).empty());
}

TEST_F(QuelmWidgetViewTest, LargeShowsSectionsOverTheirRows)
{
    const auto rendered = render(TimelineEntry::sample(fixedNow), WidgetFamily::large);
    EXPECT_EQ(sectionTitles(rendered.root), (std::vector<std::string> { "Claude", "Grupos", "Itens" }));
    const auto sections = all<node::Section>(rendered.root);
    const ViewNode* title = sections.front()->children.data();
    EXPECT_NEAR(title->frame.y - sections.front()->frame.y, 3, 0.001) << "3 points of padding above";
    std::vector<std::string> ids;
    for (const ViewNode* row : all<node::Row>(rendered.root))
        ids.push_back(row->as<node::Row>()->id);
    EXPECT_EQ(ids, (std::vector<std::string> { "s1", "s2", "group:x", "a", "b", "d", "e" }));
}

TEST_F(QuelmWidgetViewTest, PendingRequestsReachTheirRows)
{
    TimelineEntry entry = TimelineEntry::sample(fixedNow);
    entry.pending = { { "c", WidgetCommand::Action::start }, { "group:x", WidgetCommand::Action::stop } };
    const auto rendered = render(entry, WidgetFamily::extraLarge);
    const ViewNode* postgres = rowOf(rendered.root, "c");
    ASSERT_TRUE(postgres);
    EXPECT_TRUE(postgres->as<node::Row>()->busy);
    EXPECT_TRUE(postgres->as<node::Row>()->appearsRunning);
    EXPECT_TRUE(showsText(*postgres, "Iniciando…"));
    const ViewNode* group = rowOf(rendered.root, "group:x");
    EXPECT_TRUE(showsText(*group, "Parando…"));
}

TEST_F(QuelmWidgetViewTest, EverythingStaysInsideTheWidgetAndRowsDoNotOverlap)
{
    for (const WidgetFamily family : families) {
        SCOPED_TRACE(std::string(rawValue(family)));
        const auto rendered = render(TimelineEntry::sample(fixedNow), family);
        const views::Frame content { 16, 16, rendered.size.width - 32, rendered.size.height - 32 };
        const auto rows = all<node::Row>(rendered.root);
        for (const ViewNode* row : rows)
            EXPECT_TRUE(contains(content, row->frame)) << row->as<node::Row>()->id;
        for (std::size_t i = 0; i + 1 < rows.size(); ++i) {
            const auto& a = rows[i]->frame;
            const auto& b = rows[i + 1]->frame;
            const bool apart = a.maxY() <= b.y + 0.001 || a.maxX() <= b.x + 0.001 || b.maxX() <= a.x + 0.001;
            EXPECT_TRUE(apart) << rows[i]->as<node::Row>()->id;
        }
    }
}

TEST_F(QuelmWidgetViewTest, EnglishSnapshotShowsEnglishTexts)
{
    TimelineEntry entry = TimelineEntry::sample(fixedNow);
    entry.snapshot.language = "en";
    const auto rendered = render(entry, WidgetFamily::large);
    EXPECT_EQ(sectionTitles(rendered.root), (std::vector<std::string> { "Claude", "Groups", "Items" }));
    EXPECT_TRUE(showsText(rendered.root, "3 running"));
    EXPECT_TRUE(showsText(rendered.root, "quelm · needs approval"));
    EXPECT_TRUE(showsText(rendered.root, "Group · 2 of 3"));
    EXPECT_TRUE(showsText(rendered.root, "Stopped"));

    entry.appStatus = SharedStore::AppStatus::notRunning;
    const auto closed = render(entry, WidgetFamily::small);
    EXPECT_EQ(messageOf(closed.root).title, "Quelm is closed");
    EXPECT_EQ(messageOf(closed.root).subtitle, "Click to open");
}

TEST_F(QuelmWidgetViewTest, UnknownLanguageShowsBaseTextsWithItsNumbers)
{
    WidgetSnapshot snapshot;
    snapshot.items = { item("a", true) };
    snapshot.groups = { WidgetGroup("g", "G", 2000, 1000, false) };
    snapshot.language = "de";
    const auto rendered = render(runningEntry(snapshot), WidgetFamily::large);
    EXPECT_TRUE(showsText(rendered.root, "1 rodando"));
    EXPECT_TRUE(showsText(rendered.root, "Grupo · 1.000 de 2.000")) << "German digit grouping, Portuguese words";

    snapshot.language = "../../etc/passwd";
    EXPECT_TRUE(showsText(render(runningEntry(snapshot), WidgetFamily::large).root, "Grupos"));
}

TEST_F(QuelmWidgetViewTest, GlassCarriesTheSnapshotsGlows)
{
    const auto sample = render(TimelineEntry::sample(fixedNow), WidgetFamily::small);
    const auto& glows = sample.root.as<node::Glass>()->glows;
    ASSERT_EQ(glows.size(), 2u);
    EXPECT_EQ(glows[0].color, Color::of(Color::Named::orange));
    EXPECT_EQ(glows[0].center, GlassCorner::bottomTrailing);
    EXPECT_EQ(glows[1].color, WidgetGlyph::tint("node"));

    const auto empty = render(runningEntry({}), WidgetFamily::small);
    EXPECT_TRUE(empty.root.as<node::Glass>()->glows.empty());
}

TEST_F(QuelmWidgetViewTest, ButtonsAreHitTargets)
{
    const auto rendered = render(TimelineEntry::sample(fixedNow), WidgetFamily::medium);
    const ViewNode* button = all<node::Button>(rendered.root).front();
    const auto* target = views::hitTarget(rendered.root, button->frame.x + 10, button->frame.y + 10);
    EXPECT_EQ(target, button);
    EXPECT_EQ(target->as<node::Button>()->itemID, "group:x");
}
