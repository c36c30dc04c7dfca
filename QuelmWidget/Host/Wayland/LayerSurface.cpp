// SPDX-License-Identifier: MIT
#include "Host/Wayland/LayerSurface.h"

#include "Host/FlatMenu.h"
#include "Host/HostTrace.h"
#include "Host/WidgetMenu.h"
#include "Host/WidgetWindow.h"

#include "wlr-layer-shell-unstable-v1-client-protocol.h"

#include <QContextMenuEvent>
#include <QCoreApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>

#include <wayland-client.h>

#include <linux/input-event-codes.h>

#include <algorithm>
#include <cmath>

namespace quelm::host::wayland {

namespace detail {

Qt::MouseButton qtButton(std::uint32_t button)
{
    switch (button) {
    case BTN_LEFT:
        return Qt::LeftButton;
    case BTN_RIGHT:
        return Qt::RightButton;
    case BTN_MIDDLE:
        return Qt::MiddleButton;
    default:
        return Qt::NoButton;
    }
}

}

struct LayerSurfaceListeners {
    static LayerSurface& of(void* data) { return *static_cast<LayerSurface*>(data); }

    static void configure(void* data, zwlr_layer_surface_v1* layer, std::uint32_t serial, std::uint32_t width, std::uint32_t height)
    {
        LayerSurface& self = of(data);
        zwlr_layer_surface_v1_ack_configure(layer, serial);
        const bool first = !self.m_configured;
        self.m_configured = true;
        // Said again when the widget changed size.
        const QSize size(static_cast<int>(width), static_cast<int>(height));
        if (first || size != self.m_configuredSize)
            self.trace();
        self.m_configuredSize = size;
        self.draw();
    }

    static void closed(void* data, zwlr_layer_surface_v1*)
    {
        // The output went away: the widget stays placed and comes back when shown again.
        LayerSurface& self = of(data);
        self.destroy();
    }

    static void frameDone(void* data, wl_callback* callback, std::uint32_t)
    {
        LayerSurface& self = of(data);
        wl_callback_destroy(callback);
        self.m_frame = nullptr;
        if (self.m_dirty)
            self.draw();
    }

    static void placeConfirmed(void* data, wl_callback* callback, std::uint32_t)
    {
        LayerSurface& self = of(data);
        wl_callback_destroy(callback);
        if (!self.m_pendingPlaces.empty() && self.m_pendingPlaces.front().sync == callback) {
            self.m_shownAt = self.m_pendingPlaces.front().position;
            self.m_pendingPlaces.pop_front();
        }
    }

    static constexpr zwlr_layer_surface_v1_listener layerListener { configure, closed };
    static constexpr wl_callback_listener frameListener { frameDone };
    static constexpr wl_callback_listener placeListener { placeConfirmed };
};

LayerSurface::LayerSurface(WaylandDisplay& display, WidgetWindow& window)
    : QObject(&window)
    , m_display(display)
    , m_window(window)
{
    // Qt keeps the window to itself: no surface of Qt's, yet it paints and takes events.
    m_window.setAttribute(Qt::WA_DontShowOnScreen);
    m_window.installEventFilter(this);
}

LayerSurface::~LayerSurface()
{
    destroy();
}

bool LayerSurface::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != &m_window)
        return false;
    switch (event->type()) {
    case QEvent::Show:
        create();
        break;
    case QEvent::Hide:
        destroy();
        break;
    case QEvent::Move:
        placeAt(m_window.pos());
        break;
    case QEvent::Resize:
        if (m_layer) {
            zwlr_layer_surface_v1_set_size(m_layer, static_cast<std::uint32_t>(m_window.width()), static_cast<std::uint32_t>(m_window.height()));
            m_dirty = true;
            draw();
        }
        break;
    case QEvent::UpdateRequest:
        // Qt still paints into its own off-screen store after this; the copy for the compositor
        // is taken here, where every change of the window's picture passes.
        m_dirty = true;
        draw();
        break;
    default:
        break;
    }
    return false;
}

