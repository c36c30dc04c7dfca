// SPDX-License-Identifier: MIT
#include "Host/ClickAction.h"

#include "HostTestSupport.h"
#include "Views/WidgetRenderer.h"

#include <gtest/gtest.h>

using namespace quelm;
using namespace quelm::host;

namespace {

constexpr Date now { 1'700'000'000 };

views::RenderedWidget render(const TimelineEntry& entry, WidgetFamily family)
{
    views::RenderOptions options;
    options.now = now;
    options.currentLocale = "pt_BR.UTF-8";
    return views::renderWidget(entry, family, options);
}

TimelineEntry runningEntry()
{
    TimelineEntry entry;
    entry.date = now;
    entry.appStatus = SharedStore::AppStatus::running;
    entry.snapshot.items = {
        WidgetItem { "api", "api", "node", true, std::nullopt, 3000, now.addingSeconds(-90) },
        WidgetItem { "db", "postgres", "database", false },
    };
    entry.snapshot.groups = { WidgetGroup("group:g", "Trabalho", 3, 0, false) };
    entry.snapshot.sessions = { WidgetSession { "s1", "Ajustar", "quelm", WidgetSession::State::working } };
    return entry;
}

const views::ViewNode& buttonFor(const views::RenderedWidget& rendered, const std::string& itemID)
{
    for (const views::ViewNode* node : views::nodesOfType<views::node::Button>(rendered.root)) {
        if (node->as<views::node::Button>()->itemID == itemID)
            return *node;
    }
    throw std::runtime_error("no button for " + itemID);
}

ClickAction clickAtCentre(const views::RenderedWidget& rendered, const views::Frame& frame)
{
    return clickAction(rendered.root, frame.x + frame.width / 2, frame.y + frame.height / 2);
}

class ClickActionTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { test::hostApplication(); }
};

}

TEST_F(ClickActionTest, AClickOnAStoppedItemsButtonStartsIt)
{
    const auto rendered = render(runningEntry(), WidgetFamily::medium);
    EXPECT_EQ(clickAtCentre(rendered, buttonFor(rendered, "db").frame), ClickAction(ToggleItemIntent("db", true)));
}

TEST_F(ClickActionTest, AClickOnARunningItemsButtonStopsIt)
{
    const auto rendered = render(runningEntry(), WidgetFamily::large);
    EXPECT_EQ(clickAtCentre(rendered, buttonFor(rendered, "api").frame), ClickAction(ToggleItemIntent("api", false)));
}

TEST_F(ClickActionTest, AGroupsButtonTogglesTheGroupUnderItsOwnId)
{
    const auto rendered = render(runningEntry(), WidgetFamily::extraLarge);
    EXPECT_EQ(clickAtCentre(rendered, buttonFor(rendered, "group:g").frame), ClickAction(ToggleItemIntent("group:g", true)));
}

TEST_F(ClickActionTest, EveryCornerOfAButtonCountsAndJustOutsideDoesNot)
{
    const auto rendered = render(runningEntry(), WidgetFamily::medium);
    const views::Frame frame = buttonFor(rendered, "db").frame;
    EXPECT_EQ(clickAction(rendered.root, frame.x, frame.y), ClickAction(ToggleItemIntent("db", true)));
    EXPECT_EQ(clickAction(rendered.root, frame.maxX() - 0.01, frame.maxY() - 0.01), ClickAction(ToggleItemIntent("db", true)));
    EXPECT_FALSE(std::holds_alternative<ToggleItemIntent>(clickAction(rendered.root, frame.maxX() + 0.5, frame.y + 1)));
}

TEST_F(ClickActionTest, AClickBesideTheButtonsDoesNothing)
{
    const auto rendered = render(runningEntry(), WidgetFamily::large);
    EXPECT_EQ(clickAction(rendered.root, 2, 2), ClickAction(NoAction {}));
    // On a row's title, away from its button.
    const views::Frame button = buttonFor(rendered, "db").frame;
    EXPECT_EQ(clickAction(rendered.root, 60, button.y + button.height / 2), ClickAction(NoAction {}));
    // Outside the widget.
    EXPECT_EQ(clickAction(rendered.root, -5, 50), ClickAction(NoAction {}));
    EXPECT_EQ(clickAction(rendered.root, 10, rendered.size.height + 1), ClickAction(NoAction {}));
}

TEST_F(ClickActionTest, ABusyButtonDoesNothing)
{
    TimelineEntry entry = runningEntry();
    entry.pending = { { "db", WidgetCommand::Action::start } };
    const auto rendered = render(entry, WidgetFamily::medium);
    EXPECT_EQ(clickAtCentre(rendered, buttonFor(rendered, "db").frame), ClickAction(NoAction {}));
}

TEST_F(ClickActionTest, ASessionRowOpensTheSession)
{
    const auto rendered = render(runningEntry(), WidgetFamily::large);
    const auto links = views::nodesOfType<views::node::Link>(rendered.root);
    ASSERT_EQ(links.size(), 1u);
    EXPECT_EQ(clickAtCentre(rendered, links[0]->frame), ClickAction(OpenAddress { "quelm://session/s1" }));
}

TEST_F(ClickActionTest, AClickAnywhereOnTheClosedAppMessageOpensTheApp)
{
    TimelineEntry entry = runningEntry();
    entry.appStatus = SharedStore::AppStatus::notRunning;
    for (const WidgetFamily family : { WidgetFamily::small, WidgetFamily::medium, WidgetFamily::large, WidgetFamily::extraLarge }) {
        const auto rendered = render(entry, family);
        EXPECT_EQ(clickAction(rendered.root, 3, 3), ClickAction(OpenAddress { "quelm://open" }));
        EXPECT_EQ(clickAction(rendered.root, rendered.size.width / 2, rendered.size.height / 2), ClickAction(OpenAddress { "quelm://open" }));
    }
}

TEST_F(ClickActionTest, TheNoAccessMessageDoesNothing)
{
    TimelineEntry entry = runningEntry();
    entry.appStatus = SharedStore::AppStatus::noAccess;
    const auto rendered = render(entry, WidgetFamily::medium);
    EXPECT_EQ(clickAction(rendered.root, rendered.size.width / 2, rendered.size.height / 2), ClickAction(NoAction {}));
}
