// SPDX-License-Identifier: MIT
// Claims live in root/"claimed"/<UUID>, one folder per consumer, each held under an flock for as
// long as its consumer lives. A folder that can be locked by someone else belongs to a consumer
// that died, and its files go back to "commands" under their own names.

#include <quelm/CommandConsumer.h>

#include <quelm/SharedStore.h>
#include <quelm/Uuid.h>

#include "FileAccess.h"
#include "QueueEntries.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quelm {

namespace {

constexpr const char* claimedDirectoryName = "claimed";
// A folder is made under a hidden name and renamed only once locked, so no one ever finds a live
// consumer's folder unlocked.
constexpr int abandonedSetupAgeSeconds = detail::staleTemporaryAgeSeconds;

[[noreturn]] void fail(int error, const std::string& what, const std::filesystem::path& path)
{
    throw std::filesystem::filesystem_error(what, path, std::error_code(error, std::generic_category()));
}

class Descriptor {
public:
    explicit Descriptor(int fd = -1)
        : m_fd(fd)
    {
    }
    ~Descriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_fd; }
    int release() { return std::exchange(m_fd, -1); }

private:
    int m_fd;
};

int openDirectoryAt(int parentFD, const char* name)
{
    return ::openat(parentFD, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
}

// Moves every command file of the folder `folderFD` back into the queue `queueFD`; anything else
// there that is not a directory is unlinked. Returns true when the folder is left empty.
bool returnFilesToQueue(int folderFD, int queueFD) noexcept
{
    try {
        std::vector<detail::QueueEntry> entries;
        if (detail::listQueue(folderFD, entries) != 0)
            return false;
        bool emptied = true;
        for (const auto& entry : entries) {
            struct stat info {};
            if (::fstatat(folderFD, entry.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
                emptied = false;
                continue;
            }
            if (S_ISREG(info.st_mode)) {
                if (::renameat(folderFD, entry.name.c_str(), queueFD, entry.name.c_str()) != 0)
                    emptied = false;
            } else if (detail::removeEntryAt(folderFD, entry.name.c_str()) != 0) {
                emptied = false;
            }
        }
        // The queue's entries are what a power cut must not lose.
        ::fsync(queueFD);
        return emptied;
    } catch (...) {
        return false;
    }
}

// Returns the claims of every consumer that is gone, and sweeps folders whose setup never ended.
void returnAbandonedClaims(int claimedFD, int queueFD, const std::string& ownName) noexcept
{
    try {
        std::vector<detail::QueueEntry> folders;
        if (detail::listQueue(claimedFD, folders) != 0)
            return;
        timespec now {};
        ::clock_gettime(CLOCK_REALTIME, &now);
        for (const auto& folder : folders) {
            if (folder.name == ownName)
                continue;
            const bool hidden = folder.name[0] == '.';
            if (hidden) {
                struct stat info {};
                if (::fstatat(claimedFD, folder.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0
                    || now.tv_sec - info.st_mtim.tv_sec <= abandonedSetupAgeSeconds)
                    continue;
            }
            const Descriptor fd(openDirectoryAt(claimedFD, folder.name.c_str()));
            if (fd.get() < 0) {
                // Not a directory: nothing a consumer made.
                if (errno == ENOTDIR || errno == ELOOP)
                    detail::removeEntryAt(claimedFD, folder.name.c_str());
                continue;
            }
            if (::flock(fd.get(), LOCK_EX | LOCK_NB) != 0)
                continue; // its consumer lives
            if (returnFilesToQueue(fd.get(), queueFD))
                ::unlinkat(claimedFD, folder.name.c_str(), AT_REMOVEDIR);
        }
    } catch (...) {
    }
}

}

CommandConsumer::CommandConsumer(const SharedStore& store)
    : m_root(store.root())
{
    const auto queue = m_root / detail::commandsDirectoryName;
    const auto claimed = m_root / claimedDirectoryName;
    detail::requireTrusted(m_root);
    if (!std::filesystem::is_directory(m_root))
        fail(ENOENT, "no container", m_root);
    detail::createPrivateDirectories(queue);
    detail::createPrivateDirectories(claimed);
    detail::requireTrusted(m_root);
    detail::requireTrusted(queue);
    detail::requireTrusted(claimed);

    const Descriptor claimedFD(::open(claimed.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (claimedFD.get() < 0)
        fail(errno, "cannot open", claimed);
    const Descriptor queueFD(::open(queue.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (queueFD.get() < 0)
        fail(errno, "cannot open the queue", queue);

    const std::string name = Uuid::random().string();
    const std::string setupName = "." + name;
    if (::mkdirat(claimedFD.get(), setupName.c_str(), detail::privateDirectoryMode) != 0)
        fail(errno, "cannot make the in-flight folder in", claimed);
    Descriptor folderFD(openDirectoryAt(claimedFD.get(), setupName.c_str()));
    int error = folderFD.get() < 0 ? errno : 0;
    if (!error && ::flock(folderFD.get(), LOCK_EX) != 0)
        error = errno;
    if (!error && ::renameat(claimedFD.get(), setupName.c_str(), claimedFD.get(), name.c_str()) != 0)
        error = errno;
    if (error) {
        ::unlinkat(claimedFD.get(), setupName.c_str(), AT_REMOVEDIR);
        fail(error, "cannot make the in-flight folder in", claimed);
    }
    m_folder = claimed / name;
    m_folderFD = folderFD.release();
    returnAbandonedClaims(claimedFD.get(), queueFD.get(), name);
}

CommandConsumer::~CommandConsumer()
{
    returnClaims();
}

CommandConsumer::CommandConsumer(CommandConsumer&& other) noexcept
    : m_root(std::move(other.m_root))
    , m_folder(std::move(other.m_folder))
    , m_folderFD(std::exchange(other.m_folderFD, -1))
{
}

CommandConsumer& CommandConsumer::operator=(CommandConsumer&& other) noexcept
{
    if (this != &other) {
        returnClaims();
        m_root = std::move(other.m_root);
        m_folder = std::move(other.m_folder);
        m_folderFD = std::exchange(other.m_folderFD, -1);
    }
    return *this;
}

void CommandConsumer::returnClaims() noexcept
{
    if (m_folderFD < 0)
        return;
    const Descriptor queueFD(::open((m_root / detail::commandsDirectoryName).c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (queueFD.get() >= 0 && returnFilesToQueue(m_folderFD, queueFD.get()))
        ::rmdir(m_folder.c_str());
    // What could not go back stays locked until here, and returns with the next consumer.
    ::close(m_folderFD);
    m_folderFD = -1;
}

ClaimBatch CommandConsumer::claim()
{
    ClaimBatch batch;
    auto noteFailure = [&batch](int error, const std::string& entry) {
        if (!batch.error) {
            batch.error = std::error_code(error, std::generic_category());
            batch.failedEntry = entry;
        }
    };
    if (m_folderFD < 0) {
        noteFailure(EBADF, {});
        return batch;
    }
    const auto queue = m_root / detail::commandsDirectoryName;
    try {
        if (auto reason = detail::distrust(m_root) + detail::distrust(queue); !reason.empty()) {
            noteFailure(EACCES, reason);
            return batch;
        }
        const Descriptor queueFD(::open(queue.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (queueFD.get() < 0) {
            noteFailure(errno, queue.string());
            return batch;
        }
        // Consumers that died since this one started.
        if (const Descriptor claimedFD(::open((m_root / claimedDirectoryName).c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)); claimedFD.get() >= 0)
            returnAbandonedClaims(claimedFD.get(), queueFD.get(), m_folder.filename().string());

        std::vector<detail::QueueEntry> entries;
        if (int error = detail::listQueue(queueFD.get(), entries)) {
            noteFailure(error, queue.string());
            return batch;
        }
        for (const auto& entry : entries) {
            const char* name = entry.name.c_str();
            unsigned char type = entry.type;
            if (type == DT_UNKNOWN) {
                struct stat info {};
                if (::fstatat(queueFD.get(), name, &info, AT_SYMLINK_NOFOLLOW) != 0)
                    continue; // taken meanwhile
                type = S_ISREG(info.st_mode) ? DT_REG : S_ISDIR(info.st_mode) ? DT_DIR : DT_UNKNOWN;
            }
            // A directory may be a mount point: never entered, moved or removed.
            if (type == DT_DIR)
                continue;
            if (type != DT_REG) {
                detail::removeEntryAt(queueFD.get(), name);
                continue;
            }
            // The claim itself: of all consumers renaming this entry, one succeeds.
            if (::renameat(queueFD.get(), name, m_folderFD, name) != 0) {
                if (errno != ENOENT)
                    noteFailure(errno, entry.name);
                continue;
            }
            auto read = detail::readCommandAt(m_folderFD, name);
            using Kind = detail::CommandRead::Kind;
            switch (read.kind) {
            case Kind::command:
                batch.commands.push_back({ std::move(read.command), entry.name });
                break;
            case Kind::garbage:
            case Kind::notAFile:
                detail::removeEntryAt(m_folderFD, name);
                break;
            case Kind::failed:
                noteFailure(read.error, entry.name);
                [[fallthrough]];
            case Kind::directory:
                // Back where it was, for a later claim; if even that fails it returns when this
                // consumer ends.
                ::renameat(m_folderFD, name, queueFD.get(), name);
                break;
            }
        }
    } catch (const std::bad_alloc&) {
        noteFailure(ENOMEM, {});
    }
    std::stable_sort(batch.commands.begin(), batch.commands.end(),
        [](const ClaimedCommand& a, const ClaimedCommand& b) { return detail::issuedEarlier(a.command, b.command); });
    return batch;
}

void CommandConsumer::acknowledge(const ClaimedCommand& claimed)
{
    if (m_folderFD < 0)
        fail(EBADF, "no in-flight folder", m_folder);
    if (claimed.entry.empty() || claimed.entry.find('/') != std::string::npos)
        fail(EINVAL, "not a claimed entry", m_folder / claimed.entry);
    if (::unlinkat(m_folderFD, claimed.entry.c_str(), 0) != 0)
        fail(errno, "cannot acknowledge", m_folder / claimed.entry);
}

}
