// SPDX-License-Identifier: MIT
#include "Host/Wayland/MenuPopup.h"

#include "Host/HostTrace.h"

#include "wlr-layer-shell-unstable-v1-client-protocol.h"
#include "xdg-shell-client-protocol.h"

#include <QPainter>

#include <wayland-client.h>


namespace quelm::host::wayland {

namespace detail {

QString choiceName(const MenuChoice& choice)
{
    switch (choice.kind) {
    case MenuChoice::Kind::edit:
        return QStringLiteral("edit");
    case MenuChoice::Kind::changeFamily: {
        const std::string_view family = rawValue(choice.family);
        return QStringLiteral("family ") + QString::fromUtf8(family.data(), static_cast<qsizetype>(family.size()));
    }
    case MenuChoice::Kind::remove:
        return QStringLiteral("remove");
    case MenuChoice::Kind::add:
        return QStringLiteral("add");
    case MenuChoice::Kind::quit:
        return QStringLiteral("quit");
    }
    return {};
}

}

struct MenuPopupListeners {
    static MenuPopup& of(void* data) { return *static_cast<MenuPopup*>(data); }

    static void roleConfigure(void* data, xdg_surface* role, std::uint32_t serial)
    {
        MenuPopup& self = of(data);
        xdg_surface_ack_configure(role, serial);
        const bool first = !self.m_configured;
        self.m_configured = true;
        self.draw();
        if (first)
            self.trace();
    }

    static void popupConfigure(void* data, xdg_popup*, std::int32_t x, std::int32_t y, std::int32_t, std::int32_t)
    {
        of(data).m_position = QPoint(x, y);
    }

    static void popupDone(void* data, xdg_popup*)
    {
        // A click elsewhere, or the compositor's own reasons: the menu goes without a choice.
        of(data).close();
    }

    static void repositioned(void*, xdg_popup*, std::uint32_t) { }

    static void frameDone(void* data, wl_callback* callback, std::uint32_t)
    {
        MenuPopup& self = of(data);
        wl_callback_destroy(callback);
        self.m_frame = nullptr;
        self.draw();
    }

