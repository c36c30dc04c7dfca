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

QList<QRect> LayerShellPresenter::screenAreas() const
{
    // Margins count from the output's corner, so the area is the first output's own.
    QList<QRect> areas;
    const auto& outputs = m_display.outputs();
    if (!outputs.empty() && !outputs.front().pixels.isEmpty())
        areas << QRect(QPoint(0, 0), outputs.front().pixels / outputs.front().scale);
    return areas;
}

}
