// SPDX-License-Identifier: MIT
#include <quelm/Date.h>

#include <chrono>

namespace quelm {

Date Date::now()
{
    using namespace std::chrono;
    auto sinceEpoch = duration_cast<duration<double>>(system_clock::now().time_since_epoch());
    return Date(sinceEpoch.count());
}

}
