// SPDX-License-Identifier: MIT
#pragma once

#include "ExitStatus.h"

#include <stdexcept>
#include <string>

namespace quelm::cli {

// The command line is wrong: the program prints the message on one line, points at --help and
// exits with badUsage.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The command cannot go on: the program prints the message and exits with `code`.
class CommandFailure : public std::runtime_error {
public:
    CommandFailure(ExitStatus code, const std::string& message)
        : std::runtime_error(message)
        , m_code(code)
    {
    }
    ExitStatus code() const { return m_code; }

private:
    ExitStatus m_code;
};

}