void LayerSurface::create()
{
    if (m_surface)
        return;
    // A layer surface stays on one output; margins count from that output's corner.
    const QPoint position = m_window.pos();
    const WaylandDisplay::Output* output = m_display.outputAt(position);
    m_output = output ? output->output : nullptr;
    m_surface = wl_compositor_create_surface(m_display.compositor());
    m_layer = zwlr_layer_shell_v1_get_layer_surface(m_display.layerShell(), m_surface, m_output, ZWLR_LAYER_SHELL_V1_LAYER_BOTTOM, "quelm-widget");
    zwlr_layer_surface_v1_add_listener(m_layer, &LayerSurfaceListeners::layerListener, this);
    zwlr_layer_surface_v1_set_size(m_layer, static_cast<std::uint32_t>(m_window.width()), static_cast<std::uint32_t>(m_window.height()));
    zwlr_layer_surface_v1_set_anchor(m_layer, ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT);
    zwlr_layer_surface_v1_set_keyboard_interactivity(m_layer, ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_NONE);
    // -1: not pushed aside by panels, so that the margins alone say where it stands.
    zwlr_layer_surface_v1_set_exclusive_zone(m_layer, -1);
    const QPoint margins = position - outputOrigin();
    zwlr_layer_surface_v1_set_margin(m_layer, margins.y(), 0, 0, margins.x());
    m_committedAt = m_shownAt = position;
    m_display.setPointerTarget(m_surface, this);
    // The first commit carries no picture; the configure that answers it lets one be attached.
    wl_surface_commit(m_surface);
    m_dirty = true;
    m_display.flush();
}

void LayerSurface::destroy()
{
    // A popup goes before its parent.
    m_menu.reset();
    for (const PendingPlace& pending : m_pendingPlaces)
        wl_callback_destroy(pending.sync);
    m_pendingPlaces.clear();
    if (m_frame) {
        wl_callback_destroy(m_frame);
        m_frame = nullptr;
    }
    if (m_layer) {
        zwlr_layer_surface_v1_destroy(m_layer);
        m_layer = nullptr;
    }
    if (m_surface) {
        m_display.removePointerTarget(m_surface);
        wl_surface_destroy(m_surface);
        m_surface = nullptr;
    }
    m_buffers.clear();
    m_configured = false;
    m_buttons = Qt::NoButton;
    m_swallowed = Qt::NoButton;
    m_press.reset();
    m_display.flush();
}

void LayerSurface::placeAt(QPoint position)
{
    if (!m_layer || position == m_committedAt)
        return;
    const QPoint margins = position - outputOrigin();
    zwlr_layer_surface_v1_set_margin(m_layer, margins.y(), 0, 0, margins.x());
    wl_surface_commit(m_surface);
    m_committedAt = position;
    wl_callback* sync = wl_display_sync(m_display.display());
    wl_callback_add_listener(sync, &LayerSurfaceListeners::placeListener, this);
    m_pendingPlaces.push_back({ sync, position });
    trace();
    m_display.flush();
}

void LayerSurface::moveToOutputUnderIt()
{
    const WaylandDisplay::Output* output = m_display.outputAt(m_window.pos());
    if (!m_layer || !output || output->output == m_output)
        return;
    destroy();
    create();
}

const WaylandDisplay::Output* LayerSurface::output() const
{
    const auto& outputs = m_display.outputs();
    const auto found = std::find_if(outputs.begin(), outputs.end(), [&](const auto& known) { return known.output == m_output; });
    return found == outputs.end() ? nullptr : &*found;
}

QPoint LayerSurface::outputOrigin() const
{
    const WaylandDisplay::Output* shownOn = output();
    return shownOn ? shownOn->logical().topLeft() : QPoint();
}

int LayerSurface::scale() const
{
    const WaylandDisplay::Output* shownOn = output();
    return shownOn ? shownOn->scale : 1;
}

void LayerSurface::trace() const
{
    if (!HostTrace::enabled())
        return;
    const WaylandDisplay::Output* shownOn = output();
    HostTrace::line(QStringLiteral("layer bottom %1 %2 %3 %4 %5")
                        .arg(m_committedAt.x())
                        .arg(m_committedAt.y())
                        .arg(m_window.width())
                        .arg(m_window.height())
                        .arg(shownOn && !shownOn->label.empty() ? QString::fromStdString(shownOn->label) : QStringLiteral("-")));
}

