// SPDX-License-Identifier: MIT
#include "Host/Wayland/WaylandDisplay.h"

#include "Host/HostTrace.h"

#include "relative-pointer-unstable-v1-client-protocol.h"
#include "wlr-layer-shell-unstable-v1-client-protocol.h"
#include "xdg-shell-client-protocol.h"
#include "xdg-output-unstable-v1-client-protocol.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QSocketNotifier>

#include <wayland-client.h>

#include <algorithm>
#include <cstdlib>
#include <cerrno>
#include <cstring>

namespace quelm::host::wayland {

namespace detail {

// The versions we speak; a compositor that offers less is met at its own.
constexpr std::uint32_t compositorVersion = 4;
constexpr std::uint32_t shmVersion = 1;
constexpr std::uint32_t layerShellVersion = 3;
constexpr std::uint32_t popupShellVersion = 2;
constexpr std::uint32_t seatVersion = 5;
constexpr std::uint32_t outputVersion = 2;
constexpr std::uint32_t relativePointerVersion = 1;
constexpr std::uint32_t outputPlacementVersion = 2;

template<typename Interface>
Interface* bind(wl_registry* registry, std::uint32_t name, const wl_interface& interface, std::uint32_t offered, std::uint32_t wanted)
{
    return static_cast<Interface*>(wl_registry_bind(registry, name, &interface, std::min(offered, wanted)));
}

QPointF point(wl_fixed_t x, wl_fixed_t y)
{
    return { wl_fixed_to_double(x), wl_fixed_to_double(y) };
}

}

// The C callbacks of the connection's objects, each handing on to the display it belongs to.
struct WaylandDisplayListeners {
    static WaylandDisplay& of(void* data) { return *static_cast<WaylandDisplay*>(data); }

    static void global(void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t version)
    {
        WaylandDisplay& self = of(data);
        if (std::strcmp(interface, wl_compositor_interface.name) == 0 && !self.m_compositor) {
            self.m_compositor = detail::bind<wl_compositor>(registry, name, wl_compositor_interface, version, detail::compositorVersion);
        } else if (std::strcmp(interface, wl_shm_interface.name) == 0 && !self.m_shm) {
            self.m_shm = detail::bind<wl_shm>(registry, name, wl_shm_interface, version, detail::shmVersion);
        } else if (std::strcmp(interface, zwlr_layer_shell_v1_interface.name) == 0 && !self.m_layerShell) {
            self.m_layerShell = detail::bind<zwlr_layer_shell_v1>(registry, name, zwlr_layer_shell_v1_interface, version, detail::layerShellVersion);
        } else if (std::strcmp(interface, xdg_wm_base_interface.name) == 0 && !self.m_popupShell) {
            self.m_popupShell = detail::bind<xdg_wm_base>(registry, name, xdg_wm_base_interface, version, detail::popupShellVersion);
            xdg_wm_base_add_listener(self.m_popupShell, &popupShellListener, data);
        } else if (std::strcmp(interface, zwp_relative_pointer_manager_v1_interface.name) == 0 && !self.m_relativePointers) {
            self.m_relativePointers = detail::bind<zwp_relative_pointer_manager_v1>(registry, name, zwp_relative_pointer_manager_v1_interface, version, detail::relativePointerVersion);
        } else if (std::strcmp(interface, wl_seat_interface.name) == 0 && !self.m_seat) {
            // The first seat is the user's; further ones are rare and left alone.
            self.m_seat = detail::bind<wl_seat>(registry, name, wl_seat_interface, version, detail::seatVersion);
            wl_seat_add_listener(self.m_seat, &seatListener, data);
        } else if (std::strcmp(interface, wl_output_interface.name) == 0) {
            auto* output = detail::bind<wl_output>(registry, name, wl_output_interface, version, detail::outputVersion);
            self.m_outputs.push_back({ output, name, {}, 1, nullptr, std::nullopt, {} });
            wl_output_add_listener(output, &outputListener, data);
            placeOutput(self, self.m_outputs.back());
        } else if (std::strcmp(interface, zxdg_output_manager_v1_interface.name) == 0 && !self.m_outputPlacements) {
            self.m_outputPlacements = detail::bind<zxdg_output_manager_v1>(registry, name, zxdg_output_manager_v1_interface, version, detail::outputPlacementVersion);
            for (WaylandDisplay::Output& output : self.m_outputs)
                placeOutput(self, output);
        }
    }

