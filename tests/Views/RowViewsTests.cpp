// SPDX-License-Identifier: MIT
#include "ViewsTestSupport.h"

#include "Views/LayoutEngine.h"
#include "Text/RelativeTime.h"
#include "Views/ItemRowView.h"
#include "Views/GroupRowView.h"
#include "Views/SessionRowView.h"

using namespace quelm;
using namespace quelm::test;
using views::ViewNode;
namespace node = views::node;

namespace {

class RowViewsTest : public ViewsTest {
protected:
    // A row as a 300-point-wide column would lay it out.
    ViewNode laidOut(ViewNode row)
    {
        const views::LayoutEngine engine;
        const views::Size size = engine.measure(row, 300);
        engine.layout(row, { 0, 0, 300, size.height });
        return row;
    }

    ViewNode item(const WidgetItem& record, std::optional<WidgetCommand::Action> pending, bool compact = false)
    {
        return laidOut(views::ItemRowView::node({ record, pending, compact }, context));
    }

    ViewNode group(const WidgetGroup& record, std::optional<WidgetCommand::Action> pending = std::nullopt)
    {
        return laidOut(views::GroupRowView::node({ record, pending, false }, context));
    }

    ViewNode session(const quelm::SessionRow& row) { return laidOut(views::SessionRowView::node(row, context)); }

    views::Localizer localizer = views::Localizer::forSnapshotLanguage(std::nullopt, fixedLocale);
    views::ViewContext context { localizer, localizer, fixedNow };
};

const node::Button& buttonOf(const ViewNode& row)
{
    const auto buttons = views::nodesOfType<node::Button>(row);
    EXPECT_EQ(buttons.size(), 1u);
    return *buttons.front()->as<node::Button>();
}

const node::Symbol& glyphOf(const ViewNode& row)
{
    return *views::nodesOfType<node::Symbol>(row).front()->as<node::Symbol>();
}

const node::Text& textAt(const ViewNode& row, std::size_t index)
{
    return *views::nodesOfType<node::Text>(row).at(index)->as<node::Text>();
}

WidgetItem stoppingItem()
{
    WidgetItem record { "api", "api", "node", true };
    record.transition = WidgetItem::Transition::stopping;
    return record;
}

}

TEST_F(RowViewsTest, StoppingItemWithPendingStartShowsStoppingAPlaySymbolAndADisabledButton)
{
    const ViewNode row = item(stoppingItem(), WidgetCommand::Action::start);
    EXPECT_EQ(shownTexts(row), (std::vector<std::string> { "api", "Parando…" }));
    const node::Button& button = buttonOf(row);
    EXPECT_EQ(button.symbol, "play.fill");
    EXPECT_FALSE(button.enabled);
    EXPECT_EQ(button.itemID, "api");
    EXPECT_FALSE(button.start) << "the record runs, so the button asks to stop it";
    const auto& shown = *row.as<node::Row>();
    EXPECT_FALSE(shown.appearsRunning);
    EXPECT_TRUE(shown.busy);
}

TEST_F(RowViewsTest, StoppedItemWithPendingStartLooksStartingButStillAsksToStart)
{
    const WidgetItem record { "db", "postgres", "database", false };
    const ViewNode row = item(record, WidgetCommand::Action::start);
    EXPECT_EQ(textAt(row, 1).shown, "Iniciando…");
    EXPECT_EQ(textAt(row, 0).color, Color::of(Color::Named::primary));

    const node::Button& button = buttonOf(row);
    EXPECT_EQ(button.symbol, "stop.fill");
    EXPECT_FALSE(button.enabled);
    EXPECT_TRUE(button.start);

    const node::Symbol& glyph = glyphOf(row);
    EXPECT_EQ(glyph.symbol, "cylinder.fill");
    EXPECT_EQ(glyph.color, Color::rgb(0.96, 0.66, 0.32));
    EXPECT_EQ(glyph.opacity, 1);
    ASSERT_TRUE(glyph.halo);
    EXPECT_EQ(*glyph.halo, Color::rgb(0.96, 0.66, 0.32, 0.55));
}

TEST_F(RowViewsTest, RunningItemShowsPortAndTimeSinceItsStart)
{
    WidgetItem record { "web", "web", "node", true };
    record.port = 8080;
    record.startedAt = fixedNow.addingSeconds(-300);
    const std::string since = RelativeTime::text(*record.startedAt, fixedNow, fixedLocale);
    EXPECT_EQ(textAt(item(record, std::nullopt), 1).shown, ":8080 · " + since);

    record.port.reset();
    EXPECT_EQ(textAt(item(record, std::nullopt), 1).shown, since);

    record.startedAt.reset();
    EXPECT_EQ(textAt(item(record, std::nullopt), 1).shown, "Parado");
}

