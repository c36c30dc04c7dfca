// SPDX-License-Identifier: MIT
// The store's readers over a container whose every file holds the fuzzer's bytes: each must
// degrade to its neutral result exactly when the bytes do not decode, and agree with the decoder
// when they do.

#include "FuzzSupport.h"

#include "FileAccess.h"
#include "Heartbeat.h"

#include <quelm/SharedStore.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

const fs::path& container()
{
    static const fs::path path = [] {
        std::string pattern = (fs::temp_directory_path() / "quelm-fuzz-XXXXXX").string();
        if (!::mkdtemp(pattern.data()))
            std::abort();
        std::atexit([] {
            std::error_code ignored;
            fs::remove_all(container(), ignored);
        });
        fs::create_directory(fs::path(pattern) / "commands");
        return fs::path(pattern);
    }();
    return path;
}

void put(const fs::path& path, std::string_view bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), std::streamsize(bytes.size()));
    if (!out)
        std::abort();
}

template<class Record>
std::optional<Record> decoded(std::string_view bytes)
{
    try {
        return quelm::decode<Record>(bytes);
    } catch (const quelm::DecodingError&) {
        return std::nullopt;
    }
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace quelm;
    const auto bytes = fuzz::text(data, size);
    const SharedStore store(container());
    put(container() / "snapshot.json", bytes);
    put(container() / "heartbeat", bytes);
    put(container() / "pending.json", bytes);
    put(container() / "commands" / "command.json", bytes);

    const auto snapshot = decoded<WidgetSnapshot>(bytes);
    if (!(store.readSnapshot() == snapshot.value_or(WidgetSnapshot::empty)))
        fuzz::fail("readSnapshot disagrees with the decoder");

    // The heartbeat and a command file are small files; a larger one is not even read.
    const bool fitsSmallFile = size <= detail::maximumSmallFileSize;
    const auto beat = fitsSmallFile ? detail::parseHeartbeat(bytes) : std::nullopt;
    const Date now(1'700'000'000.0);
    const bool beatIsRecent = beat && now.secondsSince1970() - *beat < 90.0;
    if ((store.appStatus(now) == SharedStore::AppStatus::running) != beatIsRecent)
        fuzz::fail("appStatus disagrees with the heartbeat parser");

    const auto pending = decoded<PendingCommands>(bytes);
    const auto marks = store.pendingCommands(WidgetSnapshot::empty, Date(0), 1e300);
    if (pending ? marks.size() > pending->size() : !marks.empty())
        fuzz::fail("pendingCommands returns marks the file does not hold");

    const auto command = fitsSmallFile ? decoded<WidgetCommand>(bytes) : std::nullopt;
    const auto drained = store.drainCommands();
    if (drained.size() != (command ? 1u : 0u) || (command && !(drained.front() == *command)))
        fuzz::fail("drainCommands disagrees with the decoder");
    if (!fs::is_empty(container() / "commands"))
        fuzz::fail("drainCommands left an entry behind");
    return 0;
}
