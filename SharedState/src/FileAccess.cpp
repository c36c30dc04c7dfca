// SPDX-License-Identifier: MIT
#include "FileAccess.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <dirent.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quelm::detail {

namespace {

class FileDescriptor {
public:
    explicit FileDescriptor(int fd)
        : m_fd(fd)
    {
    }
    ~FileDescriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return m_fd; }
    // Closes now and reports close's own failure (a delayed write error shows up here).
    int close()
    {
        int result = ::close(m_fd);
        m_fd = -1;
        return result;
    }

private:
    int m_fd;
};

[[noreturn]] void fail(int error, const char* what, const std::filesystem::path& path)
{
    throw std::filesystem::filesystem_error(what, path, std::error_code(error, std::generic_category()));
}

int makeDirectories(const std::filesystem::path& directory)
{
    struct stat info {};
    if (::stat(directory.c_str(), &info) == 0)
        return S_ISDIR(info.st_mode) ? 0 : ENOTDIR;
    if (errno != ENOENT)
        return errno;
    auto parent = directory.parent_path();
    if (!parent.empty() && parent != directory) {
        if (int error = makeDirectories(parent))
            return error;
    }
    if (::mkdir(directory.c_str(), privateDirectoryMode) != 0) {
        int error = errno;
        if (error != EEXIST)
            return error;
        // Someone else made it meanwhile; fine if it is a directory.
        return ::stat(directory.c_str(), &info) == 0 && S_ISDIR(info.st_mode) ? 0 : ENOTDIR;
    }
    // The umask may have taken bits away from the owner; the mode is exactly 0700 either way.
    ::chmod(directory.c_str(), privateDirectoryMode);
    return 0;
}

bool unlinkNonDirectoryAt(int directoryFD, const char* name, bool& isDirectory)
{
    if (::unlinkat(directoryFD, name, 0) == 0)
        return true;
    // Linux answers EISDIR for a directory, POSIX allows EPERM.
    isDirectory = errno == EISDIR || errno == EPERM;
    return false;
}

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

// ".<name>.XXXXXX", mkstemp's six characters at the end.
bool isTemporaryOf(std::string_view entry, std::string_view name)
{
    return entry.size() == name.size() + 8 && entry[0] == '.' && entry.substr(1, name.size()) == name
        && entry[name.size() + 1] == '.';
}

// ".<UUID>.json.XXXXXX"
bool isCommandTemporary(std::string_view entry)
{
    constexpr std::size_t uuidLength = 36;
    if (entry.size() != 1 + uuidLength + 5 + 1 + 6 || entry[0] != '.' || entry.substr(1 + uuidLength, 6) != ".json.")
        return false;
    for (std::size_t i = 0; i < uuidLength; ++i) {
        const char c = entry[1 + i];
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        if (dash ? c != '-' : !isHexDigit(c))
            return false;
    }
    return true;
}

// Removes the temporary files of one kind that are older than a minute: a writer killed between
// mkstemp and rename leaves its file, and nothing else ever would. Best effort.
void removeStaleTemporaries(const std::filesystem::path& directory, std::string_view name, Leftovers kind) noexcept
{
    try {
        const int fd = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0)
            return;
        Directory listing(::fdopendir(fd));
        if (!listing) {
            ::close(fd);
            return;
        }
        timespec now {};
        ::clock_gettime(CLOCK_REALTIME, &now);
        std::vector<std::string> stale;
        while (const dirent* entry = ::readdir(listing.get())) {
            const std::string_view entryName = entry->d_name;
            if (kind == Leftovers::ofTheSameFile ? !isTemporaryOf(entryName, name) : !isCommandTemporary(entryName))
                continue;
            struct stat info {};
            if (::fstatat(fd, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(info.st_mode)
                && now.tv_sec - info.st_mtim.tv_sec > staleTemporaryAgeSeconds)
                stale.emplace_back(entryName);
        }
        for (const auto& entry : stale)
            ::unlinkat(fd, entry.c_str(), 0);
    } catch (...) {
    }
}

