// SPDX-License-Identifier: MIT
#include "Host/DesktopHost.h"
#include "Views/GlassView.h"

#include "HostTestSupport.h"
#include "Host/HostTexts.h"
#include "Widget/QuelmWidgetBundle.h"

#include <gtest/gtest.h>

#include <QContextMenuEvent>
#include <QMenu>
#include <QSignalSpy>
#include <QSystemTrayIcon>
#include <QTimer>

#include <set>
#include <sstream>

using namespace quelm;
using namespace quelm::host;
using quelm::test::readFile;
using quelm::test::writeFile;

namespace {

constexpr Date now { 1'700'000'000 };

WidgetSnapshot snapshot()
{
    WidgetSnapshot snapshot;
    // Category order: node (web), then database (db); recent order: db was started last.
    snapshot.items = {
        WidgetItem { "web", "web", "node", true, std::nullopt, 5173, Date::now().addingSeconds(-3600) },
        WidgetItem { "db", "postgres", "database", true, std::nullopt, 5432, Date::now().addingSeconds(-120) },
        WidgetItem { "cache", "cache", "docker", false },
    };
    snapshot.groups = { WidgetGroup("group:g", "Trabalho", 2, 0, false) };
    snapshot.updatedAt = Date::now();
    return snapshot;
}

std::vector<std::string> itemRowOrder(const views::RenderedWidget& rendered)
{
    std::vector<std::string> ids;
    for (const views::ViewNode* node : views::nodesOfType<views::node::Row>(rendered.root)) {
        if (node->as<views::node::Row>()->kind == views::RowKind::item)
            ids.push_back(node->as<views::node::Row>()->id);
    }
    return ids;
}

const views::ViewNode* buttonFor(const views::RenderedWidget& rendered, const std::string& itemID)
{
    for (const views::ViewNode* node : views::nodesOfType<views::node::Button>(rendered.root)) {
        if (node->as<views::node::Button>()->itemID == itemID)
            return node;
    }
    return nullptr;
}

bool showsBusy(PlacedWidget& placed, const std::string& id)
{
    const auto& rendered = placed.window().rendered();
    if (!rendered)
        return false;
    for (const views::ViewNode* node : views::nodesOfType<views::node::Row>(rendered->root)) {
        if (node->as<views::node::Row>()->id == id && node->as<views::node::Row>()->busy)
            return true;
    }
    return false;
}

class DesktopHostTest : public test::HostTest {
protected:
    void publish()
    {
        store().writeSnapshot(snapshot());
        store().touchHeartbeat(Date::now());
    }

    InstanceStore instanceStore() const { return InstanceStore(QString::fromStdString(settingsFile().string())); }

    std::vector<WidgetInstance> savedInstances(DesktopHost& host) const
    {
        host.flushSaves();
        return InstanceStore::decode(QByteArray::fromStdString(readFile(settingsFile())));
    }

    static bool allShown(const DesktopHost& host)
    {
        for (PlacedWidget* placed : host.placedWidgets()) {
            if (!placed->shownEntry())
                return false;
        }
        return true;
    }

    // Clicks where the widget shows the button of `itemID`.
    static void clickButton(PlacedWidget& placed, const std::string& itemID)
    {
        const views::ViewNode* button = buttonFor(*placed.window().rendered(), itemID);
        ASSERT_NE(button, nullptr) << itemID;
        const QPoint centre(static_cast<int>(button->frame.x + button->frame.width / 2), static_cast<int>(button->frame.y + button->frame.height / 2));
        QTest::mouseClick(&placed.window(), Qt::LeftButton, {}, centre);
    }

    const QuelmWidgetBundle bundle;
    std::ostringstream err;
};

}

TEST_F(DesktopHostTest, WithoutSavedWidgetsOneMediumWidgetIsPlacedAndSaved)
{
    publish();
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    ASSERT_EQ(host.placedWidgets().size(), 1u);
    PlacedWidget& placed = *host.placedWidgets().front();
    EXPECT_EQ(placed.instance().family, WidgetFamily::medium);
    EXPECT_TRUE(placed.window().isVisible());
    EXPECT_EQ(placed.window().size(), QSize(364, 170));
    EXPECT_TRUE(err.str().empty());
    EXPECT_EQ(savedInstances(host), std::vector { placed.instance() });
    ASSERT_TRUE(test::waitFor([&] { return placed.shownEntry().has_value(); }));
    EXPECT_EQ(placed.window().rendered()->appStatus, SharedStore::AppStatus::running);
}

TEST_F(DesktopHostTest, ADamagedListIsMovedAsideAndSaidOnStandardError)
{
    std::filesystem::create_directories(settingsFile().parent_path());
    writeFile(settingsFile(), "{\"widgets\": [{\"id\": 7}");
    DesktopHost host(bundle, instanceStore());
    host.start(err);

    ASSERT_EQ(host.placedWidgets().size(), 1u);
    EXPECT_EQ(host.placedWidgets().front()->instance().family, WidgetFamily::medium);
    EXPECT_NE(err.str().find("damaged"), std::string::npos) << err.str();
    EXPECT_NE(err.str().find("widgets.json.bad"), std::string::npos) << err.str();
    EXPECT_EQ(readFile(settingsFile().string() + ".bad"), "{\"widgets\": [{\"id\": 7}");
    EXPECT_EQ(savedInstances(host).size(), 1u);
}

TEST_F(DesktopHostTest, AnUnknownSortOrderCostsThatWidgetItsOrderAlone)
{
    std::filesystem::create_directories(settingsFile().parent_path());
    writeFile(settingsFile(), R"({"widgets": [
        {"id": "a", "family": "small", "sortOrder": "Recent", "position": {"x": 10, "y": 10}},
        {"id": "b", "family": "large", "sortOrder": "recent", "position": {"x": 300, "y": 10}}]})");
    DesktopHost host(bundle, instanceStore());
    host.start(err);

    ASSERT_EQ(host.placedWidgets().size(), 2u);
    EXPECT_EQ(host.find(QStringLiteral("a"))->instance().family, WidgetFamily::small);
    EXPECT_EQ(host.find(QStringLiteral("a"))->instance().sortOrder, WidgetSortOrder::category);
    EXPECT_EQ(host.find(QStringLiteral("b"))->instance().sortOrder, WidgetSortOrder::recent);
    EXPECT_EQ(host.find(QStringLiteral("b"))->instance().position, QPoint(300, 10));
    EXPECT_NE(err.str().find("unknown sort order \"Recent\""), std::string::npos) << err.str();
    EXPECT_FALSE(std::filesystem::exists(settingsFile().string() + ".bad"));
    EXPECT_EQ(savedInstances(host).size(), 2u);
}