void LayerSurface::draw()
{
    if (!m_configured || !m_dirty || m_frame)
        return; // the frame callback or the compositor's release draws it later
    const int factor = scale();
    const QSize pixels = m_window.size() * factor;
    ShmBuffer* buffer = m_buffers.free(m_display.shm(), pixels);
    if (!buffer)
        return;
    m_dirty = false;
    QImage& image = buffer->image();
    image.setDevicePixelRatio(factor);
    image.fill(Qt::transparent);
    m_window.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);

    attachWhole(m_surface, *buffer, factor, m_window.size());
    m_frame = wl_surface_frame(m_surface);
    wl_callback_add_listener(m_frame, &LayerSurfaceListeners::frameListener, this);
    wl_surface_commit(m_surface);
    m_display.flush();
    if (!m_shownRender && m_window.rendered()) {
        m_shownRender = true;
        HostTrace::line(QStringLiteral("layer drawn %1 %2").arg(m_committedAt.x()).arg(m_committedAt.y()));
    }
}

QPointF LayerSurface::globalPosition(QPointF local) const
{
    if (!m_press)
        return QPointF(m_shownAt) + local;
    if (m_display.tellsTravel())
        return m_press->global + m_press->travelled;
    // Without travel reports, count as wlroots-based compositors do while a button is down: from
    // where the surface stood when it went down.
    return m_press->global + (local - m_press->local);
}

void LayerSurface::pointerEntered(QPointF local)
{
    m_pointer = local;
    HostTrace::line(QStringLiteral("layer entered %1 %2").arg(local.x()).arg(local.y()));
}

void LayerSurface::pointerLeft()
{
    // The compositor keeps a pressed pointer on its surface, so leaving ends any press.
    if (m_buttons & Qt::LeftButton)
        pointerButton(BTN_LEFT, false);
    m_buttons = Qt::NoButton;
}

void LayerSurface::pointerMoved(QPointF local)
{
    m_pointer = local;
    if (m_press && m_display.tellsTravel())
        return; // the travel reports move the window
    sendMove();
}

void LayerSurface::pointerTravelled(QPointF distance)
{
    if (!m_press)
        return;
    m_press->travelled += distance;
    sendMove();
}

void LayerSurface::sendMove()
{
    QMouseEvent event(QEvent::MouseMove, m_pointer, m_pointer, globalPosition(m_pointer), Qt::NoButton, m_buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(&m_window, &event);
}

void LayerSurface::pointerButton(std::uint32_t code, bool pressed)
{
    const Qt::MouseButton button = detail::qtButton(code);
    if (button == Qt::NoButton)
        return;
    if (pressed && m_menu && m_menu->isOpen()) {
        // A click on the widget while its menu is up only closes the menu, as one elsewhere does.
        m_menu->close();
        m_swallowed |= button;
        return;
    }
    if (!pressed && (m_swallowed & button)) {
        m_swallowed &= ~Qt::MouseButtons(button);
        return;
    }
    const QPointF global = globalPosition(m_pointer);
    if (pressed)
        m_buttons |= button;
    else
        m_buttons &= ~Qt::MouseButtons(button);
    if (button == Qt::LeftButton) {
        if (pressed)
            m_press = Press { global, m_pointer, {} };
        else
            m_press.reset();
    }
    const bool dropped = button == Qt::LeftButton && !pressed;
    QMouseEvent event(pressed ? QEvent::MouseButtonPress : QEvent::MouseButtonRelease, m_pointer, m_pointer, global, button, m_buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(&m_window, &event);
    if (pressed && button == Qt::RightButton) {
        if (m_display.popupShell() && m_layer && m_configured) {
            openMenu();
        } else {
            // Without popups for layer surfaces a menu of Qt's own, a window, is still a menu.
            QContextMenuEvent menu(QContextMenuEvent::Mouse, m_pointer.toPoint(), global.toPoint());
            QCoreApplication::sendEvent(&m_window, &menu);
        }
    }
    // A widget dropped on another output goes over to it (a layer surface cannot).
    if (dropped)
        moveToOutputUnderIt();
}

void LayerSurface::openMenu()
{
    m_menu.reset();
    QPointer<WidgetWindow> window(&m_window);
    m_menu = std::make_unique<MenuPopup>(m_display, m_layer, m_shownAt, m_pointer, scale(), FlatMenu(widgetMenu(m_window.family())),
        m_window.widgetPalette(), [window](const MenuChoice& choice) {
            // Once the compositor's event is handled: removing the widget ends this surface and
            // its menu.
            QMetaObject::invokeMethod(
                window.data(),
                [window, choice] {
                    if (window)
                        window->choose(choice);
                },
                Qt::QueuedConnection);
        });
}

}
