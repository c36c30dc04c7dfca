// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QPointer>
#include <QPointF>
#include <QRect>
#include <QSize>

#include <cstdint>
#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct wl_compositor;
struct wl_display;
struct wl_output;
struct wl_pointer;
struct wl_registry;
struct wl_seat;
struct wl_shm;
struct wl_surface;
struct xdg_wm_base;
struct zwlr_layer_shell_v1;
struct zwp_relative_pointer_manager_v1;
struct zwp_relative_pointer_v1;
struct zxdg_output_manager_v1;
struct zxdg_output_v1;

class QSocketNotifier;

namespace quelm::host::wayland {

// What a surface of ours hears from the pointer; positions are in surface coordinates.
class PointerTarget {
public:
    virtual ~PointerTarget() = default;
    virtual void pointerEntered(QPointF) = 0;
    virtual void pointerLeft() = 0;
    virtual void pointerMoved(QPointF) = 0;
    // `button` is a Linux input event code (BTN_LEFT, BTN_RIGHT…).
    virtual void pointerButton(std::uint32_t button, bool pressed) = 0;
    // How far the pointer went, in compositor coordinates, whatever the surface did meanwhile.
    virtual void pointerTravelled(QPointF) { }
};

// Our own connection to the Wayland compositor, beside Qt's: the globals the widgets' layer
// surfaces need, the seat's pointer routed to the surface it is over, and the connection's events
// read inside Qt's event loop.
//   auto display = WaylandDisplay::connect();      // before or after QApplication
//   if (display && display->layerShell()) { display->attachToEventLoop(); … }
class WaylandDisplay : public QObject {
    Q_OBJECT

public:
    struct Output {
        wl_output* output = nullptr;
        std::uint32_t name = 0;
        QSize pixels;  // the current mode
        int scale = 1;
        // Where it stands in the desktop's layout, in surface coordinates; without xdg-output
        // every output counts from the layout's origin.
        zxdg_output_v1* placement = nullptr;
        std::optional<QRect> area;
        std::string label; // "HEADLESS-1", "DP-2"…

        QRect logical() const { return area.value_or(QRect(QPoint(0, 0), pixels / std::max(1, scale))); }
    };

    // The compositor named by WAYLAND_DISPLAY, its globals known; none when it cannot be reached.
    static std::unique_ptr<WaylandDisplay> connect();
    ~WaylandDisplay() override;

    wl_display* display() const { return m_display; }
    wl_compositor* compositor() const { return m_compositor; }
    wl_shm* shm() const { return m_shm; }
    // None when the compositor offers no desktop layers.
    zwlr_layer_shell_v1* layerShell() const { return m_layerShell; }
    // What popups of the layer surfaces (their menus) are made with; none when not offered.
    xdg_wm_base* popupShell() const { return m_popupShell; }
    wl_seat* seat() const { return m_seat; }
    // The serial of the pointer's latest button press, which a popup's grab must name.
    std::uint32_t lastPressSerial() const { return m_lastPressSerial; }
    const std::vector<Output>& outputs() const { return m_outputs; }
    // The output a surface whose top-left corner is at `point` (layout coordinates) belongs on:
    // the one that holds the point, or else the first; none when there is no output.
    const Output* outputAt(QPoint point) const;
    // Whether pointer targets hear pointerTravelled: surface coordinates cannot say how far a
    // drag went once the surface moves, as compositors differ in which position they count from.
    bool tellsTravel() const { return m_relativePointer != nullptr; }

    // Reads the compositor's events whenever they come, in the thread of the Qt event loop.
    void attachToEventLoop();
    // Sends what was asked so far.
    void flush();

    void setPointerTarget(wl_surface*, PointerTarget*);
    void removePointerTarget(wl_surface*);

signals:
    // The connection broke (the compositor ended); nothing shows any more.
    void lost();

private:
    explicit WaylandDisplay(wl_display*);
    void readEvents();
    void checkConnection();

    friend struct WaylandDisplayListeners;

    wl_display* m_display;
    wl_registry* m_registry = nullptr;
    wl_compositor* m_compositor = nullptr;
    wl_shm* m_shm = nullptr;
    zwlr_layer_shell_v1* m_layerShell = nullptr;
    xdg_wm_base* m_popupShell = nullptr;
    std::uint32_t m_lastPressSerial = 0;
    wl_seat* m_seat = nullptr;
    wl_pointer* m_pointer = nullptr;
    zwp_relative_pointer_manager_v1* m_relativePointers = nullptr;
    zwp_relative_pointer_v1* m_relativePointer = nullptr;
    zxdg_output_manager_v1* m_outputPlacements = nullptr;
    std::vector<Output> m_outputs;
    // A child of the application, which may end before the connection.
    QPointer<QSocketNotifier> m_notifier;
    bool m_lost = false;

    struct Route {
        wl_surface* surface;
        PointerTarget* target;
    };
    std::vector<Route> m_routes;
    wl_surface* m_pointerSurface = nullptr;

    PointerTarget* targetOf(wl_surface*) const;
};

}
