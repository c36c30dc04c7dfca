// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace quelmctl {

// A document named on the command line: a file, or standard input for "-".
struct InputDocument {
    std::string name;  // the file name, or "<stdin>"
    std::string bytes;
};

// Reads all of it; throws CommandFailure(badUsage) when it cannot be read.
InputDocument readInputDocument(const std::string& fileOrDash);

}