TEST_F(DesktopHostTest, ANewWindowShowsThePlaceholderUntilItsFirstTimeline)
{
    publish();
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    PlacedWidget& placed = *host.placedWidgets().front();
    // Drawn before the event loop ran once: the timeline is still being read on another thread.
    ASSERT_TRUE(placed.window().rendered().has_value());
    EXPECT_TRUE(placed.showsPlaceholder());
    EXPECT_FALSE(placed.shownEntry());
    const auto placeholderRows = views::nodesOfType<views::node::Row>(placed.window().rendered()->root);
    EXPECT_FALSE(placeholderRows.empty());
    // Its buttons do nothing: the rows are invented.
    QSignalSpy toggles(&placed, &PlacedWidget::toggleRequested);
    const auto buttons = views::nodesOfType<views::node::Button>(placed.window().rendered()->root);
    ASSERT_FALSE(buttons.empty());
    const views::Frame& frame = buttons.front()->frame;
    QTest::mouseClick(&placed.window(), Qt::LeftButton, {}, QPoint(static_cast<int>(frame.x + frame.width / 2), static_cast<int>(frame.y + frame.height / 2)));
    EXPECT_EQ(toggles.count(), 0);

    ASSERT_TRUE(test::waitFor([&] { return placed.shownEntry().has_value(); }));
    EXPECT_FALSE(placed.showsPlaceholder());
    const auto rows = views::nodesOfType<views::node::Row>(placed.window().rendered()->root);
    ASSERT_FALSE(rows.empty());
    for (const views::ViewNode* row : rows)
        EXPECT_TRUE((std::set<std::string> { "web", "db", "cache", "group:g" }).contains(row->as<views::node::Row>()->id));
    EXPECT_FALSE(placed.window().isAnimating());
}

TEST_F(DesktopHostTest, SavedWidgetsComeBackWithTheirFamilyOrderAndPlace)
{
    const std::vector<WidgetInstance> saved {
        { QStringLiteral("one"), WidgetFamily::small, WidgetSortOrder::recent, QPoint(300, 200) },
        { QStringLiteral("two"), WidgetFamily::extraLarge, WidgetSortOrder::category, QPoint(40, 500) },
    };
    instanceStore().save(saved);
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    ASSERT_EQ(host.placedWidgets().size(), 2u);
    EXPECT_EQ(host.placedWidgets()[0]->instance(), saved[0]);
    EXPECT_EQ(host.placedWidgets()[1]->instance(), saved[1]);
    EXPECT_EQ(host.placedWidgets()[0]->window().geometry(), QRect(300, 200, 170, 170));
    EXPECT_EQ(host.placedWidgets()[1]->window().geometry(), QRect(40, 500, 766, 382));
}

