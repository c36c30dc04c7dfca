// SPDX-License-Identifier: MIT
// The desktop host on a real Wayland compositor: headless sway, which offers layer-shell, its
// screen read back with grim and its seat given a pointer by quelm-test-pointer (a headless seat
// has none). Also where the host goes without layer-shell: to X11 when an X server is reachable,
// nowhere (status 1, and why) otherwise. Where sway cannot run, its tests are skipped and say so.

#include "ChildWithOutput.h"
#include "ShellCommand.h"
#include "HeadlessSway.h"
#include "TestSupport.h"
#include "ViewTreeSearch.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <QColor>
#include <QImage>

#include <chrono>
#include <cstdlib>
#include <initializer_list>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using nlohmann::json;
using quelm::test::ChildWithOutput;
using quelm::test::TemporaryDirectory;
using quelm::test::findNode;
using quelm::test::readFile;
using quelm::test::writeFile;
namespace fs = std::filesystem;

namespace {

constexpr int screenWidth = 1024;
constexpr int screenHeight = 768;
const std::string widgetID = "0C0FFEE0-0000-4000-8000-000000000001";

using Finished = quelm::test::ShellRun;

// Standard output and error together.
Finished run(const std::vector<std::string>& arguments)
{
    return quelm::test::runThroughShell(arguments, "</dev/null 2>&1");
}

bool onPath(const std::string& program)
{
    return run({ "sh", "-c", "command -v " + program }).status == 0;
}

// Polls `condition` until it holds or a generous deadline passes.
template<typename Condition>
bool eventually(Condition condition, std::chrono::seconds deadline = std::chrono::seconds(30))
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (std::chrono::steady_clock::now() < end) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return condition();
}

// The saved position of the test's widget, if widgets.json has one.
std::optional<std::pair<int, int>> savedPosition(const fs::path& file)
{
    try {
        const json saved = json::parse(readFile(file));
        for (const json& widget : saved.at("widgets")) {
            if (widget.at("id") == widgetID && widget.contains("position"))
                return std::pair { widget["position"].at("x").get<int>(), widget["position"].at("y").get<int>() };
        }
    } catch (const std::exception&) {
    }
    return std::nullopt;
}

