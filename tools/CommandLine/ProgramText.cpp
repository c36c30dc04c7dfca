// SPDX-License-Identifier: MIT
#include "ProgramText.h"

#include "ExitStatus.h"
#include "QuelmVersion.h"

#include <algorithm>
#include <ostream>

namespace quelm::cli {

void printVersion(std::ostream& out, std::string_view program)
{
    out << program << ' ' << version << '\n';
}

bool asksForVersion(std::span<const std::string> arguments)
{
    return arguments.size() == 1 && arguments.front() == "--version";
}

int reportUsageError(std::ostream& err, std::string_view where, std::string_view message, std::string_view helpFor)
{
    // A message from deeper down may carry line breaks; the report stays one line.
    std::string line(message);
    std::replace_if(line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    err << where << ": " << line << "\nTry '" << helpFor << " --help'.\n";
    return badUsage;
}

}
