// SPDX-License-Identifier: MIT
#include "Host/Wayland/LayerShellPresenter.h"

#include "Host/Wayland/LayerSurface.h"
#include "Host/WidgetWindow.h"

namespace quelm::host::wayland {

LayerShellPresenter::LayerShellPresenter(WaylandDisplay& display)
    : m_display(display)
{
}

void LayerShellPresenter::present(WidgetWindow& window)
{
    new LayerSurface(m_display, window); // owned by the window
}

QList<ScreenArea> LayerShellPresenter::screens() const
{
    // Each output whole: the widgets' margins count from the output's very edge, panels or not.
    QList<ScreenArea> areas;
    for (const WaylandDisplay::Output& output : m_display.outputs()) {
        if (!output.logical().isEmpty())
            areas.append({ QString::fromStdString(output.label), output.logical() });
    }
    return areas;
}

}