TEST_F(DesktopHostTest, TwoInstancesWithDifferentSortOrdersShowDifferentOrders)
{
    publish();
    instanceStore().save({
        { QStringLiteral("by-category"), WidgetFamily::large, WidgetSortOrder::category, QPoint(0, 0) },
        { QStringLiteral("by-recent"), WidgetFamily::large, WidgetSortOrder::recent, QPoint(400, 0) },
    });
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    ASSERT_TRUE(test::waitFor([&] { return allShown(host); }));

    PlacedWidget& byCategory = *host.find(QStringLiteral("by-category"));
    PlacedWidget& byRecent = *host.find(QStringLiteral("by-recent"));
    EXPECT_EQ(byCategory.shownEntry()->sortOrder, WidgetSortOrder::category);
    EXPECT_EQ(byRecent.shownEntry()->sortOrder, WidgetSortOrder::recent);
    EXPECT_EQ(itemRowOrder(*byCategory.window().rendered()), (std::vector<std::string> { "web", "db", "cache" }));
    EXPECT_EQ(itemRowOrder(*byRecent.window().rendered()), (std::vector<std::string> { "db", "web", "cache" }));
}

TEST_F(DesktopHostTest, EditingOneInstancesSortOrderLeavesTheOtherAlone)
{
    publish();
    instanceStore().save({
        { QStringLiteral("a"), WidgetFamily::large, WidgetSortOrder::category, QPoint(0, 0) },
        { QStringLiteral("b"), WidgetFamily::large, WidgetSortOrder::category, QPoint(400, 0) },
    });
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    ASSERT_TRUE(test::waitFor([&] { return allShown(host); }));

    PlacedWidget& a = *host.find(QStringLiteral("a"));
    a.edit().choose(WidgetSortOrder::recent);
    ASSERT_TRUE(test::waitFor([&] { return a.shownEntry()->sortOrder == WidgetSortOrder::recent; }));
    EXPECT_EQ(itemRowOrder(*a.window().rendered()), (std::vector<std::string> { "db", "web", "cache" }));
    EXPECT_EQ(host.find(QStringLiteral("b"))->shownEntry()->sortOrder, WidgetSortOrder::category);

    const auto saved = savedInstances(host);
    ASSERT_EQ(saved.size(), 2u);
    EXPECT_EQ(saved[0].sortOrder, WidgetSortOrder::recent);
    EXPECT_EQ(saved[1].sortOrder, WidgetSortOrder::category);
}

TEST_F(DesktopHostTest, ChangingTheSizeResizesAndSaves)
{
    publish();
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    PlacedWidget& placed = *host.placedWidgets().front();
    placed.setFamily(WidgetFamily::extraLarge);
    EXPECT_EQ(placed.window().size(), QSize(766, 382));
    ASSERT_TRUE(test::waitFor([&] { return placed.window().rendered() && placed.window().rendered()->family == WidgetFamily::extraLarge; }));
    EXPECT_EQ(savedInstances(host).front().family, WidgetFamily::extraLarge);
}

TEST_F(DesktopHostTest, ANewSnapshotInTheContainerShowsWithoutBeingAsked)
{
    publish();
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    PlacedWidget& placed = *host.placedWidgets().front();
    ASSERT_TRUE(test::waitFor([&] { return placed.shownEntry().has_value(); }));

    WidgetSnapshot next = snapshot();
    next.items.front().isRunning = false;
    next.items.front().startedAt.reset();
    store().writeSnapshot(next);
    ASSERT_TRUE(test::waitFor([&] { return placed.shownEntry()->snapshot == next; }));
}

