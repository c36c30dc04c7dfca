// SPDX-License-Identifier: MIT
#include "Host/HostDisplay.h"

#include "Host/DesktopHost.h"
#include "Host/Wayland/LayerShellPresenter.h"
#include "Host/Wayland/WaylandDisplay.h"

#include <QCoreApplication>

#include <cstdlib>
#include <iostream>

namespace quelm::host {

namespace detail {

bool isSet(const char* variable)
{
    const char* value = std::getenv(variable);
    return value && *value;
}

}

HostDisplay HostDisplay::open()
{
    HostDisplay display;
    DisplayEnvironment environment;
    if (const char* platform = std::getenv("QT_QPA_PLATFORM"))
        environment.qtPlatform = platform;
    environment.waylandDisplay = detail::isSet("WAYLAND_DISPLAY");
    environment.x11Display = detail::isSet("DISPLAY");
    const bool namedOther = !environment.qtPlatform.empty() && environment.qtPlatform.rfind("wayland", 0) != 0;
    if (environment.waylandDisplay && !namedOther) {
        display.m_wayland = wayland::WaylandDisplay::connect();
        environment.waylandReachable = display.m_wayland != nullptr;
        environment.layerShell = display.m_wayland && display.m_wayland->layerShell();
    }
    display.m_platform = chooseHostPlatform(environment);
    if (display.m_platform.kind != HostPlatform::Kind::layerShell)
        display.m_wayland.reset();
    if (!display.m_platform.qtPlatform.empty())
        ::setenv("QT_QPA_PLATFORM", display.m_platform.qtPlatform.c_str(), 1);
    return display;
}

HostDisplay::HostDisplay(HostDisplay&&) noexcept = default;
HostDisplay& HostDisplay::operator=(HostDisplay&&) noexcept = default;
HostDisplay::~HostDisplay() = default;

void HostDisplay::attach(DesktopHost& host)
{
    if (!m_wayland)
        return;
    m_wayland->attachToEventLoop();
    QObject::connect(m_wayland.get(), &wayland::WaylandDisplay::lost, [] {
        std::cerr << "quelm-widget: the connection to the Wayland compositor is lost" << std::endl;
        QCoreApplication::exit(EXIT_FAILURE);
    });
    m_presenter = std::make_unique<wayland::LayerShellPresenter>(*m_wayland);
    host.setPresenter(*m_presenter);
}

}