    // Asks where the output stands in the layout (once there is a manager to ask).
    static void placeOutput(WaylandDisplay& self, WaylandDisplay::Output& output)
    {
        if (!self.m_outputPlacements || output.placement)
            return;
        output.placement = zxdg_output_manager_v1_get_xdg_output(self.m_outputPlacements, output.output);
        zxdg_output_v1_add_listener(output.placement, &placementListener, &self);
    }

    static WaylandDisplay::Output* outputPlacedBy(WaylandDisplay& self, zxdg_output_v1* placement)
    {
        const auto found = std::find_if(self.m_outputs.begin(), self.m_outputs.end(), [&](const auto& known) { return known.placement == placement; });
        return found == self.m_outputs.end() ? nullptr : &*found;
    }

    static void placementPosition(void* data, zxdg_output_v1* placement, std::int32_t x, std::int32_t y)
    {
        if (WaylandDisplay::Output* output = outputPlacedBy(of(data), placement))
            output->area = QRect(QPoint(x, y), output->area.value_or(QRect()).size());
    }

    static void placementSize(void* data, zxdg_output_v1* placement, std::int32_t width, std::int32_t height)
    {
        if (WaylandDisplay::Output* output = outputPlacedBy(of(data), placement))
            output->area = QRect(output->area.value_or(QRect()).topLeft(), QSize(width, height));
    }

    static void placementDone(void*, zxdg_output_v1*) { }

    static void placementName(void* data, zxdg_output_v1* placement, const char* name)
    {
        if (WaylandDisplay::Output* output = outputPlacedBy(of(data), placement))
            output->label = name;
    }

    static void placementDescription(void*, zxdg_output_v1*, const char*) { }

    static void globalRemoved(void* data, wl_registry*, std::uint32_t name)
    {
        WaylandDisplay& self = of(data);
        const auto gone = std::find_if(self.m_outputs.begin(), self.m_outputs.end(), [&](const auto& output) { return output.name == name; });
        if (gone != self.m_outputs.end()) {
            if (gone->placement)
                zxdg_output_v1_destroy(gone->placement);
            wl_output_destroy(gone->output);
            self.m_outputs.erase(gone);
        }
    }

    static WaylandDisplay::Output* outputOf(WaylandDisplay& self, wl_output* output)
    {
        const auto found = std::find_if(self.m_outputs.begin(), self.m_outputs.end(), [&](const auto& known) { return known.output == output; });
        return found == self.m_outputs.end() ? nullptr : &*found;
    }

    static void outputGeometry(void*, wl_output*, std::int32_t, std::int32_t, std::int32_t, std::int32_t, std::int32_t, const char*, const char*, std::int32_t) { }

    static void outputMode(void* data, wl_output* output, std::uint32_t flags, std::int32_t width, std::int32_t height, std::int32_t)
    {
        if (!(flags & WL_OUTPUT_MODE_CURRENT))
            return;
        if (WaylandDisplay::Output* known = outputOf(of(data), output))
            known->pixels = QSize(width, height);
    }

    static void outputDone(void*, wl_output*) { }
    static void outputName(void*, wl_output*, const char*) { }
    static void outputDescription(void*, wl_output*, const char*) { }

    static void outputScale(void* data, wl_output* output, std::int32_t factor)
    {
        if (WaylandDisplay::Output* known = outputOf(of(data), output))
            known->scale = std::max(1, factor);
    }

    static void seatCapabilities(void* data, wl_seat* seat, std::uint32_t capabilities)
    {
        // A pointer may come and go with its device (a virtual one, a tablet mode switch).
        WaylandDisplay& self = of(data);
        const bool hasPointer = (capabilities & WL_SEAT_CAPABILITY_POINTER) != 0;
        if (hasPointer && !self.m_pointer) {
            self.m_pointer = wl_seat_get_pointer(seat);
            wl_pointer_add_listener(self.m_pointer, &pointerListener, data);
            self.flush();
            HostTrace::line(QStringLiteral("seat pointer"));
        } else if (!hasPointer && self.m_pointer) {
            if (self.m_relativePointer) {
                zwp_relative_pointer_v1_destroy(self.m_relativePointer);
                self.m_relativePointer = nullptr;
            }
            if (wl_pointer_get_version(self.m_pointer) >= WL_POINTER_RELEASE_SINCE_VERSION)
                wl_pointer_release(self.m_pointer);
            else
                wl_pointer_destroy(self.m_pointer);
            self.m_pointer = nullptr;
            self.m_pointerSurface = nullptr;
        }
    }

