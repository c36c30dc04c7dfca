// SPDX-License-Identifier: MIT
#pragma once

#include "Host/WidgetPresenter.h"
#include "Host/Wayland/WaylandDisplay.h"

namespace quelm::host::wayland {

// The widgets as surfaces on the bottom layer of a Wayland compositor that offers layer-shell
// (wlroots-based ones such as sway and Hyprland, KDE Plasma): below every window, on no taskbar,
// never taking the keyboard. Qt's own Wayland windows can only be ordinary windows there.
class LayerShellPresenter final : public WidgetPresenter {
public:
    // `display` offers layer-shell and outlives the presenter.
    explicit LayerShellPresenter(WaylandDisplay& display);

    void present(WidgetWindow& window) override;
    QList<ScreenArea> screens() const override;

private:
    WaylandDisplay& m_display;
};

}
