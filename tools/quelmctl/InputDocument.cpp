#include "InputDocument.h"

#include "Command.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>

namespace quelmctl {

InputDocument readInputDocument(const std::string& fileOrDash)
{
    if (fileOrDash == "-")
        return { "<stdin>", std::string(std::istreambuf_iterator<char>(std::cin), {}) };

    std::ifstream in(fileOrDash, std::ios::binary);
    if (!in)
        throw CommandFailure(badUsage, "cannot read " + fileOrDash + ": " + std::strerror(errno));
    std::string bytes(std::istreambuf_iterator<char>(in), {});
    if (in.bad())
        throw CommandFailure(badUsage, "cannot read " + fileOrDash);
    return { fileOrDash, std::move(bytes) };
}

}
