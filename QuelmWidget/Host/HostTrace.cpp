// SPDX-License-Identifier: MIT
#include "Host/HostTrace.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace quelm::host::HostTrace {

bool enabled()
{
    static const bool on = [] {
        const char* value = std::getenv("QUELM_HOST_TRACE");
        return value && *value && std::strcmp(value, "0") != 0;
    }();
    return on;
}

void line(const QString& text)
{
    if (!enabled())
        return;
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

}
