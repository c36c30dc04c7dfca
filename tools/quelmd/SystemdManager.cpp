// SPDX-License-Identifier: MIT
#include "SystemdManager.h"

#include <BusError.h>
#include <BusMessage.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace quelmd {

namespace detail {

constexpr const char* busName = "org.freedesktop.systemd1";
constexpr const char* managerPath = "/org/freedesktop/systemd1";
constexpr const char* managerInterface = "org.freedesktop.systemd1.Manager";
constexpr const char* unitInterface = "org.freedesktop.systemd1.Unit";
constexpr const char* serviceInterface = "org.freedesktop.systemd1.Service";

std::string errorText(int result, quelm::detail::BusError& error)
{
    if (error.isSet() && !error.message().empty())
        return error.message();
    return std::strerror(-result);
}

// Reads the a{sv} of a GetAll reply into `state`, skipping the properties it does not keep.
int readProperties(sd_bus_message* reply, UnitState& state)
{
    int result = sd_bus_message_enter_container(reply, 'a', "{sv}");
    if (result < 0)
        return result;
    while ((result = sd_bus_message_enter_container(reply, 'e', "sv")) > 0) {
        const char* name = nullptr;
        if ((result = sd_bus_message_read(reply, "s", &name)) < 0)
            return result;
        const auto readString = [&](std::string& into) {
            const char* value = nullptr;
            const int read = sd_bus_message_read(reply, "v", "s", &value);
            if (read >= 0)
                into = value ? value : "";
            return read;
        };
        const std::string_view property(name);
        if (property == "LoadState")
            result = readString(state.loadState);
        else if (property == "ActiveState")
            result = readString(state.activeState);
        else if (property == "SubState")
            result = readString(state.subState);
        else if (property == "Result")
            result = readString(state.result);
        else if (property == "ControlGroup")
            result = readString(state.controlGroup);
        else if (property == "ActiveEnterTimestamp")
            result = sd_bus_message_read(reply, "v", "t", &state.activeEnterTimestamp);
        else if (property == "MainPID")
            result = sd_bus_message_read(reply, "v", "u", &state.mainPid);
        else if (property == "ExecMainCode")
            result = sd_bus_message_read(reply, "v", "i", &state.execMainCode);
        else if (property == "ExecMainStatus")
            result = sd_bus_message_read(reply, "v", "i", &state.execMainStatus);
        else
            result = sd_bus_message_skip(reply, "v");
        if (result < 0)
            return result;
        if ((result = sd_bus_message_exit_container(reply)) < 0)
            return result;
    }
    if (result < 0)
        return result;
    return sd_bus_message_exit_container(reply);
}

int appendString(sd_bus_message* message, const char* name, const std::string& value)
{
    return sd_bus_message_append(message, "(sv)", name, "s", value.c_str());
}

int appendStrings(sd_bus_message* message, const std::vector<std::string>& values)
{
    int result = sd_bus_message_open_container(message, 'a', "s");
    for (std::size_t index = 0; result >= 0 && index < values.size(); ++index)
        result = sd_bus_message_append(message, "s", values[index].c_str());
    return result < 0 ? result : sd_bus_message_close_container(message);
}

// The properties of a transient service that runs `service`: Type=exec, so that a program that
// cannot be executed fails the start; collected once stopped or failed unless quelmd holds it, so
// that a changed command makes a new unit.
int appendTransientProperties(sd_bus_message* message, const TransientService& service)
{
    int result = sd_bus_message_open_container(message, 'a', "(sv)");
    if (result >= 0)
        result = appendString(message, "Description", service.description);
    if (result >= 0)
        result = appendString(message, "Type", "exec");
    if (result >= 0)
        result = appendString(message, "CollectMode", "inactive-or-failed");
    // Every start is a person's click: no rate limit refuses the sixth within ten seconds.
    if (result >= 0)
        result = sd_bus_message_append(message, "(sv)", "StartLimitIntervalUSec", "t", std::uint64_t(0));
    if (result >= 0 && service.directory)
        result = appendString(message, "WorkingDirectory", service.directory->string());
    if (result >= 0 && !service.environment.empty()) {
        std::vector<std::string> assignments;
        for (const auto& [name, value] : service.environment)
            assignments.push_back(name + '=' + value);
        result = sd_bus_message_open_container(message, 'r', "sv");
        if (result >= 0)
            result = sd_bus_message_append(message, "s", "Environment");
        if (result >= 0)
            result = sd_bus_message_open_container(message, 'v', "as");
        if (result >= 0)
            result = appendStrings(message, assignments);
        if (result >= 0)
            result = sd_bus_message_close_container(message);
        if (result >= 0)
            result = sd_bus_message_close_container(message);
    }
    // ExecStart a(sasb): one command, its path, its argv, and "a failure counts".
    if (result >= 0)
        result = sd_bus_message_open_container(message, 'r', "sv");
    if (result >= 0)
        result = sd_bus_message_append(message, "s", "ExecStart");
    if (result >= 0)
        result = sd_bus_message_open_container(message, 'v', "a(sasb)");
    if (result >= 0)
        result = sd_bus_message_open_container(message, 'a', "(sasb)");
    if (result >= 0)
        result = sd_bus_message_open_container(message, 'r', "sasb");
    if (result >= 0)
        result = sd_bus_message_append(message, "s", service.arguments.front().c_str());
    if (result >= 0)
        result = appendStrings(message, service.arguments);
    if (result >= 0)
        result = sd_bus_message_append(message, "b", 0);
    for (int level = 0; level < 4 && result >= 0; ++level)
        result = sd_bus_message_close_container(message);
    if (result >= 0)
        result = sd_bus_message_close_container(message);
    return result;
}

}

