#include "Host/WindowPlacement.h"

#include <gtest/gtest.h>

using quelm::host::windowPosition;

namespace {
const QList<QRect> oneScreen { QRect(0, 0, 1920, 1080) };
const QList<QRect> twoScreens { QRect(0, 32, 1920, 1048), QRect(1920, 0, 1280, 1024) };
}

TEST(WindowPlacement, ASavedPlaceOnAScreenIsKept)
{
    EXPECT_EQ(windowPosition(QPoint(500, 300), QSize(364, 170), oneScreen, 0), QPoint(500, 300));
    EXPECT_EQ(windowPosition(QPoint(2500, 100), QSize(364, 170), twoScreens, 3), QPoint(2500, 100));
}

TEST(WindowPlacement, AWindowHalfOffTheEdgeStaysWhereItWas)
{
    EXPECT_EQ(windowPosition(QPoint(1800, 1000), QSize(364, 170), oneScreen, 0), QPoint(1800, 1000));
}

TEST(WindowPlacement, ASavedPlaceOnAScreenThatIsGoneIsGivenUp)
{
    EXPECT_EQ(windowPosition(QPoint(2500, 100), QSize(364, 170), oneScreen, 0), QPoint(24, 24));
    EXPECT_EQ(windowPosition(QPoint(1910, 1075), QSize(364, 170), oneScreen, 0), QPoint(24, 24));
}

TEST(WindowPlacement, NewWidgetsCascadeFromTheFirstScreensCorner)
{
    EXPECT_EQ(windowPosition(std::nullopt, QSize(170, 170), twoScreens, 0), QPoint(24, 56));
    EXPECT_EQ(windowPosition(std::nullopt, QSize(170, 170), twoScreens, 2), QPoint(24 + 64, 56 + 64));
}

TEST(WindowPlacement, TheCascadeStartsOverBeforeLeavingTheScreen)
{
    EXPECT_EQ(windowPosition(std::nullopt, QSize(766, 382), QList<QRect> { QRect(0, 0, 1024, 768) }, 20), QPoint(24, 24));
}

TEST(WindowPlacement, WithoutScreensThereIsStillAPlace)
{
    EXPECT_EQ(windowPosition(std::nullopt, QSize(170, 170), {}, 0), QPoint(24, 24));
}
