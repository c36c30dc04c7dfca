// SPDX-License-Identifier: MIT
#include "Host/WidgetWindow.h"

#include "HostTestSupport.h"
#include "Widget/QuelmWidgetBundle.h"

#include <gtest/gtest.h>

#include <QSignalSpy>

using namespace quelm;
using namespace quelm::host;

namespace {

constexpr Date now { 1'700'000'000 };

TimelineEntry entryWith(TimelineEntry::PendingActions pending = {})
{
    TimelineEntry entry;
    entry.date = now;
    entry.appStatus = SharedStore::AppStatus::running;
    entry.snapshot.items = { WidgetItem { "db", "postgres", "database", false }, WidgetItem { "api", "api", "node", true } };
    entry.pending = std::move(pending);
    return entry;
}

views::RenderedWidget render(const TimelineEntry& entry, WidgetFamily family)
{
    views::RenderOptions options;
    options.now = now;
    options.currentLocale = "pt_BR.UTF-8";
    return views::renderWidget(entry, family, options);
}

QPoint buttonCentre(const views::RenderedWidget& rendered, const std::string& itemID)
{
    for (const views::ViewNode* node : views::nodesOfType<views::node::Button>(rendered.root)) {
        if (node->as<views::node::Button>()->itemID == itemID)
            return QPoint(static_cast<int>(node->frame.x + node->frame.width / 2), static_cast<int>(node->frame.y + node->frame.height / 2));
    }
    throw std::runtime_error("no button for " + itemID);
}

class WidgetWindowTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { test::hostApplication(); }
};

}

TEST_F(WidgetWindowTest, IsAFramelessTranslucentWindowBelowTheOthers)
{
    const WidgetWindow window(WidgetFamily::medium, views::Palette());
    EXPECT_TRUE(window.isWindow());
    EXPECT_TRUE(window.windowFlags() & Qt::FramelessWindowHint);
    EXPECT_TRUE(window.windowFlags() & Qt::WindowStaysOnBottomHint);
    EXPECT_FALSE(window.windowFlags() & Qt::WindowStaysOnTopHint);
    EXPECT_TRUE(window.testAttribute(Qt::WA_TranslucentBackground));
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Quelm"));
}

TEST_F(WidgetWindowTest, TakesItsFamilysSize)
{
    WidgetWindow window(WidgetFamily::small, views::Palette());
    EXPECT_EQ(window.size(), QSize(170, 170));
    window.setFamily(WidgetFamily::medium);
    EXPECT_EQ(window.size(), QSize(364, 170));
    window.setFamily(WidgetFamily::large);
    EXPECT_EQ(window.size(), QSize(364, 382));
    window.setFamily(WidgetFamily::extraLarge);
    EXPECT_EQ(window.size(), QSize(766, 382));
    EXPECT_EQ(window.minimumSize(), window.maximumSize());
}

TEST_F(WidgetWindowTest, AClickOnAButtonAsksForItsIntent)
{
    WidgetWindow window(WidgetFamily::medium, views::Palette());
    const auto rendered = render(entryWith(), WidgetFamily::medium);
    window.setRendered(rendered, WidgetWindow::Transition::none);
    window.show();
    QSignalSpy clicked(&window, &WidgetWindow::actionClicked);

    QTest::mouseClick(&window, Qt::LeftButton, {}, buttonCentre(rendered, "db"));
    ASSERT_EQ(clicked.count(), 1);
    EXPECT_EQ(clicked.at(0).at(0).value<ClickAction>(), ClickAction(ToggleItemIntent("db", true)));

    QTest::mouseClick(&window, Qt::LeftButton, {}, buttonCentre(rendered, "api"));
    ASSERT_EQ(clicked.count(), 2);
    EXPECT_EQ(clicked.at(1).at(0).value<ClickAction>(), ClickAction(ToggleItemIntent("api", false)));
}

TEST_F(WidgetWindowTest, AClickBesideTheButtonsOrWithAnotherButtonDoesNothing)
{
    WidgetWindow window(WidgetFamily::medium, views::Palette());
    const auto rendered = render(entryWith(), WidgetFamily::medium);
    window.setRendered(rendered, WidgetWindow::Transition::none);
    window.show();
    QSignalSpy clicked(&window, &WidgetWindow::actionClicked);
    QTest::mouseClick(&window, Qt::LeftButton, {}, QPoint(40, 150));
    QTest::mouseClick(&window, Qt::MiddleButton, {}, buttonCentre(rendered, "db"));
    EXPECT_EQ(clicked.count(), 0);
}

TEST_F(WidgetWindowTest, ADragMovesTheWindowInsteadOfClicking)
{
    WidgetWindow window(WidgetFamily::medium, views::Palette());
    const auto rendered = render(entryWith(), WidgetFamily::medium);
    window.setRendered(rendered, WidgetWindow::Transition::none);
    window.move(100, 100);
    window.show();
    QSignalSpy clicked(&window, &WidgetWindow::actionClicked);
    QSignalSpy moved(&window, &WidgetWindow::moved);

    const QPoint start = buttonCentre(rendered, "db");
    QTest::mousePress(&window, Qt::LeftButton, {}, start);
    QTest::mouseMove(&window, start + QPoint(30, 20));
    QTest::mouseRelease(&window, Qt::LeftButton, {}, start + QPoint(30, 20));
    EXPECT_EQ(clicked.count(), 0);
    EXPECT_GE(moved.count(), 1);
    EXPECT_EQ(window.pos(), QPoint(130, 120));
}