TEST_F(RowViewsTest, RunningItemWithoutPendingOffersStop)
{
    const WidgetItem record { "web", "web", "node", true };
    const ViewNode row = item(record, std::nullopt);
    const node::Button& button = buttonOf(row);
    EXPECT_EQ(button.symbol, "stop.fill");
    EXPECT_TRUE(button.enabled);
    EXPECT_FALSE(button.start);
    EXPECT_EQ(glyphOf(row).symbol, "leaf.fill");
}

TEST_F(RowViewsTest, StoppedGlyphKeepsItsWidthAndShowsNoHalo)
{
    const ViewNode running = item({ "a", "a", "node", true }, std::nullopt);
    const ViewNode stopped = item({ "a", "a", "node", false }, std::nullopt);
    const auto* runningGlyph = views::nodesOfType<node::Symbol>(running).front();
    const auto* stoppedGlyph = views::nodesOfType<node::Symbol>(stopped).front();
    EXPECT_EQ(runningGlyph->frame.width, 16);
    EXPECT_EQ(stoppedGlyph->frame.width, 16);
    EXPECT_FALSE(stoppedGlyph->as<node::Symbol>()->halo);
    EXPECT_EQ(stoppedGlyph->as<node::Symbol>()->color, Color::of(Color::Named::secondary));
    EXPECT_EQ(stoppedGlyph->as<node::Symbol>()->opacity, 0.45);
}

TEST_F(RowViewsTest, UnknownCategoryWithCapitalLetterGetsTheHexagonGrid)
{
    const ViewNode row = item({ "a", "a", "Node", true }, std::nullopt);
    const node::Symbol& glyph = glyphOf(row);
    EXPECT_EQ(glyph.symbol, "circle.hexagongrid.fill");
    EXPECT_EQ(glyph.color, Color::of(Color::Named::secondary));
}

TEST_F(RowViewsTest, GroupDetailCountsItsMembers)
{
    EXPECT_EQ(textAt(group(WidgetGroup("g", "G", 3, 0, false)), 1).shown, "Grupo · 3 itens");
    EXPECT_EQ(textAt(group(WidgetGroup("g", "G", 3, 3, true)), 1).shown, "Grupo · tudo rodando");
    EXPECT_EQ(textAt(group(WidgetGroup("g", "G", 3, 1, false)), 1).shown, "Grupo · 1 de 3");
}

TEST_F(RowViewsTest, StoppingGroupWithRunningMembersKeepsItsAccentGlyph)
{
    WidgetGroup record("group:x", "Trabalho", 3, 2, true);
    record.transition = WidgetItem::Transition::stopping;
    const ViewNode row = group(record);
    EXPECT_EQ(textAt(row, 1).shown, "Parando…");
    const node::Symbol& glyph = glyphOf(row);
    EXPECT_EQ(glyph.symbol, "square.stack.3d.up.fill");
    EXPECT_EQ(glyph.color, Color::of(Color::Named::accent));
    ASSERT_TRUE(glyph.halo);
    EXPECT_EQ(*glyph.halo, Color::of(Color::Named::accent).withAlpha(0.5));
    EXPECT_EQ(buttonOf(row).itemID, "group:x") << "the group's id goes to the intent unchanged";
    EXPECT_FALSE(buttonOf(row).enabled);
}

TEST_F(RowViewsTest, IdleGroupWithoutRunningMembersIsDimmed)
{
    const ViewNode row = group(WidgetGroup("g", "G", 2, 0, false));
    const node::Symbol& glyph = glyphOf(row);
    EXPECT_EQ(glyph.color, Color::of(Color::Named::secondary));
    EXPECT_EQ(glyph.opacity, 0.45);
    EXPECT_FALSE(glyph.halo);
    EXPECT_EQ(textAt(row, 0).color, Color::of(Color::Named::secondary));
    EXPECT_EQ(buttonOf(row).symbol, "play.fill");
    EXPECT_TRUE(buttonOf(row).start);
}

TEST_F(RowViewsTest, CompactSessionAwaitingApprovalShowsProjectAndOrangeStatus)
{
    const WidgetSession record { "s1", "Ajustar o widget", "quelm", WidgetSession::State::needsApproval };
    const ViewNode row = session(quelm::SessionRow(record, true));
    EXPECT_EQ(shownTexts(row), (std::vector<std::string> { "quelm", "precisa de aprovação" }));
    EXPECT_EQ(textAt(row, 1).color, Color::of(Color::Named::orange));
    EXPECT_EQ(glyphOf(row).symbol, "exclamationmark.bubble.fill");
    EXPECT_EQ(glyphOf(row).color, Color::of(Color::Named::orange));
    EXPECT_FALSE(glyphOf(row).halo);
    EXPECT_TRUE(views::nodesOfType<node::Button>(row).empty()) << "a session row has no button";
}