// A headless sway of the test's own, with everything the host needs around it: a configuration
// and a container directory, and the environment to run programs against it.
class HeadlessSway : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_sway.emplace(m_directory.path(), swayConfiguration(), outputCount());
        if (m_sway->problem())
            GTEST_SKIP() << "the host cannot be tried on a Wayland compositor here: " << *m_sway->problem();
        m_config = m_directory / "config";
        m_data = m_directory / "data";
        fs::create_directories(m_config / "quelm");
        fs::create_directories(m_data);
    }

    virtual int outputCount() const { return 1; }
    virtual std::string swayConfiguration() const
    {
        return "output HEADLESS-1 resolution " + std::to_string(screenWidth) + "x" + std::to_string(screenHeight) + " position 0 0\n";
    }

    // `env` arguments that run a program against this compositor and this test's files, with no
    // X server in sight.
    std::vector<std::string> environment() const
    {
        return { "env", "-u", "DISPLAY", "-u", "QT_QPA_PLATFORM", "XDG_RUNTIME_DIR=" + m_sway->runtimeDirectory().string(), "WAYLAND_DISPLAY=" + *m_sway->socketName(),
            "XDG_CONFIG_HOME=" + m_config.string(), "XDG_DATA_HOME=" + m_data.string(), "QUELM_HOST_TRACE=1" };
    }

    std::vector<std::string> with(std::vector<std::string> arguments) const
    {
        std::vector<std::string> command = environment();
        command.insert(command.end(), arguments.begin(), arguments.end());
        return command;
    }

    fs::path container() const { return m_data / "group-containers" / "local.dev.quelm.Quelm"; }
    fs::path widgetsFile() const { return m_config / "quelm" / "widgets.json"; }

    // The companion app as far as the widget can tell: one stopped item, and a fresh heartbeat.
    void publishOneStoppedItem()
    {
        const fs::path snapshot = m_directory / "snapshot.json";
        writeFile(snapshot, R"({"items":[{"id":"db","title":"Postgres","category":"database","isRunning":false}],"language":"en","updatedAt":1795384610.25})");
        const Finished published = run(with({ QUELMCTL_PROGRAM, "publish", snapshot.string() }));
        ASSERT_EQ(published.status, 0) << published.output;
        const Finished beat = run(with({ QUELMCTL_PROGRAM, "heartbeat" }));
        ASSERT_EQ(beat.status, 0) << beat.output;
    }

    void placeWidgetAt(int x, int y)
    {
        writeFile(widgetsFile(), json { { "widgets", json::array({ { { "id", widgetID }, { "family", "medium" }, { "sortOrder", "category" },
                                                             { "position", { { "x", x }, { "y", y } } } } }) } }
                                     .dump());
    }

    void startHost() { m_host.emplace(with({ QUELM_WIDGET_PROGRAM })); }

    // A trace line of the host that starts with `prefix`, said already or still to come.
    std::optional<std::string> hostSays(const std::string& prefix)
    {
        return hostSays([&](const std::string& line) { return line.starts_with(prefix); });
    }
    std::optional<std::string> hostSays(const std::function<bool(const std::string&)>& wanted)
    {
        for (const auto& line : m_host->lines()) {
            if (wanted(line))
                return line;
        }
        return m_host->waitForLine(wanted);
    }

    // A pointer device on the compositor's seat for as long as the object lives, moved and
    // pressed by quelm-test-pointer's steps in the coordinates of the whole layout.
    class Pointer {
    public:
        explicit Pointer(const std::string& command)
            : m_tool(::popen(command.c_str(), "we")) // not inherited, so that closing it ends the tool
        {
            if (!m_tool)
                throw std::runtime_error("cannot start quelm-test-pointer");
        }
        ~Pointer() { ::pclose(m_tool); }
        Pointer(const Pointer&) = delete;
        Pointer& operator=(const Pointer&) = delete;

        void operator()(const std::string& steps)
        {
            std::fputs((steps + "\n").c_str(), m_tool);
            std::fflush(m_tool);
        }

    private:
        FILE* m_tool;
    };
    std::unique_ptr<Pointer> pointer() const
    {
        std::string command;
        for (const auto& argument : with({ QUELM_TEST_POINTER_PROGRAM, std::to_string(layoutWidth()) + "x" + std::to_string(screenHeight) }))
            command += quelm::test::shellQuoted(argument) + " ";
        return std::make_unique<Pointer>(command + ">/dev/null");
    }
    virtual int layoutWidth() const { return screenWidth; }

    // What one output shows (the first one by default).
    QImage screenshot(const std::string& output = "HEADLESS-1") const
    {
        const fs::path file = m_directory / "screen.png";
        fs::remove(file);
        const Finished taken = run(with({ "grim", "-o", output, file.string() }));
        EXPECT_EQ(taken.status, 0) << taken.output;
        return QImage(QString::fromStdString(file.string()));
    }

    // Whether the screen shows the widget's dark glass in the box at (x, y) and the desktop around it.
    static bool showsWidgetAt(const QImage& screen, int x, int y, int width, int height)
    {
        if (screen.isNull())
            return false;
        const QColor desktop = screen.pixelColor(screen.width() - 2, screen.height() - 2);
        const auto dark = [&](int px, int py) { return QColor(screen.pixel(px, py)).lightness() + 24 < desktop.lightness(); };
        const auto bare = [&](int px, int py) { return screen.pixelColor(px, py) == desktop; };
        return dark(x + width / 2, y + height - 24) && dark(x + 12, y + height / 2) && dark(x + width - 12, y + height / 2)
            && bare(x - 4, y + height / 2) && bare(x + width + 4, y + height / 2) && bare(x + width / 2, y - 4)
            && bare(x + width / 2, y + height + 4);
    }

    TemporaryDirectory m_directory;
    std::optional<quelm::test::HeadlessSway> m_sway;
    fs::path m_config;
    fs::path m_data;
    std::optional<ChildWithOutput> m_host;
};

