// SPDX-License-Identifier: MIT
#include "App/SnapshotFile.h"

#include "App/Command.h"

#include <quelm/WireFormat.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>

namespace quelm::cli {

namespace {

std::string readAll(const std::string& path)
{
    std::ostringstream bytes;
    if (path == "-") {
        bytes << std::cin.rdbuf();
        return bytes.str();
    }
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw UsageError("cannot read " + path + ": " + std::strerror(errno));
    bytes << in.rdbuf();
    if (in.bad())
        throw UsageError("cannot read " + path + ": " + std::strerror(errno));
    return bytes.str();
}

}

WidgetSnapshot readSnapshotFile(const std::string& path)
{
    const std::string bytes = readAll(path);
    try {
        return decode<WidgetSnapshot>(bytes);
    } catch (const DecodingError& error) {
        throw UsageError((path == "-" ? std::string("standard input") : path) + " is not a snapshot: " + error.what());
    }
}

}
