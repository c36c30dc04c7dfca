#include "FileAccess.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string>
#include <system_error>
#include <vector>

#include <dirent.h>
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

bool isDotOrDotDot(const char* name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
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

// Lists a directory's entries other than "." and "..". Listing first and removing after: entries
// removed during a listing may be listed again.
std::vector<std::string> entryNames(DIR* directory)
{
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(directory)) {
        if (!isDotOrDotDot(entry->d_name))
            names.emplace_back(entry->d_name);
    }
    return names;
}

bool unlinkNonDirectoryAt(int directoryFD, const char* name, bool& isDirectory)
{
    if (::unlinkat(directoryFD, name, 0) == 0)
        return true;
    // Linux answers EISDIR for a directory, POSIX allows EPERM.
    isDirectory = errno == EISDIR || errno == EPERM;
    return false;
}

// Removes the directory `name` of `parentFD` with everything in it, depth first, without
// recursion (a hostile tree may be deep) and without following any link. A subdirectory that
// cannot be opened, for lack of permission or of file descriptors, is left with its parents.
void removeDirectoryTreeAt(int parentFD, const char* name)
{
    struct Level {
        DIR* directory;
        std::string name; // in the level above
        std::vector<std::string> children;
        std::size_t next = 0;
    };
    std::vector<Level> levels;
    auto enter = [&](int fd, const std::string& childName) {
        int childFD = ::openat(fd, childName.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (childFD < 0)
            return false;
        DIR* directory = ::fdopendir(childFD);
        if (!directory) {
            ::close(childFD);
            return false;
        }
        try {
            levels.push_back({ directory, childName, entryNames(directory) });
        } catch (...) {
            ::closedir(directory);
            throw;
        }
        return true;
    };

    try {
        if (!enter(parentFD, name)) {
            // Unreadable, yet it may be empty.
            ::unlinkat(parentFD, name, AT_REMOVEDIR);
            return;
        }
        while (!levels.empty()) {
            auto& level = levels.back();
            if (level.next < level.children.size()) {
                std::string child = level.children[level.next++];
                int fd = ::dirfd(level.directory);
                bool isDirectory = false;
                if (!unlinkNonDirectoryAt(fd, child.c_str(), isDirectory) && isDirectory)
                    enter(fd, child);
                continue;
            }
            ::closedir(level.directory);
            std::string finished = std::move(level.name);
            levels.pop_back();
            ::unlinkat(levels.empty() ? parentFD : ::dirfd(levels.back().directory), finished.c_str(), AT_REMOVEDIR);
        }
    } catch (...) {
        // Out of memory: leave the rest.
        for (auto& level : levels)
            ::closedir(level.directory);
    }
}

}

FileRead readRegularFileAt(int directoryFD, const char* name, std::size_t maximumSize) noexcept
{
    FileRead result;
    // O_NONBLOCK: opening a FIFO must not wait for a writer (nor a leased file for its holder).
    FileDescriptor file(::openat(directoryFD, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (file.get() < 0) {
        result.error = errno;
        return result;
    }
    struct stat info {};
    if (::fstat(file.get(), &info) != 0) {
        result.error = errno;
        return result;
    }
    if (!S_ISREG(info.st_mode)) {
        result.error = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
        return result;
    }
    if (static_cast<std::uintmax_t>(info.st_size) > maximumSize) {
        result.error = EFBIG;
        return result;
    }
    try {
        // One byte more than the size, so that the end of the file is seen without regrowing; a
        // file that grew meanwhile is read on, up to the limit.
        result.bytes.resize(static_cast<std::size_t>(info.st_size) + 1);
        std::size_t length = 0;
        for (;;) {
            if (length == result.bytes.size()) {
                if (length > maximumSize) {
                    result.error = EFBIG;
                    result.bytes.clear();
                    return result;
                }
                result.bytes.resize(std::min(std::max<std::size_t>(length * 2, 4096), maximumSize + 1));
            }
            ssize_t count = ::read(file.get(), result.bytes.data() + length, result.bytes.size() - length);
            if (count < 0) {
                if (errno == EINTR)
                    continue;
                result.error = errno;
                result.bytes.clear();
                return result;
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
    return result;
}

void createPrivateDirectories(const std::filesystem::path& directory)
{
    // "a/b/" names the directory "a/b".
    auto target = !directory.has_filename() && directory.has_relative_path() ? directory.parent_path() : directory;
    if (int error = makeDirectories(target))
        fail(error, "cannot create directory", directory);
}

void writeFileAtomically(const std::filesystem::path& path, std::string_view bytes)
{
    writeFileAtomically(path, bytes, path.parent_path());
}

void writeFileAtomically(const std::filesystem::path& path, std::string_view bytes, const std::filesystem::path& stagingDirectory)
{
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
}

void removeEntryAt(int directoryFD, const char* name) noexcept
{
    bool isDirectory = false;
    if (!unlinkNonDirectoryAt(directoryFD, name, isDirectory) && isDirectory)
        removeDirectoryTreeAt(directoryFD, name);
}

}
