// SPDX-License-Identifier: MIT
#include "InputDocument.h"

#include "Command.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

namespace quelmctl {

InputDocument readInputDocument(const std::string& fileOrDash)
{
    if (fileOrDash == "-")
        return { "<stdin>", std::string(std::istreambuf_iterator<char>(std::cin), {}) };

    std::error_code error;
    if (std::filesystem::is_directory(fileOrDash, error))
        throw CommandFailure(badUsage, "cannot read " + fileOrDash + ": it is a directory, not a snapshot document");
    std::ifstream in(fileOrDash, std::ios::binary);
    if (!in)
        throw CommandFailure(badUsage, "cannot read " + fileOrDash + ": " + std::strerror(errno));
    std::string bytes(std::istreambuf_iterator<char>(in), {});
    if (in.bad())
        throw CommandFailure(badUsage, "cannot read " + fileOrDash);
    return { fileOrDash, std::move(bytes) };
}

}