TEST_F(DesktopHostTest, AQuietHostKeepsNoGlassBackgrounds)
{
    publish();
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    PlacedWidget& placed = *host.placedWidgets().front();
    ASSERT_TRUE(test::waitFor([&] { return placed.shownEntry().has_value(); }));
    // Painted: its glass is kept while renders may follow.
    const QImage before = placed.window().grab().toImage();
    EXPECT_GE(views::GlassView::keptBackgrounds(), 1u);

    WidgetSnapshot next = snapshot();
    next.items.front().isRunning = false;
    next.items.front().startedAt.reset();
    store().writeSnapshot(next);
    ASSERT_TRUE(test::waitFor([&] { return placed.shownEntry()->snapshot == next; }));
    EXPECT_TRUE(test::waitFor([] { return views::GlassView::keptBackgrounds() == 0; }));
    // And the widget still paints whole.
    EXPECT_EQ(placed.window().grab().toImage().size(), before.size());
    EXPECT_EQ(qAlpha(placed.window().grab().toImage().pixel(before.width() / 2, before.height() / 2)), 255);
}

TEST_F(DesktopHostTest, AClickOnAStoppedItemQueuesAStartAndShowsItStarting)
{
    publish();
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    PlacedWidget& placed = *host.placedWidgets().front();
    ASSERT_TRUE(test::waitFor([&] { return placed.shownEntry().has_value(); }));

    clickButton(placed, "cache");
    // The provider's entry, after the intent: the mark is in the container.
    ASSERT_TRUE(test::waitFor([&] { return placed.shownEntry()->pending.contains("cache"); }));
    EXPECT_EQ(placed.shownEntry()->pending, (TimelineEntry::PendingActions { { "cache", WidgetCommand::Action::start } }));
    EXPECT_TRUE(showsBusy(placed, "cache"));
    const auto commands = store().drainCommands();
    ASSERT_EQ(commands.size(), 1u);
    EXPECT_EQ(commands[0].itemID, "cache");
    EXPECT_EQ(commands[0].action, WidgetCommand::Action::start);
    EXPECT_FALSE(placed.window().hasNotice());
}

TEST_F(DesktopHostTest, AClickOnAGroupQueuesTheGroupsId)
{
    publish();
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    PlacedWidget& placed = *host.placedWidgets().front();
    ASSERT_TRUE(test::waitFor([&] { return placed.shownEntry().has_value(); }));

    clickButton(placed, "group:g");
    ASSERT_TRUE(test::waitFor([&] { return placed.shownEntry()->pending.contains("group:g"); }));
    EXPECT_TRUE(showsBusy(placed, "group:g"));
    const auto commands = store().drainCommands();
    ASSERT_EQ(commands.size(), 1u);
    EXPECT_EQ(commands[0].itemID, "group:g");
    EXPECT_EQ(commands[0].action, WidgetCommand::Action::start);
}

TEST_F(DesktopHostTest, EveryPlacedWidgetShowsAClickedItemBusy)
{
    publish();
    instanceStore().save({
        { QStringLiteral("a"), WidgetFamily::medium, WidgetSortOrder::category, QPoint(0, 0) },
        { QStringLiteral("b"), WidgetFamily::large, WidgetSortOrder::category, QPoint(400, 0) },
    });
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    ASSERT_TRUE(test::waitFor([&] { return allShown(host); }));
    clickButton(*host.find(QStringLiteral("a")), "cache");
    ASSERT_TRUE(test::waitFor([&] { return showsBusy(*host.find(QStringLiteral("b")), "cache"); }));
}

TEST_F(DesktopHostTest, AFailingIntentSaysSoOnTheWidgetAndChangesNothingElse)
{
    publish();
    // A file where the commands folder belongs: no command can be written.
    writeFile(store().root() / "commands", "");
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    PlacedWidget& placed = *host.placedWidgets().front();
    ASSERT_TRUE(test::waitFor([&] { return placed.shownEntry().has_value(); }));
    const TimelineEntry before = *placed.shownEntry();

    clickButton(placed, "cache");
    ASSERT_TRUE(test::waitFor([&] { return placed.window().hasNotice(); }));
    // The click's own busy display ends with the entry that follows the failure.
    ASSERT_TRUE(test::waitFor([&] { return !showsBusy(placed, "cache"); }));
    EXPECT_TRUE(placed.shownEntry()->pending.empty());
    EXPECT_EQ(placed.shownEntry()->snapshot, before.snapshot);
    EXPECT_FALSE(showsBusy(placed, "cache"));
    EXPECT_FALSE(std::filesystem::exists(store().root() / "pending.json"));
    EXPECT_EQ(host.placedWidgets().size(), 1u);
}

