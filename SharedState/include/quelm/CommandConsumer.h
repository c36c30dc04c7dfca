// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/WidgetCommand.h>

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace quelm {

class SharedStore;

// A command taken from the queue by one consumer alone, until it acknowledges it.
struct ClaimedCommand {
    WidgetCommand command;
    std::string entry; // the command's file name, now in the consumer's in-flight folder

    bool operator==(const ClaimedCommand&) const = default;
};

// What one `claim` took, and the first thing that kept a command waiting in the queue.
struct ClaimBatch {
    std::vector<ClaimedCommand> commands; // in issue order, as drainCommands orders them
    std::error_code error; // EACCES, EMFILE, EIO…: that entry (and maybe others) waits for a later claim
    std::string failedEntry; // the entry `error` concerns

    bool failed() const { return bool(error); }
};

// The app's side of the queue that neither loses nor doubles a command, beside drainCommands:
//   CommandConsumer consumer(store);      // throws std::system_error when the queue cannot be taken from
//   ClaimBatch batch = consumer.claim();  // each command is renamed into this consumer's folder
//   for (const auto& claimed : batch.commands) { act(claimed.command); consumer.acknowledge(claimed); }
// Only one consumer can claim a given command. Claims a consumer dies holding return to the queue
// when any consumer next starts or claims; so a command is delivered again only after a consumer
// died holding it. Destroying a consumer returns its unacknowledged claims to the queue at once.
// Undecodable and oversized command files are deleted; nothing else is.
class CommandConsumer {
public:
    // Makes this consumer's in-flight folder under the store's root ("claimed/<UUID>") and returns
    // dead consumers' claims to the queue. Refuses (EACCES) a container or "commands" that is not
    // the user's own or is writable by group or others; a missing "commands" is created.
    explicit CommandConsumer(const SharedStore&);
    ~CommandConsumer();
    CommandConsumer(CommandConsumer&&) noexcept;
    CommandConsumer& operator=(CommandConsumer&&) noexcept;
    CommandConsumer(const CommandConsumer&) = delete;
    CommandConsumer& operator=(const CommandConsumer&) = delete;

    // Claims every command waiting now. Never throws for an entry: what cannot be claimed or read
    // stays in the queue and is named in the batch's `error`.
    ClaimBatch claim();

    // Deletes the claimed file: the command is done with. Throws std::system_error when it cannot.
    void acknowledge(const ClaimedCommand&);

    // This consumer's in-flight folder.
    const std::filesystem::path& folder() const { return m_folder; }

private:
    void returnClaims() noexcept;

    std::filesystem::path m_root;
    std::filesystem::path m_folder;
    int m_folderFD = -1; // open and locked (flock) for the consumer's life: the lock says it lives
};

}