    static void seatName(void*, wl_seat*, const char*) { }

    static void pointerEnter(void* data, wl_pointer* pointer, std::uint32_t, wl_surface* surface, wl_fixed_t x, wl_fixed_t y)
    {
        WaylandDisplay& self = of(data);
        self.m_pointerSurface = surface;
        // Asked for only now that the pointer is surely alive: a pointer whose device has gone
        // already (a virtual one, quickly made and dropped) crashes some wlroots releases when
        // asked for its relative pointer.
        if (self.m_relativePointers && !self.m_relativePointer) {
            self.m_relativePointer = zwp_relative_pointer_manager_v1_get_relative_pointer(self.m_relativePointers, pointer);
            zwp_relative_pointer_v1_add_listener(self.m_relativePointer, &relativePointerListener, data);
            self.flush();
        }
        if (PointerTarget* target = self.targetOf(surface))
            target->pointerEntered(detail::point(x, y));
    }

    static void pointerLeave(void* data, wl_pointer*, std::uint32_t, wl_surface* surface)
    {
        WaylandDisplay& self = of(data);
        if (self.m_pointerSurface == surface)
            self.m_pointerSurface = nullptr;
        if (PointerTarget* target = self.targetOf(surface))
            target->pointerLeft();
    }

    static void pointerMotion(void* data, wl_pointer*, std::uint32_t, wl_fixed_t x, wl_fixed_t y)
    {
        WaylandDisplay& self = of(data);
        if (PointerTarget* target = self.targetOf(self.m_pointerSurface))
            target->pointerMoved(detail::point(x, y));
    }

    static void pointerButton(void* data, wl_pointer*, std::uint32_t serial, std::uint32_t, std::uint32_t button, std::uint32_t state)
    {
        WaylandDisplay& self = of(data);
        if (state == WL_POINTER_BUTTON_STATE_PRESSED)
            self.m_lastPressSerial = serial;
        if (PointerTarget* target = self.targetOf(self.m_pointerSurface))
            target->pointerButton(button, state == WL_POINTER_BUTTON_STATE_PRESSED);
    }

    static void relativeMotion(void* data, zwp_relative_pointer_v1*, std::uint32_t, std::uint32_t, wl_fixed_t dx, wl_fixed_t dy, wl_fixed_t, wl_fixed_t)
    {
        WaylandDisplay& self = of(data);
        if (PointerTarget* target = self.targetOf(self.m_pointerSurface))
            target->pointerTravelled(detail::point(dx, dy));
    }

    // A client that does not answer is taken for hung, and its popups with it.
    static void popupShellPing(void*, xdg_wm_base* shell, std::uint32_t serial) { xdg_wm_base_pong(shell, serial); }

    static void pointerAxis(void*, wl_pointer*, std::uint32_t, std::uint32_t, wl_fixed_t) { }
    static void pointerFrame(void*, wl_pointer*) { }
    static void pointerAxisSource(void*, wl_pointer*, std::uint32_t) { }
    static void pointerAxisStop(void*, wl_pointer*, std::uint32_t, std::uint32_t) { }
    static void pointerAxisDiscrete(void*, wl_pointer*, std::uint32_t, std::int32_t) { }
    static void pointerAxisValue120(void*, wl_pointer*, std::uint32_t, std::int32_t) { }

