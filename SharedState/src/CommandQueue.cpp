// The command queue: one file per command in root/commands, written by the widget and drained by
// the app, and the widget's own pending marks in root/pending.json.

#include <quelm/SharedStore.h>

#include "FileAccess.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace quelm {

namespace {

constexpr const char* commandsDirectoryName = "commands";
constexpr const char* pendingFileName = "pending.json";

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

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

struct ListedEntry {
    std::string name;
    unsigned char type; // d_type: DT_UNKNOWN when the file system does not say
};

}

void SharedStore::enqueue(const WidgetCommand& command) const
{
    auto directory = m_root / commandsDirectoryName;
    detail::createPrivateDirectories(directory);
    auto bytes = encode(command);
    // Staged in the container itself: a drain removes whatever it finds in "commands", and would
    // otherwise take the temporary file from under the rename.
    detail::writeFileAtomically(directory / (command.id.string() + ".json"), bytes, m_root);
}

void SharedStore::markPending(const WidgetCommand& command) const noexcept
{
    try {
        auto path = m_root / pendingFileName;
        // A damaged file is not repaired: it is replaced by one holding only this command.
        auto pending = readPendingFile(path);
        pending.insert_or_assign(command.itemID, command);
        detail::writeFileAtomically(path, encode(pending));
    } catch (...) {
    }
}

PendingCommands SharedStore::pendingCommands(const WidgetSnapshot& after, Date now, double maximumAge) const noexcept
{
    try {
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
        // O_NOFOLLOW: a "commands" that is a link leads out of the container and is not drained.
        auto path = m_root / commandsDirectoryName;
        int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0)
            return {};
        Directory directory(::fdopendir(fd));
        if (!directory) {
            ::close(fd);
            return {};
        }
        const int directoryFD = ::dirfd(directory.get());

        // The whole listing first: only entries listed here are consumed, each exactly once.
        std::vector<ListedEntry> entries;
        errno = 0;
        while (const dirent* entry = ::readdir(directory.get())) {
            const char* name = entry->d_name;
            if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0')))
                continue;
            entries.push_back({ name, entry->d_type });
        }
        if (errno != 0)
            return {};

        std::vector<WidgetCommand> commands;
        commands.reserve(entries.size());
        for (const auto& entry : entries) {
            // Only a regular file can hold a command; anything else is never opened (a FIFO or a
            // device could have effects), and the reader checks again after opening.
            if (entry.type == DT_REG || entry.type == DT_UNKNOWN) {
                auto file = detail::readRegularFileAt(directoryFD, entry.name.c_str(), detail::maximumSmallFileSize);
                if (file.succeeded()) {
                    try {
                        commands.push_back(decode<WidgetCommand>(file.bytes));
                    } catch (const std::exception&) {
                    }
                }
            }
            // Consumed whether or not it held a command: damaged and foreign entries are not retried.
            detail::removeEntryAt(directoryFD, entry.name.c_str());
        }

        std::stable_sort(commands.begin(), commands.end(), [](const WidgetCommand& a, const WidgetCommand& b) {
            return a.issuedAt.secondsSince1970() < b.issuedAt.secondsSince1970();
        });
        return commands;
    } catch (...) {
        return {};
    }
}

}
