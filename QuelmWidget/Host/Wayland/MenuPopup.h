// SPDX-License-Identifier: MIT
#pragma once

#include "Host/FlatMenu.h"
#include "Host/Wayland/ShmBuffer.h"
#include "Host/Wayland/WaylandDisplay.h"
#include "Views/Palette.h"

#include <QPoint>
#include <QPointF>

#include <functional>
#include <optional>

struct wl_callback;
struct wl_surface;
struct xdg_popup;
struct xdg_surface;
struct zwlr_layer_surface_v1;

namespace quelm::host::wayland {

// A widget's context menu as a popup of its layer surface: placed at the pointer (flipped or slid
// to stay on the output), holding the pointer so that a click anywhere else closes it. A click on
// a choice closes it and hands the choice on.
//   m_menu = std::make_unique<MenuPopup>(display, layer, shownAt, pointer, scale, FlatMenu(widgetMenu(family)), palette, chosen);
class MenuPopup final : private PointerTarget {
public:
    using Chosen = std::function<void(const MenuChoice&)>;

    // `layer` is the parent's layer surface, shown with its top-left corner at `parentAt` (layout
    // coordinates); `pointer` is where the menu opens, in the parent's surface coordinates.
    // Needs display.popupShell(); `chosen` is called once a choice is clicked, after the menu closed.
    MenuPopup(WaylandDisplay& display, zwlr_layer_surface_v1* layer, QPoint parentAt, QPointF pointer, int scale, FlatMenu menu,
        views::Palette palette, Chosen chosen);
    ~MenuPopup() override;
    MenuPopup(const MenuPopup&) = delete;
    MenuPopup& operator=(const MenuPopup&) = delete;

    bool isOpen() const { return m_popup != nullptr; }
    void close();

private:
    void draw();
    void highlight(std::optional<std::size_t>);
    void trace() const;

    void pointerEntered(QPointF) override;
    void pointerLeft() override;
    void pointerMoved(QPointF) override;
    void pointerButton(std::uint32_t button, bool pressed) override;

    friend struct MenuPopupListeners;

    WaylandDisplay& m_display;
    FlatMenu m_menu;
    views::Palette m_palette;
    Chosen m_chosen;
    QPoint m_parentAt;
    int m_scale;

    wl_surface* m_surface = nullptr;
    xdg_surface* m_role = nullptr;
    xdg_popup* m_popup = nullptr;
    wl_callback* m_frame = nullptr;
    ShmBufferRing<2> m_buffers;
    bool m_configured = false;
    bool m_dirty = true;
    QPoint m_position; // where the compositor put it, relative to the parent

    std::optional<std::size_t> m_highlighted;
    // The row a button went down on; a choice is made by releasing over the same row.
    std::optional<std::size_t> m_pressed;
    bool m_buttonDown = false;
};

}
