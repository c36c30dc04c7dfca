// SPDX-License-Identifier: MIT
#pragma once

#include "ServiceManager.h"

#include <BusConnection.h>
#include <BusSlot.h>

#include <map>
#include <set>
#include <memory>
#include <string>

#include <systemd/sd-event.h>

namespace quelmd {

// The user's systemd instance over its bus (org.freedesktop.systemd1.Manager): transient units
// for commands, existing units by name, and PropertiesChanged of each followed unit, delivered on
// `event`'s loop. `SystemdManager manager(event, handler); manager.follow("quelm-web.service");`
class SystemdManager final : public ServiceManager {
public:
    // Connects to the user bus (DBUS_SESSION_BUS_ADDRESS, else $XDG_RUNTIME_DIR/bus) and subscribes
    // to the manager's signals. Throws std::runtime_error saying why when there is no user manager.
    SystemdManager(sd_event* event, StateHandler handler);
    ~SystemdManager() override;

    UnitState follow(const std::string& unit) override;
    void unfollow(const std::string& unit) override;
    std::optional<std::string> startTransient(const TransientService&) override;
    void forget(const std::string& unit) override;
    std::optional<std::string> start(const std::string& unit) override;
    std::optional<std::string> stop(const std::string& unit) override;

    // The unit's state as the manager has it now.
    UnitState state(const std::string& unit);

private:
    struct Followed {
        SystemdManager* manager;
        std::string unit;
        UnitState state; // as last reported
        quelm::detail::BusSlot match;
    };
    static int propertiesChanged(sd_bus_message*, void* userdata, sd_bus_error*);

    quelm::detail::BusConnection m_bus;
    StateHandler m_handler;
    std::map<std::string, std::unique_ptr<Followed>> m_followed;
    std::set<std::string> m_kept; // transient units this connection holds a reference on
};

// The object path of a unit, as the manager names it: "/org/freedesktop/systemd1/unit/quelm_2dweb_2eservice".
std::string unitObjectPath(const std::string& unit);

}