    static constexpr xdg_surface_listener roleListener { roleConfigure };
    static constexpr xdg_popup_listener popupListener { popupConfigure, popupDone, repositioned };
    static constexpr wl_callback_listener frameListener { frameDone };
};

MenuPopup::MenuPopup(WaylandDisplay& display, zwlr_layer_surface_v1* layer, QPoint parentAt, QPointF pointer, int scale, FlatMenu menu,
    views::Palette palette, Chosen chosen)
    : m_display(display)
    , m_menu(std::move(menu))
    , m_palette(palette)
    , m_chosen(std::move(chosen))
    , m_parentAt(parentAt)
    , m_scale(std::max(1, scale))
{
    const QSize size = m_menu.size();
    xdg_positioner* positioner = xdg_wm_base_create_positioner(m_display.popupShell());
    xdg_positioner_set_size(positioner, size.width(), size.height());
    // Opens below and to the right of the pointer, as desktop menus do, turned around where the
    // output ends.
    xdg_positioner_set_anchor_rect(positioner, std::max(0, static_cast<int>(pointer.x())), std::max(0, static_cast<int>(pointer.y())), 1, 1);
    xdg_positioner_set_anchor(positioner, XDG_POSITIONER_ANCHOR_BOTTOM_RIGHT);
    xdg_positioner_set_gravity(positioner, XDG_POSITIONER_GRAVITY_BOTTOM_RIGHT);
    xdg_positioner_set_constraint_adjustment(positioner,
        XDG_POSITIONER_CONSTRAINT_ADJUSTMENT_FLIP_X | XDG_POSITIONER_CONSTRAINT_ADJUSTMENT_FLIP_Y | XDG_POSITIONER_CONSTRAINT_ADJUSTMENT_SLIDE_X
            | XDG_POSITIONER_CONSTRAINT_ADJUSTMENT_SLIDE_Y);
    m_position = QPoint(static_cast<int>(pointer.x()) + 1, static_cast<int>(pointer.y()) + 1);

    m_surface = wl_compositor_create_surface(m_display.compositor());
    m_role = xdg_wm_base_get_xdg_surface(m_display.popupShell(), m_surface);
    xdg_surface_add_listener(m_role, &MenuPopupListeners::roleListener, this);
    // No xdg parent: the layer surface adopts it.
    m_popup = xdg_surface_get_popup(m_role, nullptr, positioner);
    xdg_popup_add_listener(m_popup, &MenuPopupListeners::popupListener, this);
    zwlr_layer_surface_v1_get_popup(layer, m_popup);
    xdg_positioner_destroy(positioner);
    // The grab must come before the first commit, naming the press that opened the menu.
    if (m_display.seat())
        xdg_popup_grab(m_popup, m_display.seat(), m_display.lastPressSerial());
    m_display.setPointerTarget(m_surface, this);
    wl_surface_commit(m_surface);
    m_display.flush();
}

MenuPopup::~MenuPopup()
{
    close();
}

void MenuPopup::close()
{
    if (!m_popup)
        return;
    if (m_frame) {
        wl_callback_destroy(m_frame);
        m_frame = nullptr;
    }
    xdg_popup_destroy(m_popup);
    m_popup = nullptr;
    xdg_surface_destroy(m_role);
    m_role = nullptr;
    m_display.removePointerTarget(m_surface);
    wl_surface_destroy(m_surface);
    m_surface = nullptr;
    m_buffers.clear();
    m_configured = false;
    m_display.flush();
    HostTrace::line(QStringLiteral("menu closed"));
}

void MenuPopup::trace() const
{
    if (!HostTrace::enabled())
        return;
    const QPoint at = m_parentAt + m_position;
    const QSize size = m_menu.size();
    HostTrace::line(QStringLiteral("menu shown %1 %2 %3 %4").arg(at.x()).arg(at.y()).arg(size.width()).arg(size.height()));
    for (const FlatMenu::Row& row : m_menu.rows()) {
        if (row.kind != FlatMenu::Row::Kind::choice)
            continue;
        const QRect frame = row.frame.toRect().translated(at);
        HostTrace::line(QStringLiteral("menu item %1 %2 %3 %4 %5%6")
                            .arg(frame.x())
                            .arg(frame.y())
                            .arg(frame.width())
                            .arg(frame.height())
                            .arg(row.checked ? QStringLiteral("* ") : QString())
                            .arg(row.text));
    }
}

void MenuPopup::draw()
{
    if (!m_configured || !m_dirty || m_frame)
        return; // the frame callback draws it later
    const QSize size = m_menu.size();
    ShmBuffer* buffer = m_buffers.free(m_display.shm(), size * m_scale);
    if (!buffer)
        return;
    m_dirty = false;
    QImage& image = buffer->image();
    image.setDevicePixelRatio(m_scale);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        m_menu.paint(painter, m_highlighted, m_palette);
    }
    attachWhole(m_surface, *buffer, m_scale, size);
    m_frame = wl_surface_frame(m_surface);
    wl_callback_add_listener(m_frame, &MenuPopupListeners::frameListener, this);
    wl_surface_commit(m_surface);
    m_display.flush();
}

void MenuPopup::highlight(std::optional<std::size_t> row)
{
    if (row == m_highlighted)
        return;
    m_highlighted = row;
    m_dirty = true;
    draw();
}

void MenuPopup::pointerEntered(QPointF local)
{
    highlight(m_menu.rowAt(local));
}

void MenuPopup::pointerLeft()
{
    highlight(std::nullopt);
    m_pressed.reset();
    m_buttonDown = false;
}

void MenuPopup::pointerMoved(QPointF local)
{
    highlight(m_menu.rowAt(local));
}

void MenuPopup::pointerButton(std::uint32_t, bool pressed)
{
    if (pressed) {
        m_buttonDown = true;
        m_pressed = m_highlighted;
        return;
    }
    // A release without a press here is the end of the click that opened the menu.
    if (!m_buttonDown)
        return;
    m_buttonDown = false;
    if (!m_highlighted || m_pressed != m_highlighted)
        return;
    const MenuChoice choice = m_menu.rows()[*m_highlighted].choice;
    HostTrace::line(QStringLiteral("menu chosen ") + detail::choiceName(choice));
    // A copy, called last: what it runs may end this menu.
    const Chosen chosen = m_chosen;
    close();
    if (chosen)
        chosen(choice);
}

}