    static constexpr zxdg_output_v1_listener placementListener { placementPosition, placementSize, placementDone, placementName,
        placementDescription };
    static constexpr zwp_relative_pointer_v1_listener relativePointerListener { relativeMotion };
    static constexpr xdg_wm_base_listener popupShellListener { popupShellPing };
    static constexpr wl_registry_listener registryListener { global, globalRemoved };
    static constexpr wl_output_listener outputListener { outputGeometry, outputMode, outputDone, outputScale, outputName, outputDescription };
    static constexpr wl_seat_listener seatListener { seatCapabilities, seatName };
    static constexpr wl_pointer_listener pointerListener { pointerEnter, pointerLeave, pointerMotion, pointerButton, pointerAxis,
        pointerFrame, pointerAxisSource, pointerAxisStop, pointerAxisDiscrete, pointerAxisValue120 };
};

std::unique_ptr<WaylandDisplay> WaylandDisplay::connect()
{
    const char* name = std::getenv("WAYLAND_DISPLAY");
    if (!name || !*name)
        return nullptr;
    wl_display* display = wl_display_connect(nullptr);
    if (!display)
        return nullptr;
    std::unique_ptr<WaylandDisplay> connection(new WaylandDisplay(display));
    // One round for the globals, one for what binding them sent (the seat's capabilities, the
    // outputs' modes).
    if (wl_display_roundtrip(display) < 0 || wl_display_roundtrip(display) < 0)
        return nullptr;
    if (!connection->m_compositor || !connection->m_shm)
        return nullptr;
    return connection;
}

WaylandDisplay::WaylandDisplay(wl_display* display)
    : m_display(display)
    , m_registry(wl_display_get_registry(display))
{
    wl_registry_add_listener(m_registry, &WaylandDisplayListeners::registryListener, this);
}

WaylandDisplay::~WaylandDisplay()
{
    delete m_notifier;
    if (m_relativePointer)
        zwp_relative_pointer_v1_destroy(m_relativePointer);
    if (m_relativePointers)
        zwp_relative_pointer_manager_v1_destroy(m_relativePointers);
    if (m_pointer)
        wl_pointer_destroy(m_pointer);
    if (m_seat)
        wl_seat_destroy(m_seat);
    for (const Output& output : m_outputs) {
        if (output.placement)
            zxdg_output_v1_destroy(output.placement);
        wl_output_destroy(output.output);
    }
    if (m_outputPlacements)
        zxdg_output_manager_v1_destroy(m_outputPlacements);
    if (m_layerShell)
        zwlr_layer_shell_v1_destroy(m_layerShell);
    if (m_popupShell)
        xdg_wm_base_destroy(m_popupShell);
    if (m_shm)
        wl_shm_destroy(m_shm);
    if (m_compositor)
        wl_compositor_destroy(m_compositor);
    wl_registry_destroy(m_registry);
    wl_display_disconnect(m_display);
}

void WaylandDisplay::attachToEventLoop()
{
    if (m_notifier)
        return;
    m_notifier = new QSocketNotifier(wl_display_get_fd(m_display), QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(m_notifier, &QSocketNotifier::activated, this, &WaylandDisplay::readEvents);
    // What our callbacks ask during an event-loop pass goes out before the loop sleeps.
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this, &WaylandDisplay::flush);
    flush();
}

void WaylandDisplay::readEvents()
{
    if (m_lost)
        return;
    if (wl_display_prepare_read(m_display) == 0) {
        if (wl_display_read_events(m_display) < 0) {
            checkConnection();
            return;
        }
    }
    if (wl_display_dispatch_pending(m_display) < 0)
        checkConnection();
    flush();
}

void WaylandDisplay::flush()
{
    if (m_lost)
        return;
    if (wl_display_dispatch_pending(m_display) < 0 || (wl_display_flush(m_display) < 0 && errno != EAGAIN))
        checkConnection();
}

void WaylandDisplay::checkConnection()
{
    if (m_lost || wl_display_get_error(m_display) == 0)
        return;
    m_lost = true;
    if (m_notifier)
        m_notifier->setEnabled(false);
    emit lost();
}

const WaylandDisplay::Output* WaylandDisplay::outputAt(QPoint point) const
{
    const auto holding = std::find_if(m_outputs.begin(), m_outputs.end(), [&](const Output& output) { return output.logical().contains(point); });
    if (holding != m_outputs.end())
        return &*holding;
    return m_outputs.empty() ? nullptr : &m_outputs.front();
}

void WaylandDisplay::setPointerTarget(wl_surface* surface, PointerTarget* target)
{
    removePointerTarget(surface);
    m_routes.push_back({ surface, target });
}

void WaylandDisplay::removePointerTarget(wl_surface* surface)
{
    std::erase_if(m_routes, [&](const Route& route) { return route.surface == surface; });
    if (m_pointerSurface == surface)
        m_pointerSurface = nullptr;
}

PointerTarget* WaylandDisplay::targetOf(wl_surface* surface) const
{
    if (!surface)
        return nullptr;
    const auto found = std::find_if(m_routes.begin(), m_routes.end(), [&](const Route& route) { return route.surface == surface; });
    return found == m_routes.end() ? nullptr : found->target;
}

}