TEST_F(DesktopHostTest, AClickShowsItsRowBusyBeforeTheIntentHasEnded)
{
    publish();
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    PlacedWidget& placed = *host.placedWidgets().front();
    ASSERT_TRUE(test::waitFor([&] { return placed.shownEntry().has_value(); }));

    clickButton(placed, "cache");
    // Drawn by the click itself, not by a reload: the timeline is loaded on another thread.
    EXPECT_TRUE(showsBusy(placed, "cache"));
    ASSERT_TRUE(test::waitFor([&] { return placed.shownEntry()->pending.contains("cache"); }));
    EXPECT_TRUE(showsBusy(placed, "cache"));
}

TEST_F(DesktopHostTest, AMovedWidgetsNewPlaceIsSaved)
{
    publish();
    instanceStore().save({ { QStringLiteral("a"), WidgetFamily::small, WidgetSortOrder::category, QPoint(100, 100) } });
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    PlacedWidget& placed = *host.placedWidgets().front();
    ASSERT_TRUE(test::waitFor([&] { return placed.shownEntry().has_value(); }));

    QSignalSpy clicks(&placed.window(), &WidgetWindow::actionClicked);
    placed.window().move(QPoint(250, 180));
    EXPECT_EQ(placed.instance().position, QPoint(250, 180));
    EXPECT_EQ(savedInstances(host).front().position, QPoint(250, 180));
    EXPECT_EQ(clicks.count(), 0);
}

TEST_F(DesktopHostTest, APlaceOnAScreenThatIsNotConnectedIsKeptAndUsedWhenItReturns)
{
    publish();
    const QList<ScreenArea> here = DesktopHost::connectedScreens();
    ASSERT_FALSE(here.isEmpty());
    const QRect elsewhere(here.first().available.right() + 1, 0, 1280, 1024);
    const QPoint away = elsewhere.topLeft() + QPoint(300, 200);
    WidgetInstance saved { QStringLiteral("away"), WidgetFamily::small, WidgetSortOrder::category, away };
    saved.screen = QStringLiteral("HDMI-9");
    instanceStore().save({ saved });

    DesktopHost host(bundle, instanceStore());
    host.start(err);
    PlacedWidget& placed = *host.find(QStringLiteral("away"));
    // Shown on a connected screen meanwhile; the place stays in the list.
    EXPECT_TRUE(here.first().available.contains(placed.window().geometry())) << placed.window().pos().x() << "," << placed.window().pos().y();
    EXPECT_EQ(placed.instance(), saved);
    EXPECT_EQ(savedInstances(host).front(), saved);

    // The screen comes back: the widget returns to its place, which is still the saved one.
    QList<ScreenArea> both = here;
    both.append({ QStringLiteral("HDMI-9"), elsewhere });
    host.arrange(both);
    EXPECT_EQ(placed.window().pos(), away);
    EXPECT_EQ(savedInstances(host).front(), saved);

    // And goes again.
    host.arrange(here);
    EXPECT_TRUE(here.first().available.contains(placed.window().geometry()));
    EXPECT_EQ(savedInstances(host).front(), saved);
}

TEST_F(DesktopHostTest, AWidgetDraggedElsewhereSavesItsScreen)
{
    publish();
    instanceStore().save({ { QStringLiteral("a"), WidgetFamily::small, WidgetSortOrder::category, QPoint(100, 100) } });
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    PlacedWidget& placed = *host.find(QStringLiteral("a"));
    placed.window().move(QPoint(150, 120));
    const WidgetInstance saved = savedInstances(host).front();
    EXPECT_EQ(saved.position, QPoint(150, 120));
    // The screen the window is on now (the offscreen test screen has no name of its own).
    EXPECT_EQ(saved.screen, DesktopHost::connectedScreens().first().name);
}

TEST_F(DesktopHostTest, NewWidgetsNeverCoverAnother)
{
    publish();
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    for (const WidgetFamily family : { WidgetFamily::small, WidgetFamily::small, WidgetFamily::medium })
        host.place(WidgetInstance::placed(family));
    ASSERT_EQ(host.placedWidgets().size(), 4u);
    for (std::size_t i = 0; i < host.placedWidgets().size(); ++i) {
        for (std::size_t j = i + 1; j < host.placedWidgets().size(); ++j)
            EXPECT_FALSE(host.placedWidgets()[i]->window().geometry().intersects(host.placedWidgets()[j]->window().geometry())) << i << " and " << j;
    }
}

