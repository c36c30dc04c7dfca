// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include <systemd/sd-bus.h>

namespace quelm::detail {

// The error a call fills in; freed when it goes. `message()` says what the peer said, if anything.
class BusError {
public:
    BusError() = default;
    ~BusError() { sd_bus_error_free(&m_error); }

    BusError(const BusError&) = delete;
    BusError& operator=(const BusError&) = delete;

    sd_bus_error* get() noexcept { return &m_error; }
    bool isSet() const noexcept { return sd_bus_error_is_set(&m_error) > 0; }
    std::string name() const { return m_error.name ? m_error.name : ""; }
    std::string message() const { return m_error.message ? m_error.message : ""; }

private:
    sd_bus_error m_error = SD_BUS_ERROR_NULL;
};

}
