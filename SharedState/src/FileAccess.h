// SPDX-License-Identifier: MIT
#pragma once

// The few file operations the store is built on. Reads never block and never follow a link at the
// last component; writes replace their file atomically; what is created is private to the user.

#include "PageBuffer.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/types.h>

namespace quelm::detail {

// The most bytes a read accepts; a larger file counts as a failed read.
inline constexpr std::size_t maximumDocumentSize = 16 * 1024 * 1024; // snapshot.json, pending.json
inline constexpr std::size_t maximumSmallFileSize = 64 * 1024; // heartbeat, one command file

// What the store creates: the container names the user's processes, ports and sessions.
inline constexpr mode_t privateDirectoryMode = 0700;
inline constexpr mode_t privateFileMode = 0600;

// The bytes of a document: a small one on the heap, where reading it again costs nothing new; a
// large one in pages of its own (`pages()`), which its decoder gives back as it goes.
class DocumentBytes {
public:
    // Makes room for a file of `fileSize` bytes that may grow to `capacity` while it is read.
    void prepareFor(std::size_t fileSize, std::size_t capacity);

    char* data() { return m_pages.data() ? m_pages.data() : m_small.data(); }
    std::size_t size() const { return m_pages.data() ? m_pages.size() : m_small.size(); }
    std::string_view view() const { return m_pages.data() ? m_pages.view() : std::string_view(m_small); }
    void resize(std::size_t size) { m_pages.data() ? m_pages.resize(size) : m_small.resize(size); }
    void clear() { resize(0); }
    // Null for a small document: there is nothing worth giving back.
    PageBuffer* pages() { return m_pages.data() ? &m_pages : nullptr; }

private:
    std::string m_small;
    PageBuffer m_pages;
};

template<class Bytes>
struct BasicFileRead {
    Bytes bytes;
    int error = 0; // the errno of a failed read, 0 when `bytes` holds the whole file

    bool succeeded() const { return error == 0; }
};
using FileRead = BasicFileRead<std::string>;
using DocumentRead = BasicFileRead<DocumentBytes>;

// Reads the whole of `name`, relative to the directory `directoryFD` (AT_FDCWD for a plain path).
// Only a regular file of at most `maximumSize` bytes is read: a symbolic link fails with ELOOP, a
// directory with EISDIR, any other kind of file with EINVAL (a FIFO is opened without blocking
// and never read), a larger file with EFBIG.
FileRead readRegularFileAt(int directoryFD, const char* name, std::size_t maximumSize) noexcept;

inline FileRead readRegularFile(const std::filesystem::path& path, std::size_t maximumSize) noexcept
{
    return readRegularFileAt(AT_FDCWD, path.c_str(), maximumSize);
}

// The same for a document of up to `maximumDocumentSize` bytes (see DocumentBytes).
DocumentRead readDocument(const std::filesystem::path& path) noexcept;

// Creates `directory` and its missing parents, each at mode 0700; an existing directory (or a link
// to one) is no error. Throws std::filesystem::filesystem_error carrying the errno, ENOTDIR when
// `directory` or a parent exists as something else.
void createPrivateDirectories(const std::filesystem::path& directory);

// How old a writer's temporary file must be before another write of its kind removes it: a write
// takes well under a second, so such a file belongs to a writer that died.
inline constexpr int staleTemporaryAgeSeconds = 60;

// Which leftover temporary files a write sweeps from its staging directory.
enum class Leftovers {
    ofTheSameFile, // ".<name>.XXXXXX" for the file written
    ofAnyCommand, // ".<UUID>.json.XXXXXX": every command has a name of its own
};

// Replaces `path` with a file of mode 0600 holding `bytes`: a temporary file in the same directory
// (mkstemp), written whole, fsync'ed, renamed over `path`, and the directory fsync'ed, so that the
// new file outlives a power cut. Temporary files of the same kind that writers killed mid-write
// left, older than a minute, are removed first. Throws std::filesystem::filesystem_error carrying
// the errno; on failure the previous file is untouched and the temporary file is gone. A document
// larger than `maximumSize` (what a reader accepts) is refused with EFBIG before anything is written.
void writeFileAtomically(const std::filesystem::path& path, std::string_view bytes, std::size_t maximumSize);

// The same with the temporary file in `stagingDirectory`, which must be on the file system of
// `path`: for a directory whose reader consumes every entry it lists, a half-written file must
// not appear in it at all.
void writeFileAtomically(const std::filesystem::path& path, std::string_view bytes, std::size_t maximumSize,
    const std::filesystem::path& stagingDirectory, Leftovers);

// Flushes a directory's entries to the disk. Returns the errno, 0 on success.
int syncDirectory(const std::filesystem::path& directory) noexcept;

// Unlinks the entry `name` of the directory `directoryFD` unless it is a directory: nothing is ever
// removed recursively, so nothing on another file system mounted there. Links are never followed.
// Returns the errno, 0 on success (EISDIR for a directory, which is left).
int removeEntryAt(int directoryFD, const char* name) noexcept;

// Empty when `directory` is a directory of this user that neither group nor others may write, or
// no directory at all (which every use fails on anyway); otherwise why it must not be used. Links
// are followed: the container may be one.
std::string distrust(const std::filesystem::path& directory) noexcept;

// Throws std::filesystem::filesystem_error (EACCES) carrying `distrust`'s reason, if any.
void requireTrusted(const std::filesystem::path& directory);

// The error a failed operation threw, for the writers that report through a std::error_code.
// UBSan's check of a call on a polymorphic object probes memory through a pipe, which a process out
// of descriptors cannot open (the very failure being reported): that check is left out here.
std::error_code errorCarriedBy(const std::system_error&) noexcept;

// An exclusive advisory lock on the file `path` (created 0600 when missing, never through a link),
// held until destruction: serialises the read-modify-write of a document between processes.
// Throws std::filesystem::filesystem_error carrying the errno.
class FileLock {
public:
    explicit FileLock(const std::filesystem::path& path);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

private:
    int m_fd = -1;
};

}