TEST_F(RowViewsTest, SessionRowLinksToTheSessionOrOpensTheApp)
{
    const WidgetSession record { "a b", "Título", "proj", WidgetSession::State::working };
    const auto links = [&](const quelm::SessionRow& row) {
        const ViewNode laid = session(row);
        return views::nodesOfType<node::Link>(laid).front()->as<node::Link>()->url;
    };
    EXPECT_EQ(links(quelm::SessionRow(record, false)), "quelm://session/a%20b");
    EXPECT_EQ(links(quelm::SessionRow(record, false, std::nullopt)), "quelm://open");
}

TEST_F(RowViewsTest, FullSessionRowShowsTitleThenProjectAndStatus)
{
    const WidgetSession record { "s2", "Migração do banco", "my-api", WidgetSession::State::working };
    const ViewNode row = session(quelm::SessionRow(record, false));
    EXPECT_EQ(shownTexts(row), (std::vector<std::string> { "Migração do banco", "my-api · trabalhando" }));
    EXPECT_EQ(glyphOf(row).symbol, "sparkle");
    EXPECT_EQ(glyphOf(row).color, quelm::SessionRow::tint);

    const WidgetSession waiting { "s3", "t", "p", WidgetSession::State::waitingForInput };
    const ViewNode waitingRow = session(quelm::SessionRow(waiting, false));
    EXPECT_EQ(textAt(waitingRow, 1).shown, "p · aguardando você");
    EXPECT_EQ(glyphOf(waitingRow).opacity, 0.6);
}

TEST_F(RowViewsTest, AFullSessionRowsSecondLineWrapsOntoTwoLinesAndTheTitleKeepsToOne)
{
    const WidgetSession record { "s4", "Ajustar o widget de sessões longas", "quelm", WidgetSession::State::needsApproval };
    views::ViewNode row = views::SessionRowView::node(quelm::SessionRow(record, false), context);
    const views::LayoutEngine engine;
    const double narrow = 150;
    engine.layout(row, { 0, 0, narrow, engine.measure(row, narrow).height });

    const node::Text& title = textAt(row, 0);
    const node::Text& second = textAt(row, 1);
    EXPECT_EQ(title.shown.find('\n'), std::string::npos) << title.shown;
    EXPECT_TRUE(title.shown.ends_with("…")) << title.shown;
    EXPECT_EQ(second.shown, "quelm · precisa de\naprovação");
    const auto& secondFrame = views::nodesOfType<node::Text>(row).at(1)->frame;
    const auto& titleFrame = views::nodesOfType<node::Text>(row).at(0)->frame;
    EXPECT_GT(secondFrame.height, titleFrame.height) << "two lines of the smaller font are taller than the title";
    EXPECT_LE(secondFrame.maxX(), narrow);

    // A line that fits stays one line; a compact row's status keeps to one.
    const views::ViewNode wide = session(quelm::SessionRow(record, false));
    EXPECT_EQ(textAt(wide, 1).shown, "quelm · precisa de aprovação");
    views::ViewNode compact = views::SessionRowView::node(quelm::SessionRow(record, true), context);
    engine.layout(compact, { 0, 0, 60, engine.measure(compact, 60).height });
    EXPECT_EQ(textAt(compact, 1).shown.find('\n'), std::string::npos);
}

TEST_F(RowViewsTest, CompactItemRowIsOneLineOfGlyphTitleSpacerAndButton)
{
    const ViewNode row = item({ "a", "api", "node", true }, std::nullopt, true);
    EXPECT_EQ(shownTexts(row), (std::vector<std::string> { "api" }));
    const ViewNode& line = row.children.front();
    ASSERT_EQ(line.children.size(), 4u);
    EXPECT_TRUE(line.children[0].is<node::Symbol>());
    EXPECT_TRUE(line.children[2].is<node::Spacer>());
    EXPECT_TRUE(line.children[3].is<node::Button>());
    EXPECT_EQ(row.frame.height, 20) << "the button is the tallest part of a one-line row";
}

TEST_F(RowViewsTest, RowsFillTheirWidthWithTheButtonAtTheEnd)
{
    const ViewNode row = item({ "a", "a very long title that cannot possibly fit in the row at all", "node", true }, std::nullopt);
    const auto* button = views::nodesOfType<node::Button>(row).front();
    EXPECT_DOUBLE_EQ(button->frame.maxX(), 300);
    EXPECT_EQ(button->frame.width, 20);
    EXPECT_EQ(button->frame.height, 20);
    const auto* title = views::nodesOfType<node::Text>(row).front();
    EXPECT_LE(title->frame.maxX(), button->frame.x - 4 - 7 + 0.001) << "the spacer keeps at least 4 points";
    EXPECT_TRUE(title->as<node::Text>()->shown.ends_with("…"));
}
