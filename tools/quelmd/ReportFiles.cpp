// SPDX-License-Identifier: MIT
#include "ReportFiles.h"

#include <FileDescriptor.h>

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quelmd::detail {

namespace {

constexpr std::size_t largestReport = 1 << 20;

[[noreturn]] void fail(const std::string& what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

}

void writeReportFile(const std::filesystem::path& file, std::string_view content)
{
    const std::filesystem::path folder = file.parent_path();
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        throw std::system_error(error, "cannot create " + folder.string());
    ::chmod(folder.c_str(), 0700);

    std::string temporary = (folder / ("." + file.filename().string() + ".XXXXXX")).string();
    quelm::detail::FileDescriptor fd(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!fd)
        fail("cannot write in " + folder.string());
    std::size_t written = 0;
    while (written < content.size()) {
        const ssize_t result = ::write(fd.get(), content.data() + written, content.size() - written);
        if (result < 0 && errno == EINTR)
            continue;
        if (result <= 0) {
            const int saved = errno;
            ::unlink(temporary.c_str());
            errno = saved;
            fail("cannot write " + file.string());
        }
        written += static_cast<std::size_t>(result);
    }
    // No fsync: these files describe the running session and are rewritten at every change; a
    // crash loses nothing that the next write would not replace, and the widget's answer is not
    // kept waiting for the disk.
    if (fd.close() != 0 || ::rename(temporary.c_str(), file.c_str()) != 0) {
        const int saved = errno;
        ::unlink(temporary.c_str());
        errno = saved;
        fail("cannot write " + file.string());
    }
}

std::optional<std::string> readReportFile(const std::filesystem::path& file)
{
    quelm::detail::FileDescriptor fd(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!fd)
        return std::nullopt;
    struct stat status {};
    if (::fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    std::string content;
    char buffer[8192];
    for (;;) {
        const ssize_t result = ::read(fd.get(), buffer, sizeof buffer);
        if (result < 0 && errno == EINTR)
            continue;
        if (result < 0)
            return std::nullopt;
        if (result == 0)
            return content;
        content.append(buffer, static_cast<std::size_t>(result));
        if (content.size() > largestReport)
            return std::nullopt;
    }
}

}
