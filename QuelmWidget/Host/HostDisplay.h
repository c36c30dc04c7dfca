// SPDX-License-Identifier: MIT
#pragma once

#include "Host/HostPlatform.h"

#include <memory>

namespace quelm::host {

class DesktopHost;
namespace wayland {
class LayerShellPresenter;
class WaylandDisplay;
}

// The display the host shows its widgets on, chosen from what the session offers (see
// HostPlatform) and, for layer-shell, connected.
//   HostDisplay display = HostDisplay::open();   // before QApplication: it may set QT_QPA_PLATFORM
//   if (display.platform().kind == HostPlatform::Kind::none) … display.platform().problem …
//   QApplication app(…); DesktopHost host(…); display.attach(host); host.start(…);
class HostDisplay {
public:
    static HostDisplay open();
    HostDisplay(HostDisplay&&) noexcept;
    HostDisplay& operator=(HostDisplay&&) noexcept;
    ~HostDisplay();

    const HostPlatform& platform() const { return m_platform; }

    // Shows the host's widgets on this display; when the compositor goes away the application
    // ends with status 1. Needs the QApplication.
    void attach(DesktopHost& host);

private:
    HostDisplay() = default;

    HostPlatform m_platform;
    std::unique_ptr<wayland::WaylandDisplay> m_wayland;
    std::unique_ptr<wayland::LayerShellPresenter> m_presenter;
};

}
