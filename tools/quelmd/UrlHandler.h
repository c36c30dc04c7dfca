// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace quelmd {

// What a quelm:// link asks for.
struct QuelmLink {
    enum class Kind { open, session };
    Kind kind;
    std::string sessionId; // percent-decoded, for Kind::session
    bool operator==(const QuelmLink&) const = default;
};

// "quelm://open" and "quelm://session/<percent-encoded id>"; nothing for anything else.
std::optional<QuelmLink> parseQuelmLink(std::string_view url);

// The desktop's handler of the scheme (`quelmd open URL`): starts quelmd.service for
// "quelm://open" unless it runs, and runs a session's --open command for its link, detached.
// Returns the exit status.
int openUrl(const std::string& url, std::ostream& out, std::ostream& err);

}