TEST_F(HeadlessSway, WidgetStandsAtItsSavedPlaceOnTheBottomLayerTakesClicksAndDragsAndKeepsItsPlace)
{
    publishOneStoppedItem();
    placeWidgetAt(200, 150);
    startHost();

    // Shown where it was saved, as a layer surface rather than a window.
    ASSERT_TRUE(hostSays("layer bottom 200 150 364 170")) << "the widget did not come up on the bottom layer";
    std::optional<json> tree;
    const auto rendered = hostSays([&](const std::string& line) {
        if (!line.starts_with("render "))
            return false;
        tree = json::parse(line.substr(line.find(' ', 7) + 1));
        return tree->at("appStatus") == "running";
    });
    ASSERT_TRUE(rendered) << "the widget never showed the running app";
    EXPECT_TRUE(eventually([&] { return showsWidgetAt(screenshot(), 200, 150, 364, 170); })) << "the screen does not show the widget at 200,150";
    const Finished windows = run(with({ "swaymsg", "-s", *m_sway->ipcSocket(), "-t", "get_tree" }));
    ASSERT_EQ(windows.status, 0) << windows.output;
    EXPECT_EQ(windows.output.find("\"app_id\": \""), std::string::npos) << "the widget is an ordinary window:\n" << windows.output;

    // A click on the item's button reaches the app's side: a command in the container.
    const json* button = findNode<json>(tree->at("root"), [](const json& node) { return node["type"] == "button" && node["enabled"] == true; });
    ASSERT_NE(button, nullptr) << "no button to click";
    const json& frame = button->at("frame");
    const int buttonX = 200 + static_cast<int>(frame["x"].get<double>() + frame["w"].get<double>() / 2);
    const int buttonY = 150 + static_cast<int>(frame["y"].get<double>() + frame["h"].get<double>() / 2);
    // The host hears of a new device on the seat before it is used, as it would of a plugged mouse.
    const auto move = pointer();
    ASSERT_TRUE(hostSays("seat pointer")) << "the host never got the seat's pointer";
    (*move)("move 10 10");
    (*move)("move " + std::to_string(buttonX) + " " + std::to_string(buttonY));
    ASSERT_TRUE(hostSays("layer entered ")) << "the pointer never came over the widget";
    (*move)("press");
    (*move)("release");
    EXPECT_TRUE(hostSays("click " + widgetID + " toggle db start")) << "the host did not take the click";
    EXPECT_TRUE(eventually([&] {
        std::error_code ignored;
        for (const auto& entry : fs::directory_iterator(container() / "commands", ignored)) {
            if (entry.path().extension() == ".json" && readFile(entry.path()).find("\"db\"") != std::string::npos)
                return true;
        }
        return false;
    })) << "no command for the item in the container";

    // A drag from the glass (away from the button) moves it by as much as the pointer went.
    for (const std::string step : { "move 210 160", "press", "move 240 180", "move 280 200", "move 320 230", "release" })
        (*move)(step);
    EXPECT_TRUE(hostSays("layer bottom 310 220 364 170")) << "the layer surface did not follow the drag";
    EXPECT_TRUE(eventually([&] { return savedPosition(widgetsFile()) == std::pair { 310, 220 }; }))
        << "widgets.json does not keep the new place:\n" << readFile(widgetsFile());
    EXPECT_TRUE(eventually([&] { return showsWidgetAt(screenshot(), 310, 220, 364, 170); })) << "the screen does not show the widget at 310,220";

    // And the next start shows it there.
    m_host.reset();
    startHost();
    EXPECT_TRUE(hostSays("layer bottom 310 220 364 170")) << "the widget did not come back where it was dragged";
}

// The box and entries of the widget's open menu, as the host's trace says where they are.
struct MenuOnScreen {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    struct Item {
        int x, y, width, height;
        std::string text;
        bool checked;
        int centerX() const { return x + width / 2; }
        int centerY() const { return y + height / 2; }
    };
    std::vector<Item> items;

    const Item* find(std::initializer_list<std::string> texts) const
    {
        for (const Item& item : items) {
            for (const std::string& text : texts) {
                if (item.text == text)
                    return &item;
            }
        }
        return nullptr;
    }
};

// Whether the process has ended (a zombie until its parent waits for it, which the test leaves to
// the child's owner).
bool hasEnded(pid_t pid)
{
    std::string stat;
    try {
        stat = readFile(fs::path("/proc") / std::to_string(pid) / "stat");
    } catch (const std::exception&) {
        return true; // waited for already
    }
    const auto name = stat.rfind(')');
    return stat.empty() || (name != std::string::npos && name + 2 < stat.size() && stat[name + 2] == 'Z');
}

int colourDistance(const QColor& a, const QColor& b)
{
    return std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) + std::abs(a.blue() - b.blue());
}

class HeadlessSwayMenu : public HeadlessSway {
protected:
    virtual int outputScale() const { return 1; }

    // Starts the host with one widget at (200, 150) of the layout and brings the seat's pointer
    // over it; null, with the reason recorded as a failure, when any step did not happen.
    std::unique_ptr<Pointer> pointerOverAWidget()
    {
        publishOneStoppedItem();
        placeWidgetAt(200, 150);
        startHost();
        EXPECT_TRUE(hostSays("layer drawn ")) << "the widget was never drawn";
        auto pointing = pointer();
        EXPECT_TRUE(hostSays("seat pointer")) << "the host never got the seat's pointer";
        (*pointing)("move 10 10");
        (*pointing)("move 300 200");
        EXPECT_TRUE(hostSays("layer entered ")) << "the pointer never came over the widget";
        return testing::Test::HasFailure() ? nullptr : std::move(pointing);
    }