std::string unitObjectPath(const std::string& unit)
{
    char* path = nullptr;
    if (sd_bus_path_encode("/org/freedesktop/systemd1/unit", unit.c_str(), &path) < 0)
        throw std::bad_alloc();
    std::string result(path);
    std::free(path);
    return result;
}

SystemdManager::SystemdManager(sd_event* event, StateHandler handler)
    : m_handler(std::move(handler))
{
    int error = 0;
    m_bus = quelm::detail::openUserBus(&error);
    if (!m_bus)
        throw std::runtime_error(std::string("cannot reach the user bus: ") + std::strerror(-error));
    quelm::detail::BusError busError;
    const int result = sd_bus_call_method(m_bus.get(), detail::busName, detail::managerPath, detail::managerInterface, "Subscribe",
        busError.get(), nullptr, "");
    if (result < 0)
        throw std::runtime_error("the user's systemd instance does not answer on the user bus: " + detail::errorText(result, busError));
    if (event) {
        const int attached = sd_bus_attach_event(m_bus.get(), event, SD_EVENT_PRIORITY_NORMAL);
        if (attached < 0)
            throw std::runtime_error(std::string("cannot watch the user bus: ") + std::strerror(-attached));
    }
}

SystemdManager::~SystemdManager()
{
    m_followed.clear();
    if (m_bus)
        sd_bus_detach_event(m_bus.get());
}

UnitState SystemdManager::state(const std::string& unit)
{
    UnitState state;
    const std::string path = unitObjectPath(unit);
    for (const char* interface : { detail::unitInterface, detail::serviceInterface }) {
        quelm::detail::BusError error;
        sd_bus_message* reply = nullptr;
        if (sd_bus_call_method(m_bus.get(), detail::busName, path.c_str(), "org.freedesktop.DBus.Properties", "GetAll", error.get(),
                &reply, "s", interface)
            < 0)
            continue;
        const quelm::detail::BusMessage owned(reply);
        detail::readProperties(reply, state);
    }
    return state;
}

int SystemdManager::propertiesChanged(sd_bus_message* message, void* userdata, sd_bus_error*)
{
    // The values come from the signal itself, applied to what was known: a unit collected right
    // after it failed cannot be asked afterwards how it ended.
    Followed* followed = static_cast<Followed*>(userdata);
    const char* interface = nullptr;
    if (sd_bus_message_read(message, "s", &interface) < 0)
        return 0;
    UnitState state = followed->state;
    const bool read = detail::readProperties(message, state) >= 0;
    // While the unit has processes, some of what changes (its control group) is not in any
    // signal: ask for the whole of it.
    if (!read || state.activeState == "active" || state.activeState == "activating" || state.activeState == "reloading")
        state = followed->manager->state(followed->unit);
    if (state == followed->state)
        return 0;
    followed->state = state;
    const std::string unit = followed->unit;
    followed->manager->m_handler(unit, state);
    return 0;
}