// Reads into `result.bytes`, which `makeRoom(bytes, fileSize, capacity)` makes ready for the file.
template<class Bytes, class MakeRoom>
void readRegularFileInto(BasicFileRead<Bytes>& result, int directoryFD, const char* name, std::size_t maximumSize, MakeRoom makeRoom) noexcept
{
    // O_NONBLOCK: opening a FIFO must not wait for a writer (nor a leased file for its holder).
    FileDescriptor file(::openat(directoryFD, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (file.get() < 0) {
        result.error = errno;
        return;
    }
    struct stat info {};
    if (::fstat(file.get(), &info) != 0) {
        result.error = errno;
        return;
    }
    if (!S_ISREG(info.st_mode)) {
        result.error = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
        return;
    }
    if (static_cast<std::uintmax_t>(info.st_size) > maximumSize) {
        result.error = EFBIG;
        return;
    }
    try {
        makeRoom(result.bytes, static_cast<std::size_t>(info.st_size), maximumSize + 1);
        // One byte more than the size, so that the end of the file is seen without regrowing; a
        // file that grew meanwhile is read on, up to the limit.
        result.bytes.resize(static_cast<std::size_t>(info.st_size) + 1);
        std::size_t length = 0;
        for (;;) {
            if (length == result.bytes.size()) {
                if (length > maximumSize) {
                    result.error = EFBIG;
                    result.bytes.clear();
                    return;
                }
                result.bytes.resize(std::min(std::max<std::size_t>(length * 2, 4096), maximumSize + 1));
            }
            ssize_t count = ::read(file.get(), result.bytes.data() + length, result.bytes.size() - length);
            if (count < 0) {
                if (errno == EINTR)
                    continue;
                result.error = errno;
                result.bytes.clear();
                return;
            }
            if (count == 0)
                break;
            length += static_cast<std::size_t>(count);
        }
        result.bytes.resize(length);
    } catch (const std::bad_alloc&) {
        result.error = ENOMEM;
        result.bytes.clear();
    }
}

}

void DocumentBytes::prepareFor(std::size_t fileSize, std::size_t capacity)
{
    // Below this, a document and its records are small next to the limit anyway.
    constexpr std::size_t largeDocument = 2 * 1024 * 1024;
    if (fileSize >= largeDocument)
        m_pages = PageBuffer(capacity);
}

FileRead readRegularFileAt(int directoryFD, const char* name, std::size_t maximumSize) noexcept
{
    FileRead result;
    // A string grows as it is read: most files are far smaller than their limit.
    readRegularFileInto(result, directoryFD, name, maximumSize, [](std::string&, std::size_t, std::size_t) {});
    return result;
}

DocumentRead readDocument(const std::filesystem::path& path) noexcept
{
    DocumentRead result;
    readRegularFileInto(result, AT_FDCWD, path.c_str(), maximumDocumentSize,
        [](DocumentBytes& bytes, std::size_t fileSize, std::size_t capacity) { bytes.prepareFor(fileSize, capacity); });
    return result;
}

void createPrivateDirectories(const std::filesystem::path& directory)
{
    // "a/b/" names the directory "a/b".
    auto target = !directory.has_filename() && directory.has_relative_path() ? directory.parent_path() : directory;
    if (int error = makeDirectories(target))
        fail(error, "cannot create directory", directory);
}

void writeFileAtomically(const std::filesystem::path& path, std::string_view bytes, std::size_t maximumSize)
{
    writeFileAtomically(path, bytes, maximumSize, path.parent_path(), Leftovers::ofTheSameFile);
}

void writeFileAtomically(const std::filesystem::path& path, std::string_view bytes, std::size_t maximumSize,
    const std::filesystem::path& stagingDirectory, Leftovers leftovers)
{
    // A reader would refuse it: better that the writer hears of it than that the reader sees nothing.
    if (bytes.size() > maximumSize)
        fail(EFBIG, maximumSize > 1024 * 1024 ? "the document is larger than the 16 MiB a reader accepts" : "the document is larger than the 64 KiB a reader accepts", path);
    removeStaleTemporaries(stagingDirectory, path.filename().native(), leftovers);

    // A hidden name, on the target's file system, so that rename replaces the target in one step.
    std::string name = ".";
    name += path.filename().native();
    name += ".XXXXXX";
    auto temporary = (stagingDirectory / name).native();
    FileDescriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (file.get() < 0)
        fail(errno, "cannot create a temporary file", path);

    auto failWith = [&](int error, const char* what) {
        if (file.get() >= 0)
            file.close();
        ::unlink(temporary.c_str());
        fail(error, what, path);
    };

    // mkstemp asks for 0600, but through the umask; make sure of it.
    if (::fchmod(file.get(), privateFileMode) != 0)
        failWith(errno, "cannot set the mode of a temporary file");
    const char* data = bytes.data();
    std::size_t remaining = bytes.size();
    while (remaining > 0) {
        ssize_t count = ::write(file.get(), data, remaining);
        if (count < 0) {
            if (errno == EINTR)
                continue;
            failWith(errno, "cannot write");
        }
        data += count;
        remaining -= static_cast<std::size_t>(count);
    }
    if (::fsync(file.get()) != 0)
        failWith(errno, "cannot write");
    if (file.close() != 0)
        failWith(errno, "cannot write");
    if (::rename(temporary.c_str(), path.c_str()) != 0)
        failWith(errno, "cannot replace");
    // Until its directory is on the disk too, a renamed file may vanish with a power cut.
    if (int error = syncDirectory(path.parent_path()))
        fail(error, "cannot flush the directory of", path);
}

int syncDirectory(const std::filesystem::path& directory) noexcept
{
    FileDescriptor fd(::open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.get() < 0)
        return errno;
    // A file system that cannot flush a directory (EINVAL) has nothing to flush.
    if (::fsync(fd.get()) != 0 && errno != EINVAL)
        return errno;
    return 0;
}

int removeEntryAt(int directoryFD, const char* name) noexcept
{
    bool isDirectory = false;
    if (unlinkNonDirectoryAt(directoryFD, name, isDirectory))
        return 0;
    return isDirectory ? EISDIR : errno;
}

std::string distrust(const std::filesystem::path& directory) noexcept
{
    try {
        struct stat info {};
        // What is missing or no directory has nothing to distrust: every use of it fails anyway.
        if (::stat(directory.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
            return {};
        if (info.st_uid != ::geteuid())
            return directory.string() + " belongs to another user (uid " + std::to_string(info.st_uid) + ")";
        if (info.st_mode & (S_IWGRP | S_IWOTH))
            return directory.string() + " may be written by other users (mode " + std::to_string((info.st_mode >> 6) & 7)
                + std::to_string((info.st_mode >> 3) & 7) + std::to_string(info.st_mode & 7) + ")";
        return {};
    } catch (...) {
        return "cannot check " + directory.string();
    }
}

void requireTrusted(const std::filesystem::path& directory)
{
    if (auto reason = distrust(directory); !reason.empty())
        throw std::filesystem::filesystem_error("refusing a container that is not private: " + reason, directory,
            std::error_code(EACCES, std::generic_category()));
}

__attribute__((no_sanitize("vptr"))) std::error_code errorCarriedBy(const std::system_error& failure) noexcept
{
    return failure.code();
}

FileLock::FileLock(const std::filesystem::path& path)
{
    m_fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, privateFileMode);
    if (m_fd < 0)
        fail(errno, "cannot open the lock file", path);
    struct stat info {};
    int error = 0;
    if (::fstat(m_fd, &info) != 0)
        error = errno;
    else if (!S_ISREG(info.st_mode))
        error = EINVAL;
    else {
        while (::flock(m_fd, LOCK_EX) != 0) {
            if (errno != EINTR) {
                error = errno;
                break;
            }
        }
    }
    if (error) {
        ::close(m_fd);
        fail(error, "cannot lock", path);
    }
}

FileLock::~FileLock()
{
    ::close(m_fd);
}

}
