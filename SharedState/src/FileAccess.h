#pragma once

// The few file operations the store is built on. Reads never block and never follow a link at the
// last component; writes replace their file atomically; what is created is private to the user.

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/types.h>

namespace quelm::detail {

// The most bytes a read accepts; a larger file counts as a failed read.
inline constexpr std::size_t maximumDocumentSize = 16 * 1024 * 1024; // snapshot.json, pending.json
inline constexpr std::size_t maximumSmallFileSize = 64 * 1024; // heartbeat, one command file

// What the store creates: the container names the user's processes, ports and sessions.
inline constexpr mode_t privateDirectoryMode = 0700;
inline constexpr mode_t privateFileMode = 0600;

struct FileRead {
    std::string bytes;
    int error = 0; // the errno of a failed read, 0 when `bytes` holds the whole file

    bool succeeded() const { return error == 0; }
};

// Reads the whole of `name`, relative to the directory `directoryFD` (AT_FDCWD for a plain path).
// Only a regular file of at most `maximumSize` bytes is read: a symbolic link fails with ELOOP, a
// directory with EISDIR, any other kind of file with EINVAL (a FIFO is opened without blocking
// and never read), a larger file with EFBIG.
FileRead readRegularFileAt(int directoryFD, const char* name, std::size_t maximumSize) noexcept;

inline FileRead readRegularFile(const std::filesystem::path& path, std::size_t maximumSize) noexcept
{
    return readRegularFileAt(AT_FDCWD, path.c_str(), maximumSize);
}

// Creates `directory` and its missing parents, each at mode 0700; an existing directory (or a link
// to one) is no error. Throws std::filesystem::filesystem_error carrying the errno, ENOTDIR when
// `directory` or a parent exists as something else.
void createPrivateDirectories(const std::filesystem::path& directory);

// Replaces `path` with a file of mode 0600 holding `bytes`: a temporary file in the same directory
// (mkstemp), written whole, fsync'ed, then renamed over `path`. Throws
// std::filesystem::filesystem_error carrying the errno; on failure the previous file is untouched
// and the temporary file is gone.
void writeFileAtomically(const std::filesystem::path& path, std::string_view bytes);

// The same with the temporary file in `stagingDirectory`, which must be on the file system of
// `path`: for a directory whose reader consumes every entry it lists, a half-written file must
// not appear in it at all.
void writeFileAtomically(const std::filesystem::path& path, std::string_view bytes, const std::filesystem::path& stagingDirectory);

// Removes the entry `name` of the directory `directoryFD`: a directory with everything in it,
// anything else (a symbolic link included) by unlinking it. Links are never followed. Failures
// are ignored.
void removeEntryAt(int directoryFD, const char* name) noexcept;

}