    // Right-clicks at (x, y) of the layout and waits for the menu's trace.
    std::optional<MenuOnScreen> openMenuAt(Pointer& pointer, int x, int y)
    {
        pointer("move " + std::to_string(x) + " " + std::to_string(y));
        pointer("right");
        // Only a menu shown from now on counts.
        const auto shown = m_host->waitForLine([](const std::string& line) { return line.starts_with("menu shown "); });
        if (!shown)
            return std::nullopt;
        MenuOnScreen menu;
        if (std::sscanf(shown->c_str(), "menu shown %d %d %d %d", &menu.x, &menu.y, &menu.width, &menu.height) != 4)
            return std::nullopt;
        // The host says its items right after the box, one line each.
        for (;;) {
            const auto line = m_host->waitForLine([](const std::string&) { return true; });
            if (!line || !(*line).starts_with("menu item "))
                break;
            MenuOnScreen::Item item {};
            int consumed = 0;
            if (std::sscanf(line->c_str(), "menu item %d %d %d %d %n", &item.x, &item.y, &item.width, &item.height, &consumed) != 4)
                return std::nullopt;
            item.text = line->substr(static_cast<std::size_t>(consumed));
            item.checked = item.text.starts_with("* ");
            if (item.checked)
                item.text = item.text.substr(2);
            menu.items.push_back(item);
            if (menu.items.size() == 8)
                break;
        }
        return menu;
    }

    // Puts the pointer on ITEM until the screen shows it lit: the popup has the pointer then. (A
    // pointer that stands still keeps the surface it was over when the popup maps beneath it.)
    bool pointAt(Pointer& pointer, const MenuOnScreen::Item& item)
    {
        int nudge = 0;
        return eventually([&] {
            pointer("move " + std::to_string(item.x + 8 + nudge++ % 2) + " " + std::to_string(item.centerY()));
            const QImage screen = screenshot();
            if (screen.isNull())
                return false;
            // At the entry's right end, clear of its text and of the drawn cursor.
            const QColor lit = screen.pixelColor((item.x + item.width - 4) * outputScale(), item.centerY() * outputScale());
            return lit.blue() > lit.red() + 60;
        });
    }

    std::string swayTree() const
    {
        const Finished tree = run(with({ "swaymsg", "-s", *m_sway->ipcSocket(), "-t", "get_tree" }));
        EXPECT_EQ(tree.status, 0) << tree.output;
        return tree.output;
    }

    std::optional<std::string> savedFamily() const
    {
        try {
            const json saved = json::parse(readFile(widgetsFile()));
            for (const json& widget : saved.at("widgets")) {
                if (widget.at("id") == widgetID)
                    return widget.at("family").get<std::string>();
            }
        } catch (const std::exception&) {
        }
        return std::nullopt;
    }
};

