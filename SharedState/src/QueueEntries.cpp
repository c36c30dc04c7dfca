// SPDX-License-Identifier: MIT
#include "QueueEntries.h"

#include "FileAccess.h"

#include <quelm/WireFormat.h>

#include <cerrno>
#include <exception>

#include <dirent.h>
#include <unistd.h>

namespace quelm::detail {

int listQueue(int directoryFD, std::vector<QueueEntry>& entries)
{
    const int fd = ::dup(directoryFD);
    if (fd < 0)
        return errno;
    DIR* directory = ::fdopendir(fd);
    if (!directory) {
        const int error = errno;
        ::close(fd);
        return error;
    }
    ::rewinddir(directory);
    errno = 0;
    int error = 0;
    try {
        while (const dirent* entry = ::readdir(directory)) {
            const char* name = entry->d_name;
            if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0')))
                continue;
            entries.push_back({ name, entry->d_type });
        }
        error = errno;
    } catch (const std::bad_alloc&) {
        error = ENOMEM;
    }
    ::closedir(directory);
    return error;
}

CommandRead readCommandAt(int directoryFD, const char* name) noexcept
{
    CommandRead result;
    const FileRead file = readRegularFileAt(directoryFD, name, maximumSmallFileSize);
    switch (file.error) {
    case 0:
        break;
    case EFBIG:
        // No writer makes such a file, and no reader will ever take it.
        result.kind = CommandRead::Kind::garbage;
        return result;
    case ELOOP:
    case EINVAL:
        result.kind = CommandRead::Kind::notAFile;
        return result;
    case EISDIR:
        result.kind = CommandRead::Kind::directory;
        return result;
    default:
        result.error = file.error;
        return result;
    }
    try {
        result.command = decode<WidgetCommand>(file.bytes);
        result.kind = CommandRead::Kind::command;
    } catch (const DecodingError&) {
        result.kind = CommandRead::Kind::garbage;
    } catch (const std::bad_alloc&) {
        result.error = ENOMEM;
    } catch (const std::exception&) {
        result.kind = CommandRead::Kind::garbage;
    }
    return result;
}

}
