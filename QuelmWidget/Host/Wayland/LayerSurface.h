// SPDX-License-Identifier: MIT
#pragma once

#include "Host/Wayland/MenuPopup.h"
#include "Host/Wayland/ShmBuffer.h"
#include "Host/Wayland/WaylandDisplay.h"

#include <QObject>
#include <QPoint>
#include <QPointF>

#include <deque>
#include <memory>
#include <optional>

struct wl_callback;
struct wl_output;
struct wl_surface;
struct zwlr_layer_surface_v1;

namespace quelm::host {
class WidgetWindow;
}

namespace quelm::host::wayland {

// One widget window shown as a surface on the desktop's bottom layer of the output under its
// position: anchored at that output's top-left corner with margins that put it at the window's
// position, never taking the keyboard. The
// window itself stays off screen: what it paints is copied into the surface, and the pointer's
// events over the surface are handed to it as Qt's own, so a press and move drags the window (the
// margins follow) and a click reaches its buttons. A right click opens the window's context menu
// as a popup of the surface.
//   new LayerSurface(display, window);   // before window.show(); a child of the window
class LayerSurface final : public QObject, private PointerTarget {
    Q_OBJECT

public:
    LayerSurface(WaylandDisplay& display, WidgetWindow& window);
    ~LayerSurface() override;

    // The compositor has sized the surface and shows what is attached to it.
    bool isMapped() const { return m_configured; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void create();
    void destroy();
    void placeAt(QPoint position);
    void moveToOutputUnderIt();
    const WaylandDisplay::Output* output() const;
    QPoint outputOrigin() const;
    void trace() const;
    void draw();
    int scale() const;
    QPointF globalPosition(QPointF local) const;

    void pointerEntered(QPointF) override;
    void pointerLeft() override;
    void pointerMoved(QPointF) override;
    void pointerButton(std::uint32_t button, bool pressed) override;
    void pointerTravelled(QPointF) override;
    void sendMove();
    void openMenu();

    friend struct LayerSurfaceListeners;

    WaylandDisplay& m_display;
    WidgetWindow& m_window;
    wl_output* m_output = nullptr;
    wl_surface* m_surface = nullptr;
    zwlr_layer_surface_v1* m_layer = nullptr;
    bool m_configured = false;
    QSize m_configuredSize;
    bool m_dirty = false;
    bool m_shownRender = false; // a laid-out widget has reached the compositor once
    wl_callback* m_frame = nullptr;
    // Three, so that one is free while the compositor holds one shown and one on its way.
    ShmBufferRing<3> m_buffers;

    // Where the compositor shows the surface for the events it sends now: the margins of the
    // last commit it has confirmed (by answering a sync sent after it).
    QPoint m_shownAt;
    QPoint m_committedAt;
    struct PendingPlace {
        wl_callback* sync;
        QPoint position;
    };
    std::deque<PendingPlace> m_pendingPlaces;

    QPointF m_pointer;
    Qt::MouseButtons m_buttons;
    // While the left button is down: where it went down, and how far the pointer has gone since.
    struct Press {
        QPointF global;
        QPointF local;
        QPointF travelled;
    };
    std::optional<Press> m_press;

    std::unique_ptr<MenuPopup> m_menu;
    // Buttons whose press only closed the menu: their release goes nowhere either.
    Qt::MouseButtons m_swallowed;
};

}
