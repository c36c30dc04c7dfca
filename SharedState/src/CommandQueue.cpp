// SPDX-License-Identifier: MIT
// The command queue: one file per command in root/commands, written by the widget and drained by
// the app, and the widget's own pending marks in root/pending.json.

#include <quelm/SharedStore.h>

#include "FileAccess.h"
#include "QueueEntries.h"

#include <algorithm>
#include <cerrno>
#include <string>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace quelm {

namespace {

constexpr const char* pendingFileName = "pending.json";
// Held while "pending.json" is read, changed and replaced: two widget processes marking at once
// would otherwise each write back what they read, and one mark would be lost.
constexpr const char* pendingLockFileName = "pending.lock";

// A missing, unreadable or undecodable pending file counts as no marks at all.
PendingCommands readPendingFile(const std::filesystem::path& path)
{
    auto file = detail::readRegularFile(path, detail::maximumDocumentSize);
    if (!file.succeeded())
        return {};
    try {
        return decode<PendingCommands>(file.bytes);
    } catch (const std::exception&) {
        return {};
    }
}

}

void SharedStore::enqueue(const WidgetCommand& command) const
{
    auto directory = m_root / detail::commandsDirectoryName;
    detail::requireTrusted(m_root);
    detail::createPrivateDirectories(directory);
    detail::requireTrusted(m_root);
    detail::requireTrusted(directory);
    auto bytes = encode(command);
    // Staged in the container itself: a drain removes whatever it finds in "commands", and would
    // otherwise take the temporary file from under the rename.
    detail::writeFileAtomically(directory / (command.id.string() + ".json"), bytes, detail::maximumSmallFileSize, m_root,
        detail::Leftovers::ofAnyCommand);
}

void SharedStore::markPending(const WidgetCommand& command) const noexcept
{
    std::error_code ignored;
    markPending(command, ignored);
}

void SharedStore::markPending(const WidgetCommand& command, std::error_code& error) const noexcept
{
    error.clear();
    try {
        detail::requireTrusted(m_root);
        auto path = m_root / pendingFileName;
        const detail::FileLock lock(m_root / pendingLockFileName);
        // A damaged file is not repaired: it is replaced by one holding only this command.
        auto pending = readPendingFile(path);
        pending.insert_or_assign(command.itemID, command);
        detail::writeFileAtomically(path, encode(pending), detail::maximumDocumentSize);
    } catch (const std::system_error& failure) {
        error = detail::errorCarriedBy(failure);
    } catch (const EncodingError&) {
        error = std::make_error_code(std::errc::illegal_byte_sequence);
    } catch (const std::bad_alloc&) {
        error = std::make_error_code(std::errc::not_enough_memory);
    } catch (...) {
        error = std::make_error_code(std::errc::io_error);
    }
}

PendingCommands SharedStore::pendingCommands(const WidgetSnapshot& after, Date now, double maximumAge) const noexcept
{
    try {
        if (!detail::distrust(m_root).empty())
            return {};
        auto pending = readPendingFile(m_root / pendingFileName);
        // Answered: the snapshot was written at or after the command. Expired: maximumAge or older.
        // A command from the future has a negative age and stays.
        std::erase_if(pending, [&](const auto& entry) {
            const auto& issuedAt = entry.second.issuedAt;
            bool answered = !(issuedAt > after.updatedAt);
            bool expired = !(now.secondsSince(issuedAt) < maximumAge);
            return answered || expired;
        });
        return pending;
    } catch (...) {
        return {};
    }
}

std::vector<WidgetCommand> SharedStore::drainCommands() const noexcept
{
    try {
        auto path = m_root / detail::commandsDirectoryName;
        if (!detail::distrust(m_root).empty() || !detail::distrust(path).empty())
            return {};
        // O_NOFOLLOW: a "commands" that is a link leads out of the container and is not drained.
        const int directoryFD = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (directoryFD < 0)
            return {};
        struct Closer {
            int fd;
            ~Closer() { ::close(fd); }
        } closer { directoryFD };

        // The whole listing first: only entries listed here are consumed, each exactly once.
        std::vector<detail::QueueEntry> entries;
        if (detail::listQueue(directoryFD, entries) != 0)
            return {};

        std::vector<WidgetCommand> commands;
        commands.reserve(entries.size());
        for (const auto& entry : entries) {
            // A directory is never entered nor removed: it may be a mount point of another file
            // system, and nothing in it is a command.
            if (entry.type == DT_DIR)
                continue;
            // A FIFO or a device could have effects when opened: only what may be a regular file is.
            if (entry.type != DT_REG && entry.type != DT_UNKNOWN) {
                detail::removeEntryAt(directoryFD, entry.name.c_str());
                continue;
            }
            auto read = detail::readCommandAt(directoryFD, entry.name.c_str());
            using Kind = detail::CommandRead::Kind;
            switch (read.kind) {
            case Kind::command:
                // One that cannot be deleted is read again by the next drain; CommandConsumer is
                // the path that never delivers what it could not take.
                commands.push_back(std::move(read.command));
                detail::removeEntryAt(directoryFD, entry.name.c_str());
                break;
            case Kind::garbage:
            case Kind::notAFile:
                detail::removeEntryAt(directoryFD, entry.name.c_str());
                break;
            case Kind::directory:
            case Kind::failed:
                // Out of descriptors or memory, an I/O error, no permission: the command stays for
                // a later drain.
                break;
            }
        }

        std::stable_sort(commands.begin(), commands.end(), detail::issuedEarlier);
        return commands;
    } catch (...) {
        return {};
    }
}

}
