// SPDX-License-Identifier: MIT
#include "Host/WindowPlacement.h"

#include <gtest/gtest.h>

using quelm::host::SavedPlace;
using quelm::host::ScreenArea;
using quelm::host::savedPlaceIsShown;
using quelm::host::windowPosition;

namespace {
const QList<ScreenArea> oneScreen { { QStringLiteral("eDP-1"), QRect(0, 0, 1920, 1080) } };
const QList<ScreenArea> twoScreens { { QStringLiteral("eDP-1"), QRect(0, 32, 1920, 1048) }, { QStringLiteral("HDMI-1"), QRect(1920, 0, 1280, 1024) } };

SavedPlace at(int x, int y, const char* screen = "")
{
    return { QPoint(x, y), QString::fromLatin1(screen) };
}
}

TEST(WindowPlacement, ASavedPlaceOnAScreenIsKept)
{
    EXPECT_EQ(windowPosition(at(500, 300, "eDP-1"), QSize(364, 170), oneScreen, {}), QPoint(500, 300));
    EXPECT_EQ(windowPosition(at(2500, 100, "HDMI-1"), QSize(364, 170), twoScreens, { QRect(24, 56, 170, 170) }), QPoint(2500, 100));
    // Saved by an earlier version, without its screen: kept where it can be reached.
    EXPECT_EQ(windowPosition(at(500, 300), QSize(364, 170), oneScreen, {}), QPoint(500, 300));
}

TEST(WindowPlacement, AWindowHalfOffTheEdgeStaysWhereItWas)
{
    EXPECT_EQ(windowPosition(at(1800, 1000, "eDP-1"), QSize(364, 170), oneScreen, {}), QPoint(1800, 1000));
}

TEST(WindowPlacement, AWidgetSavedOnAScreenThatIsNotConnectedShowsOnAConnectedOneMeanwhile)
{
    EXPECT_EQ(windowPosition(at(2500, 100, "HDMI-1"), QSize(364, 170), oneScreen, {}), QPoint(24, 24));
    EXPECT_FALSE(savedPlaceIsShown(at(2500, 100, "HDMI-1"), QSize(364, 170), oneScreen));
    EXPECT_TRUE(savedPlaceIsShown(at(2500, 100, "HDMI-1"), QSize(364, 170), twoScreens));
    // A place on the built-in screen's area, saved on the other one, waits for that one too.
    EXPECT_EQ(windowPosition(at(500, 300, "HDMI-1"), QSize(364, 170), oneScreen, {}), QPoint(24, 24));
    EXPECT_EQ(windowPosition(at(1910, 1075), QSize(364, 170), oneScreen, {}), QPoint(24, 24));
}

TEST(WindowPlacement, NewWidgetsGoToFreeSpaceNeverOnTopOfAnother)
{
    const QSize small(170, 170);
    EXPECT_EQ(windowPosition(std::nullopt, small, twoScreens, {}), QPoint(24, 56));
    const QList<QRect> occupied { QRect(24, 56, 170, 170), QRect(24 + 170 + 12, 56, 364, 170) };
    const QPoint next = windowPosition(std::nullopt, small, twoScreens, occupied);
    for (const QRect& other : occupied)
        EXPECT_FALSE(QRect(next, small).intersects(other)) << next.x() << "," << next.y();
    EXPECT_EQ(next.y(), 56) << "the first row has room left";
}

TEST(WindowPlacement, AFullPrimaryScreenSendsNewWidgetsToTheNext)
{
    const QList<ScreenArea> screens { { QStringLiteral("a"), QRect(0, 0, 400, 300) }, { QStringLiteral("b"), QRect(400, 0, 1280, 1024) } };
    EXPECT_EQ(windowPosition(std::nullopt, QSize(364, 170), screens, { QRect(24, 24, 364, 170) }), QPoint(424, 24));
}

TEST(WindowPlacement, WithoutRoomNewWidgetsCascadeFromThePrimaryCorner)
{
    const QList<ScreenArea> tiny { { QStringLiteral("a"), QRect(0, 0, 1024, 768) } };
    const QList<QRect> full { QRect(0, 0, 1024, 768) };
    EXPECT_EQ(windowPosition(std::nullopt, QSize(170, 170), tiny, full), QPoint(24 + 32, 24 + 32));
    EXPECT_EQ(windowPosition(std::nullopt, QSize(766, 382), tiny, QList<QRect>(20, QRect(0, 0, 1024, 768))), QPoint(24, 24));
}

TEST(WindowPlacement, WithoutScreensThereIsStillAPlace)
{
    EXPECT_EQ(windowPosition(std::nullopt, QSize(170, 170), {}, {}), QPoint(24, 24));
}