TEST_F(HeadlessSwayMenu, RightClickOpensTheMenuAsAPopupOfTheWidgetThatGoesOnAClickElsewhereAndActsOnAChoice)
{
    const auto pointing = pointerOverAWidget();
    ASSERT_TRUE(pointing);
    Pointer& move = *pointing;
    const std::string treeBefore = swayTree();

    // Opens at the pointer, beside it and below, listing every choice (the widget's size checked).
    std::optional<MenuOnScreen> menu = openMenuAt(move, 300, 200);
    ASSERT_TRUE(menu) << "no menu opened on a right click";
    EXPECT_NEAR(menu->x, 301, 2);
    EXPECT_NEAR(menu->y, 201, 2);
    ASSERT_EQ(menu->items.size(), 8u);
    EXPECT_EQ(menu->items.back().text, "Sair");
    const MenuOnScreen::Item* medium = menu->find({ "Médio", "Medium" });
    ASSERT_NE(medium, nullptr);
    EXPECT_TRUE(medium->checked);

    // A popup of the widget's surface: sway has no new window for it.
    const std::string treeOpen = swayTree();
    EXPECT_EQ(treeOpen.find("\"app_id\": \""), std::string::npos) << "the menu is an ordinary window:\n" << treeOpen;
    EXPECT_EQ(treeOpen.find("\"pid\": " + std::to_string(m_host->pid())), std::string::npos) << "the host has a window:\n" << treeOpen;

    // On screen where the host says, below the widget too, and the entry under the pointer lit.
    const MenuOnScreen::Item& quit = menu->items.back();
    EXPECT_TRUE(pointAt(move, quit)) << "the screen does not show the menu's last entry lit at " << quit.x << "," << quit.y;
    const int clearX = quit.x + quit.width - 4;
    const int clearY = quit.centerY();
    const QImage open = screenshot();
    EXPECT_GT(colourDistance(open.pixelColor(menu->x + menu->width / 2, menu->y + menu->height - 3), open.pixelColor(open.width() - 2, open.height() - 2)), 30)
        << "no menu below the widget";

    // A click on the bare desktop closes it, and nothing else happens.
    move("move 900 700");
    move("press");
    move("release");
    EXPECT_TRUE(hostSays("menu closed")) << "a click elsewhere left the menu open";
    EXPECT_TRUE(eventually([&] {
        const QImage screen = screenshot();
        return !screen.isNull() && screen.pixelColor(clearX, clearY) == screen.pixelColor(screen.width() - 2, screen.height() - 2);
    })) << "the menu is still on the screen";
    EXPECT_EQ(savedFamily(), "medium");

    // A size chosen from it is the widget's new size, kept in widgets.json.
    menu = openMenuAt(move, 300, 200);
    ASSERT_TRUE(menu) << "no menu opened on the second right click";
    const MenuOnScreen::Item* large = menu->find({ "Grande", "Large" });
    ASSERT_NE(large, nullptr);
    ASSERT_TRUE(pointAt(move, *large)) << "the size never lit under the pointer";
    move("press");
    move("release");
    EXPECT_TRUE(hostSays("menu chosen family large")) << "the click on the size was not taken";
    EXPECT_TRUE(hostSays("layer bottom 200 150 364 382")) << "the widget did not take the large size";
    EXPECT_TRUE(eventually([&] { return savedFamily() == "large"; })) << "widgets.json does not keep the size:\n" << readFile(widgetsFile());

    // "Sair" ends the host and keeps the widget for next time.
    menu = openMenuAt(move, 300, 200);
    ASSERT_TRUE(menu) << "no menu opened on the third right click";
    const MenuOnScreen::Item* sair = menu->find({ "Sair" });
    ASSERT_NE(sair, nullptr);
    EXPECT_TRUE(menu->find({ "Grande", "Large" })->checked);
    ASSERT_TRUE(pointAt(move, *sair)) << "\"Sair\" never lit under the pointer";
    move("press");
    move("release");
    EXPECT_TRUE(hostSays("menu chosen quit"));
    EXPECT_TRUE(eventually([&] { return hasEnded(m_host->pid()); })) << "the host did not quit";
    EXPECT_EQ(savedFamily(), "large");
    EXPECT_EQ(savedPosition(widgetsFile()), (std::pair { 200, 150 }));
}

// One output of twice the pixels, at scale 2: the same layout as the plain one.
class ScaledHeadlessSwayMenu : public HeadlessSwayMenu {
protected:
    int outputScale() const override { return 2; }
    std::string swayConfiguration() const override
    {
        return "output HEADLESS-1 resolution " + std::to_string(screenWidth * 2) + "x" + std::to_string(screenHeight * 2) + " scale 2 position 0 0\n";
    }
};

TEST_F(ScaledHeadlessSwayMenu, TheMenuOpensAtThePointerInLayoutCoordinatesAndTakesAChoice)
{
    const auto pointing = pointerOverAWidget();
    ASSERT_TRUE(pointing);
    Pointer& move = *pointing;

    const std::optional<MenuOnScreen> menu = openMenuAt(move, 300, 200);
    ASSERT_TRUE(menu) << "no menu opened on a right click";
    EXPECT_NEAR(menu->x, 301, 2);
    EXPECT_NEAR(menu->y, 201, 2);
    const MenuOnScreen::Item* small = menu->find({ "Pequeno", "Small" });
    ASSERT_NE(small, nullptr);
    ASSERT_TRUE(pointAt(move, *small)) << "the size never lit under the pointer";
    move("press");
    move("release");
    EXPECT_TRUE(hostSays("menu chosen family small")) << "the click on the size was not taken";
    EXPECT_TRUE(eventually([&] { return savedFamily() == "small"; })) << "widgets.json does not keep the size:\n" << readFile(widgetsFile());
}

