// SPDX-License-Identifier: MIT
// quelm-test-pointer: a pointer device of its own on a Wayland compositor's seat, for the tests of
// the desktop host under a compositor that has no input devices (headless sway).
//   quelm-test-pointer WIDTHxHEIGHT STEP...
//   quelm-test-pointer WIDTHxHEIGHT < lines of steps
// WIDTHxHEIGHT is the layout's size in pixels; the steps run in order, each sent and confirmed by
// the compositor before the next. Without steps on the command line they are read from standard
// input, a line at a time, and "done" is written after each line: the device then stays for as
// long as the input does, so that its clients see it come only once.
//   move X Y      the pointer goes to (X, Y) of the layout
//   press|release the left button
//   right         a click of the right button
//   pause MS      waits, so that the clients see the steps apart
// Exits 1 when the compositor offers no virtual pointers, 2 on a bad step.

#include "wlr-virtual-pointer-unstable-v1-client-protocol.h"

#include <wayland-client.h>

#include <linux/input-event-codes.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Globals {
    wl_seat* seat = nullptr;
    zwlr_virtual_pointer_manager_v1* manager = nullptr;
};

void global(void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t)
{
    auto& globals = *static_cast<Globals*>(data);
    if (std::strcmp(interface, wl_seat_interface.name) == 0 && !globals.seat)
        globals.seat = static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
    else if (std::strcmp(interface, zwlr_virtual_pointer_manager_v1_interface.name) == 0)
        globals.manager = static_cast<zwlr_virtual_pointer_manager_v1*>(wl_registry_bind(registry, name, &zwlr_virtual_pointer_manager_v1_interface, 1));
}

void globalRemoved(void*, wl_registry*, std::uint32_t) { }

std::uint32_t milliseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

std::uint32_t number(const std::string& text)
{
    char* end = nullptr;
    const unsigned long value = std::strtoul(text.c_str(), &end, 10);
    if (!end || *end || text.empty()) {
        std::fprintf(stderr, "quelm-test-pointer: not a number: %s\n", text.c_str());
        std::exit(2);
    }
    return static_cast<std::uint32_t>(value);
}

// Runs `steps`; 0, or the status to exit with.
int perform(wl_display* display, zwlr_virtual_pointer_v1* pointer, const std::vector<std::string>& steps, unsigned width, unsigned height)
{
    for (std::size_t index = 0; index < steps.size(); ++index) {
        const std::string& step = steps[index];
        if (step == "move" && index + 2 < steps.size()) {
            const std::uint32_t x = number(steps[++index]);
            const std::uint32_t y = number(steps[++index]);
            zwlr_virtual_pointer_v1_motion_absolute(pointer, milliseconds(), x, y, width, height);
        } else if (step == "press" || step == "release") {
            zwlr_virtual_pointer_v1_button(pointer, milliseconds(), BTN_LEFT, step == "press" ? WL_POINTER_BUTTON_STATE_PRESSED : WL_POINTER_BUTTON_STATE_RELEASED);
        } else if (step == "right") {
            zwlr_virtual_pointer_v1_button(pointer, milliseconds(), BTN_RIGHT, WL_POINTER_BUTTON_STATE_PRESSED);
            zwlr_virtual_pointer_v1_frame(pointer);
            zwlr_virtual_pointer_v1_button(pointer, milliseconds(), BTN_RIGHT, WL_POINTER_BUTTON_STATE_RELEASED);
        } else if (step == "pause" && index + 1 < steps.size()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(number(steps[++index])));
            continue;
        } else {
            std::fprintf(stderr, "quelm-test-pointer: unknown step: %s\n", step.c_str());
            return 2;
        }
        zwlr_virtual_pointer_v1_frame(pointer);
        if (wl_display_roundtrip(display) < 0) {
            std::fprintf(stderr, "quelm-test-pointer: the compositor went away\n");
            return 1;
        }
    }
    return 0;
}

}

int main(int argc, char** argv)
{
    unsigned width = 0;
    unsigned height = 0;
    if (argc < 2 || std::sscanf(argv[1], "%ux%u", &width, &height) != 2 || width == 0 || height == 0) {
        std::fprintf(stderr, "usage: quelm-test-pointer WIDTHxHEIGHT STEP...\n");
        return 2;
    }
    wl_display* display = wl_display_connect(nullptr);
    if (!display) {
        std::fprintf(stderr, "quelm-test-pointer: no Wayland compositor\n");
        return 1;
    }
    Globals globals;
    wl_registry* registry = wl_display_get_registry(display);
    static const wl_registry_listener listener { global, globalRemoved };
    wl_registry_add_listener(registry, &listener, &globals);
    wl_display_roundtrip(display);
    if (!globals.manager) {
        std::fprintf(stderr, "quelm-test-pointer: the compositor offers no virtual pointers\n");
        return 1;
    }
    zwlr_virtual_pointer_v1* pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(globals.manager, globals.seat);
    wl_display_roundtrip(display);

    if (argc > 2) {
        std::vector<std::string> steps(argv + 2, argv + argc);
        if (const int status = perform(display, pointer, steps, width, height); status != 0)
            return status;
    } else {
        std::string line;
        while (std::getline(std::cin, line)) {
            std::istringstream words(line);
            std::vector<std::string> steps { std::istream_iterator<std::string>(words), std::istream_iterator<std::string>() };
            if (const int status = perform(display, pointer, steps, width, height); status != 0)
                return status;
            std::cout << "done" << std::endl;
        }
    }
    zwlr_virtual_pointer_v1_destroy(pointer);
    zwlr_virtual_pointer_manager_v1_destroy(globals.manager);
    wl_display_roundtrip(display);
    wl_display_disconnect(display);
    return 0;
}
