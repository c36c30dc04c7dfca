// SPDX-License-Identifier: MIT
// Where the host shows its widgets, from what the session offers.

#include "Host/HostPlatform.h"

#include <gtest/gtest.h>

using quelm::host::DisplayEnvironment;
using quelm::host::HostPlatform;
using quelm::host::chooseHostPlatform;

namespace {

DisplayEnvironment wayland(bool layerShell, bool x11)
{
    DisplayEnvironment environment;
    environment.waylandDisplay = true;
    environment.waylandReachable = true;
    environment.layerShell = layerShell;
    environment.x11Display = x11;
    return environment;
}

TEST(HostPlatform, TakesTheDesktopLayerWhereTheCompositorOffersIt)
{
    const HostPlatform chosen = chooseHostPlatform(wayland(true, true));
    EXPECT_EQ(chosen.kind, HostPlatform::Kind::layerShell);
    EXPECT_EQ(chosen.qtPlatform, "wayland;xcb;offscreen") << "Qt's menus and dialogs go where they can";
}

TEST(HostPlatform, KeepsAWaylandPlatformTheUserNamedBesideTheDesktopLayer)
{
    DisplayEnvironment environment = wayland(true, false);
    environment.qtPlatform = "wayland";
    const HostPlatform chosen = chooseHostPlatform(environment);
    EXPECT_EQ(chosen.kind, HostPlatform::Kind::layerShell);
    EXPECT_EQ(chosen.qtPlatform, "");
}

TEST(HostPlatform, GoesToXWaylandWhereTheCompositorHasNoDesktopLayer)
{
    const HostPlatform chosen = chooseHostPlatform(wayland(false, true));
    EXPECT_EQ(chosen.kind, HostPlatform::Kind::qtWindows);
    EXPECT_EQ(chosen.qtPlatform, "xcb");
}

TEST(HostPlatform, GoesToXWaylandAlsoWhenTheUserAskedQtForWayland)
{
    DisplayEnvironment environment = wayland(false, true);
    environment.qtPlatform = "wayland";
    EXPECT_EQ(chooseHostPlatform(environment).qtPlatform, "xcb");
}

TEST(HostPlatform, ShowsX11WindowsInAnX11Session)
{
    DisplayEnvironment environment;
    environment.x11Display = true;
    const HostPlatform chosen = chooseHostPlatform(environment);
    EXPECT_EQ(chosen.kind, HostPlatform::Kind::qtWindows);
    EXPECT_EQ(chosen.qtPlatform, "xcb");
}

TEST(HostPlatform, TakesAnyOtherQtPlatformTheUserNamedAsItIs)
{
    DisplayEnvironment environment = wayland(true, true);
    environment.qtPlatform = "offscreen";
    const HostPlatform chosen = chooseHostPlatform(environment);
    EXPECT_EQ(chosen.kind, HostPlatform::Kind::qtWindows);
    EXPECT_EQ(chosen.qtPlatform, "");
}

TEST(HostPlatform, SaysWhyWhenThereIsNoDisplayAtAll)
{
    const HostPlatform chosen = chooseHostPlatform({});
    EXPECT_EQ(chosen.kind, HostPlatform::Kind::none);
    EXPECT_EQ(chosen.problem, "no display to show the widgets on (neither DISPLAY nor WAYLAND_DISPLAY is set)");
}

TEST(HostPlatform, SaysWhyWhenTheCompositorCannotBeReached)
{
    DisplayEnvironment environment;
    environment.waylandDisplay = true;
    const HostPlatform chosen = chooseHostPlatform(environment);
    EXPECT_EQ(chosen.kind, HostPlatform::Kind::none);
    EXPECT_NE(chosen.problem.find("cannot reach the Wayland compositor"), std::string::npos) << chosen.problem;
}

TEST(HostPlatform, SaysWhyWhenTheCompositorHasNoDesktopLayerAndNoXServerIsThere)
{
    const HostPlatform chosen = chooseHostPlatform(wayland(false, false));
    EXPECT_EQ(chosen.kind, HostPlatform::Kind::none);
    EXPECT_NE(chosen.problem.find("offers no desktop layer"), std::string::npos) << chosen.problem;
}

}