// Two outputs side by side: the first 1024×768 at the origin, the second 800×600 to its right.
class TwoHeadlessOutputs : public HeadlessSway {
protected:
    int outputCount() const override { return 2; }
    std::string swayConfiguration() const override
    {
        return HeadlessSway::swayConfiguration() + "output HEADLESS-2 resolution 800x600 position " + std::to_string(screenWidth) + " 0\n";
    }
    int layoutWidth() const override { return screenWidth + 800; }
};

TEST_F(TwoHeadlessOutputs, WidgetStandsOnTheOutputItWasPlacedOnAndGoesOverToTheOneItIsDroppedOn)
{
    publishOneStoppedItem();
    placeWidgetAt(1100, 100);
    startHost();

    ASSERT_TRUE(hostSays("layer bottom 1100 100 364 170 HEADLESS-2")) << "the widget is not on the second output";
    EXPECT_TRUE(eventually([&] { return showsWidgetAt(screenshot("HEADLESS-2"), 1100 - screenWidth, 100, 364, 170); }))
        << "the second output does not show the widget at its place";

    // Dragged across to the first output and dropped there.
    const auto move = pointer();
    ASSERT_TRUE(hostSays("seat pointer")) << "the host never got the seat's pointer";
    (*move)("move 1110 110");
    ASSERT_TRUE(hostSays("layer entered ")) << "the pointer never came over the widget";
    for (const std::string step : { "press", "move 900 110", "move 700 110", "move 610 110", "release" })
        (*move)(step);
    EXPECT_TRUE(hostSays("layer bottom 600 100 364 170 HEADLESS-1")) << "the widget did not go over to the first output";
    EXPECT_TRUE(eventually([&] { return savedPosition(widgetsFile()) == std::pair { 600, 100 }; }))
        << "widgets.json does not keep the new place:\n" << readFile(widgetsFile());
    EXPECT_TRUE(eventually([&] { return showsWidgetAt(screenshot("HEADLESS-1"), 600, 100, 364, 170); }))
        << "the first output does not show the widget at 600,100";
}

TEST(HostWithoutLayerShell, EndsWithStatusOneAndSaysWhyWhenNeitherWaylandNorX11IsReachable)
{
    TemporaryDirectory directory;
    const Finished host = run({ "env", "-u", "DISPLAY", "-u", "QT_QPA_PLATFORM", "XDG_RUNTIME_DIR=" + directory.path().string(),
        "WAYLAND_DISPLAY=no-compositor-here", "XDG_CONFIG_HOME=" + (directory / "config").string(), QUELM_WIDGET_PROGRAM });
    EXPECT_EQ(host.status, 1);
    EXPECT_NE(host.output.find("quelm-widget: cannot reach the Wayland compositor named by WAYLAND_DISPLAY, and DISPLAY is not set for an X server"),
        std::string::npos)
        << host.output;
    EXPECT_FALSE(fs::exists(directory / "config" / "quelm" / "widgets.json")) << "the host went on without a display";
}

TEST(HostWithoutLayerShell, ShowsItsWidgetsAsX11WindowsWhenAnXServerIsReachable)
{
    if (!onPath("Xvfb") || !onPath("xdotool"))
        GTEST_SKIP() << "Xvfb and xdotool are needed to see an X11 window";
    TemporaryDirectory directory;
    ChildWithOutput display({ "Xvfb", "-displayfd", "3", "-screen", "0", "1024x768x24", "-nolisten", "tcp" }, 3);
    const auto number = display.waitForLine([](const std::string& line) { return !line.empty(); });
    ASSERT_TRUE(number) << "Xvfb did not start";
    const std::string x11 = "DISPLAY=:" + *number;
    ChildWithOutput host({ "env", "-u", "QT_QPA_PLATFORM", x11, "XDG_RUNTIME_DIR=" + directory.path().string(), "WAYLAND_DISPLAY=no-compositor-here",
        "XDG_CONFIG_HOME=" + (directory / "config").string(), "XDG_DATA_HOME=" + (directory / "data").string(), "QUELM_HOST_TRACE=1",
        QUELM_WIDGET_PROGRAM });
    ASSERT_TRUE(host.waitForLine([](const std::string& line) { return line.starts_with("window "); })) << "the host placed no widget";
    EXPECT_TRUE(eventually([&] { return run({ "env", x11, "xdotool", "search", "--onlyvisible", "--pid", std::to_string(host.pid()) }).status == 0; }))
        << "no X11 window of the host is shown";
    for (const auto& line : host.lines())
        EXPECT_FALSE(line.starts_with("layer ")) << line;
}

}