TEST_F(DesktopHostTest, TheGalleryPlacesAWidgetOfTheChosenFamily)
{
    publish();
    DesktopHost host(bundle, instanceStore());
    host.start(err);
    WidgetGallery& gallery = host.openGallery();
    EXPECT_EQ(gallery.families(), (std::vector<WidgetFamily>(QuelmWidget::supportedFamilies.begin(), QuelmWidget::supportedFamilies.end())));
    gallery.choose(WidgetFamily::small);
    ASSERT_EQ(host.placedWidgets().size(), 2u);
    EXPECT_EQ(host.placedWidgets()[1]->instance().family, WidgetFamily::small);
    EXPECT_NE(host.placedWidgets()[1]->window().pos(), host.placedWidgets()[0]->window().pos());
    EXPECT_EQ(savedInstances(host).size(), 2u);
}

TEST_F(DesktopHostTest, RemovingTheLastWidgetKeepsTheHostRunningWithAWayToAddOne)
{
    publish();
    instanceStore().save({
        { QStringLiteral("a"), WidgetFamily::small, WidgetSortOrder::category, QPoint(0, 0) },
        { QStringLiteral("b"), WidgetFamily::small, WidgetSortOrder::category, QPoint(200, 0) },
    });
    DesktopHost host(bundle, instanceStore());
    QSignalSpy emptied(&host, &DesktopHost::emptied);
    host.start(err);
    host.remove(*host.find(QStringLiteral("a")));
    EXPECT_EQ(savedInstances(host).size(), 1u);
    host.remove(*host.find(QStringLiteral("b")));
    EXPECT_TRUE(savedInstances(host).empty());
    EXPECT_EQ(emptied.count(), 0);
    // Here, without a tray, the gallery offers the next widget.
    ASSERT_EQ(host.trayIcon() != nullptr, QSystemTrayIcon::isSystemTrayAvailable());
    if (!host.trayIcon()) {
        WidgetGallery& gallery = host.openGallery();
        EXPECT_TRUE(gallery.isVisible());
        gallery.choose(WidgetFamily::large);
        ASSERT_EQ(host.placedWidgets().size(), 1u);
        EXPECT_EQ(savedInstances(host).size(), 1u);
    }
}

TEST_F(DesktopHostTest, QuittingFromAWidgetsMenuKeepsEveryWidgetForNextTime)
{
    publish();
    instanceStore().save({
        { QStringLiteral("a"), WidgetFamily::small, WidgetSortOrder::category, QPoint(0, 0) },
        { QStringLiteral("b"), WidgetFamily::large, WidgetSortOrder::recent, QPoint(200, 0) },
    });
    DesktopHost host(bundle, instanceStore());
    QSignalSpy quit(&host, &DesktopHost::quitRequested);
    host.start(err);
    PlacedWidget& placed = *host.find(QStringLiteral("b"));

    // Choose "Sair" in the widget's own context menu.
    QString chosen;
    QTimer::singleShot(0, &placed.window(), [&] {
        ASSERT_TRUE(test::waitFor([] { return QApplication::activePopupWidget() != nullptr; }));
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        for (QAction* action : menu->actions()) {
            if (action->text() == hostText(HostTexts::quit)) {
                chosen = action->text();
                menu->setActiveAction(action);
                QTest::keyClick(menu, Qt::Key_Return);
                return;
            }
        }
        menu->close();
    });
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(10, 10), placed.window().mapToGlobal(QPoint(10, 10)));
    QApplication::sendEvent(&placed.window(), &event);

    EXPECT_EQ(chosen, QStringLiteral("Sair"));
    EXPECT_EQ(quit.count(), 1);
    const std::vector<WidgetInstance> saved = savedInstances(host);
    ASSERT_EQ(saved.size(), 2u);
    EXPECT_EQ(saved[0].id, QStringLiteral("a"));
    EXPECT_EQ(saved[1].id, QStringLiteral("b"));
}

TEST_F(DesktopHostTest, StartingWithAnEmptyListOpensTheGalleryOrEndsAtLoginWithoutATray)
{
    instanceStore().save({});
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        DesktopHost host(bundle, instanceStore());
        QSignalSpy emptied(&host, &DesktopHost::emptied);
        host.start(err, DesktopHost::WhenEmpty::end);
        EXPECT_EQ(emptied.count(), 1);
    }
    DesktopHost host(bundle, instanceStore());
    QSignalSpy emptied(&host, &DesktopHost::emptied);
    host.start(err);
    EXPECT_EQ(emptied.count(), 0);
    WidgetGallery& gallery = host.openGallery();
    EXPECT_TRUE(gallery.isVisible());
    gallery.reject();
    EXPECT_EQ(emptied.count(), host.trayIcon() ? 0 : 1);
}