TEST_F(WidgetWindowTest, AnotherStateFadesInAndTheFadeEnds)
{
    WidgetWindow window(WidgetFamily::medium, views::Palette());
    window.setRendered(render(entryWith(), WidgetFamily::medium), WidgetWindow::Transition::none);
    window.show();
    EXPECT_FALSE(window.isAnimating());
    window.setRendered(render(entryWith({ { "db", WidgetCommand::Action::start } }), WidgetFamily::medium), WidgetWindow::Transition::crossFade);
    EXPECT_TRUE(window.isAnimating());
    EXPECT_TRUE(test::waitFor([&] { return !window.isAnimating(); }));
}

TEST_F(WidgetWindowTest, ARedrawOfTheSameStateDoesNotAnimate)
{
    WidgetWindow window(WidgetFamily::medium, views::Palette());
    window.show();
    window.setRendered(render(entryWith(), WidgetFamily::medium), WidgetWindow::Transition::none);
    window.setRendered(render(entryWith(), WidgetFamily::medium), WidgetWindow::Transition::none);
    EXPECT_FALSE(window.isAnimating());
}

TEST_F(WidgetWindowTest, TheFirstRepaintShowingTheClickedItemBusyIsReported)
{
    WidgetWindow window(WidgetFamily::medium, views::Palette());
    window.setRendered(render(entryWith(), WidgetFamily::medium), WidgetWindow::Transition::none);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QSignalSpy shown(&window, &WidgetWindow::pendingShown);
    window.probePending("db");
    window.repaint();
    EXPECT_EQ(shown.count(), 0);

    window.setRendered(render(entryWith({ { "db", WidgetCommand::Action::start } }), WidgetFamily::medium), WidgetWindow::Transition::crossFade);
    window.repaint();
    ASSERT_EQ(shown.count(), 1);
    EXPECT_EQ(shown.at(0).at(0).toString(), QStringLiteral("db"));
    EXPECT_GE(shown.at(0).at(1).toDouble(), 0.0);
    window.repaint();
    EXPECT_EQ(shown.count(), 1);
}

TEST_F(WidgetWindowTest, ANoticeShowsOverTheWidget)
{
    WidgetWindow window(WidgetFamily::small, views::Palette());
    window.show();
    EXPECT_FALSE(window.hasNotice());
    window.showNotice(QStringLiteral("Não foi possível enviar o pedido."));
    EXPECT_TRUE(window.hasNotice());
    window.repaint();
}

TEST_F(WidgetWindowTest, AButtonChangingItsSymbolIsReplacedAndTheAnimationEndsOnTheNewRender)
{
    const views::Palette palette;
    WidgetWindow window(WidgetFamily::medium, palette);
    window.setRendered(render(entryWith(), WidgetFamily::medium), WidgetWindow::Transition::none);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    EXPECT_TRUE(window.transitionPlan().isEmpty());

    // A pending start shows the stopped item's stop symbol at once; nothing else changes its symbol.
    const auto next = render(entryWith({ { "db", WidgetCommand::Action::start } }), WidgetFamily::medium);
    window.setRendered(next, WidgetWindow::Transition::crossFade);
    ASSERT_TRUE(window.isAnimating());
    const auto& regions = window.transitionPlan().regions();
    ASSERT_EQ(regions.size(), 1u);
    EXPECT_EQ(regions[0].kind, views::RenderTransition::Kind::replace);
    const views::ViewNode* symbol = nullptr;
    for (const views::ViewNode* node : views::nodesOfType<views::node::Button>(next.root)) {
        if (node->as<views::node::Button>()->itemID == "db")
            symbol = &node->children.at(0);
    }
    ASSERT_NE(symbol, nullptr);
    EXPECT_EQ(regions[0].frame, symbol->frame);
    window.repaint();

    EXPECT_TRUE(test::waitFor([&] { return !window.isAnimating(); }));
    EXPECT_TRUE(window.transitionPlan().isEmpty());
    const QImage shown = window.grab().toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const QImage expected = views::paintWidget(next, window.devicePixelRatioF(), palette).convertToFormat(QImage::Format_ARGB32_Premultiplied);
    ASSERT_EQ(shown.size(), expected.size());
    EXPECT_TRUE(shown == expected) << "the last frame is the new render, not a blend";
}

TEST_F(WidgetWindowTest, AChangedCountRollsWhileTheRestFades)
{
    WidgetWindow window(WidgetFamily::medium, views::Palette());
    window.setRendered(render(entryWith(), WidgetFamily::medium), WidgetWindow::Transition::none);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));

    TimelineEntry more = entryWith();
    more.snapshot.items.at(0).isRunning = true;
    window.setRendered(render(more, WidgetFamily::medium), WidgetWindow::Transition::crossFade);
    ASSERT_TRUE(window.isAnimating());
    int rolls = 0;
    for (const auto& region : window.transitionPlan().regions()) {
        if (region.kind == views::RenderTransition::Kind::roll) {
            ++rolls;
            EXPECT_EQ(region.direction, views::RenderTransition::Direction::up);
        }
    }
    EXPECT_EQ(rolls, 1) << "1 rodando → 2 rodando";
    window.repaint();

    // Another render while it plays starts again from what is shown now.
    window.setRendered(render(entryWith(), WidgetFamily::medium), WidgetWindow::Transition::none);
    EXPECT_FALSE(window.isAnimating());
    EXPECT_TRUE(window.transitionPlan().isEmpty());
}