UnitState SystemdManager::follow(const std::string& unit)
{
    if (!m_followed.contains(unit)) {
        auto followed = std::make_unique<Followed>(Followed { this, unit, {}, nullptr });
        const std::string path = unitObjectPath(unit);
        sd_bus_slot* slot = nullptr;
        const int result = sd_bus_match_signal(m_bus.get(), &slot, detail::busName, path.c_str(), "org.freedesktop.DBus.Properties",
            "PropertiesChanged", propertiesChanged, followed.get());
        if (result < 0)
            throw std::runtime_error("cannot follow " + unit + ": " + std::strerror(-result));
        followed->match.reset(slot);
        m_followed.emplace(unit, std::move(followed));
        // Loads the unit, so that its properties can be read even before it first runs.
        quelm::detail::BusError error;
        sd_bus_call_method(m_bus.get(), detail::busName, detail::managerPath, detail::managerInterface, "LoadUnit", error.get(),
            nullptr, "s", unit.c_str());
    }
    Followed& followed = *m_followed.at(unit);
    followed.state = state(unit);
    return followed.state;
}

void SystemdManager::unfollow(const std::string& unit)
{
    m_followed.erase(unit);
}

std::optional<std::string> SystemdManager::startTransient(const TransientService& service)
{
    if (service.arguments.empty())
        return "no command to run";
    // Made before and held since: starting it is cheaper than making it again.
    if (m_kept.contains(service.unit) && state(service.unit).loadState == "loaded")
        return start(service.unit);
    m_kept.erase(service.unit);
    sd_bus_message* call = nullptr;
    int result = sd_bus_message_new_method_call(m_bus.get(), &call, detail::busName, detail::managerPath, detail::managerInterface,
        "StartTransientUnit");
    if (result < 0)
        return std::strerror(-result);
    const quelm::detail::BusMessage message(call);
    result = sd_bus_message_append(call, "ss", service.unit.c_str(), "replace");
    if (result >= 0)
        result = detail::appendTransientProperties(call, service);
    if (result >= 0)
        result = sd_bus_message_append(call, "a(sa(sv))", 0);
    if (result < 0)
        return std::string("cannot build the request: ") + std::strerror(-result);
    quelm::detail::BusError error;
    sd_bus_message* reply = nullptr;
    result = sd_bus_call(m_bus.get(), call, 0, error.get(), &reply);
    const quelm::detail::BusMessage ownedReply(reply);
    if (result >= 0) {
        // A reference of this connection keeps the unit loaded once it stops; the manager drops
        // it when quelmd goes.
        quelm::detail::BusError refError;
        if (sd_bus_call_method(m_bus.get(), detail::busName, unitObjectPath(service.unit).c_str(), detail::unitInterface, "Ref",
                refError.get(), nullptr, "")
            >= 0)
            m_kept.insert(service.unit);
        return std::nullopt;
    }
    // The unit from the last start may not be collected yet: start it as it is.
    if (error.name() == "org.freedesktop.systemd1.UnitExists")
        return start(service.unit);
    return detail::errorText(result, error);
}

void SystemdManager::forget(const std::string& unit)
{
    if (!m_kept.erase(unit))
        return;
    quelm::detail::BusError error;
    sd_bus_call_method(m_bus.get(), detail::busName, unitObjectPath(unit).c_str(), detail::unitInterface, "Unref", error.get(), nullptr, "");
}

std::optional<std::string> SystemdManager::start(const std::string& unit)
{
    quelm::detail::BusError error;
    sd_bus_message* reply = nullptr;
    const int result = sd_bus_call_method(m_bus.get(), detail::busName, detail::managerPath, detail::managerInterface, "StartUnit",
        error.get(), &reply, "ss", unit.c_str(), "replace");
    const quelm::detail::BusMessage owned(reply);
    if (result < 0)
        return detail::errorText(result, error);
    return std::nullopt;
}

std::optional<std::string> SystemdManager::stop(const std::string& unit)
{
    quelm::detail::BusError error;
    sd_bus_message* reply = nullptr;
    const int result = sd_bus_call_method(m_bus.get(), detail::busName, detail::managerPath, detail::managerInterface, "StopUnit",
        error.get(), &reply, "ss", unit.c_str(), "replace");
    const quelm::detail::BusMessage owned(reply);
    if (result < 0)
        return detail::errorText(result, error);
    return std::nullopt;
}

}
