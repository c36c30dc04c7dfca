// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/WidgetSnapshot.h>

#include <string>

namespace quelm::cli {

// The snapshot document at `path` ("-" for standard input), decoded by the wire rules the widget
// reads the container with. A file that cannot be read or does not decode throws UsageError
// naming it and the problem.
WidgetSnapshot readSnapshotFile(const std::string& path);

}
