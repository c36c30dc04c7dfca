// SPDX-License-Identifier: MIT
#pragma once

// The entries of the "commands" directory as both of its consumers see them: drainCommands and a
// CommandConsumer list it, read each entry once, and tell a command from garbage and from a
// failure that may pass.

#include <quelm/WidgetCommand.h>

#include <string>
#include <vector>

namespace quelm::detail {

inline constexpr const char* commandsDirectoryName = "commands";

struct QueueEntry {
    std::string name;
    unsigned char type; // d_type: DT_UNKNOWN when the file system does not say
};

// Every entry of the open directory `directoryFD` but "." and "..". Returns the errno of a failed
// listing, 0 on success.
int listQueue(int directoryFD, std::vector<QueueEntry>& entries);

struct CommandRead {
    enum class Kind {
        command, // `command` holds it
        garbage, // read whole and undecodable, or over the size cap: never a command, may go
        notAFile, // a link, FIFO, socket or device: never opened, may be unlinked
        directory, // left alone
        failed, // `error` (EMFILE, EACCES, EIO…) may pass: the entry must stay
    };
    Kind kind = Kind::failed;
    WidgetCommand command;
    int error = 0;
};

CommandRead readCommandAt(int directoryFD, const char* name) noexcept;

// Issue order; equal instants keep their listing order under a stable sort.
inline bool issuedEarlier(const WidgetCommand& a, const WidgetCommand& b)
{
    return a.issuedAt.secondsSince1970() < b.issuedAt.secondsSince1970();
}

}
