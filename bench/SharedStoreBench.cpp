// SPDX-License-Identifier: MIT
// The store's reads and the app's drain, each beside the bare work it is built on: readSnapshot
// against reading the same file's bytes, and against reading them and parsing them into the same
// records with simdjson's on-demand parser; drainCommands against a readdir + read + unlink loop
// over the same 10,000 command files (decoding alone is shown too, beside the on-demand parse of
// the same bytes). Targets: a 5-item snapshot in 50 µs, a 1,000-item one in 3 ms and within 1.5
// times the on-demand read, and a drain within twice the bare loop.

#include <quelm/SharedStore.h>

#include <benchmark/benchmark.h>
#include <simdjson.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

using namespace quelm;
namespace fs = std::filesystem;

namespace {

constexpr int commandCount = 10'000;

class ScratchDirectory {
public:
    ScratchDirectory()
    {
        auto pattern = (fs::temp_directory_path() / "quelm-bench-XXXXXX").string();
        if (!::mkdtemp(pattern.data()))
            throw std::system_error(errno, std::generic_category(), "mkdtemp");
        m_path = pattern;
    }
    ~ScratchDirectory()
    {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    const fs::path& path() const { return m_path; }

private:
    fs::path m_path;
};

WidgetSnapshot snapshotWithItems(int count)
{
    static const char* categories[] = { "node", "database", "python", "docker", "rust", "go" };
    WidgetSnapshot snapshot;
    for (int i = 0; i < count; ++i) {
        WidgetItem item { "item-" + std::to_string(i), "Service number " + std::to_string(i), categories[i % 6], i % 2 == 0 };
        if (i % 3 == 0)
            item.port = static_cast<std::uint16_t>(3000 + i % 60000);
        if (i % 2 == 0)
            item.startedAt = Date(1'700'000'000.0 - i * 37.25);
        if (i % 10 == 5)
            item.transition = WidgetItem::Transition::starting;
        snapshot.items.push_back(std::move(item));
    }
    for (int i = 0; i < count / 10; ++i)
        snapshot.groups.push_back(WidgetGroup("group:" + std::to_string(i), "Group " + std::to_string(i), 10, i % 11, i % 11 == 10));
    for (int i = 0; i < count / 20; ++i)
        snapshot.sessions.push_back(WidgetSession { "session-" + std::to_string(i), "Session", "quelm", WidgetSession::State::working });
    snapshot.language = "pt-BR";
    snapshot.updatedAt = Date(1'700'000'000.5);
    return snapshot;
}

std::string readBytes(const fs::path& path)
{
    std::string bytes;
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return bytes;
    char buffer[65536];
    for (;;) {
        ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count <= 0)
            break;
        bytes.append(buffer, static_cast<std::size_t>(count));
    }
    ::close(fd);
    return bytes;
}

// 10,000 command files as the widget leaves them (written plainly: setting up is not measured).
void fillQueue(const fs::path& commands)
{
    fs::create_directories(commands);
    Date issued(1'700'000'000.0);
    for (int i = 0; i < commandCount; ++i) {
        WidgetCommand command("item-" + std::to_string(i % 97), i % 2 ? WidgetCommand::Action::stop : WidgetCommand::Action::start,
            Uuid::random(), issued.addingSeconds(i % 500 * 0.25));
        auto bytes = encode(command);
        auto path = commands / (command.id.string() + ".json");
        int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (fd < 0 || ::write(fd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
            throw std::system_error(errno, std::generic_category(), path.string());
        ::close(fd);
    }
}

void readSnapshot(benchmark::State& state)
{
    ScratchDirectory scratch;
    SharedStore store(scratch.path());
    store.writeSnapshot(snapshotWithItems(static_cast<int>(state.range(0))));
    state.counters["bytes"] = static_cast<double>(fs::file_size(scratch.path() / "snapshot.json"));
    for (auto _ : state) {
        auto snapshot = store.readSnapshot();
        benchmark::DoNotOptimize(snapshot);
        if (snapshot.items.size() != static_cast<std::size_t>(state.range(0)))
            state.SkipWithError("snapshot did not decode");
    }
}
BENCHMARK(readSnapshot)->Name("readSnapshot/items")->Arg(5)->Arg(1000)->Unit(benchmark::kMicrosecond);

void bareReadOfSnapshotBytes(benchmark::State& state)
{
    ScratchDirectory scratch;
    SharedStore store(scratch.path());
    store.writeSnapshot(snapshotWithItems(static_cast<int>(state.range(0))));
    const auto path = scratch.path() / "snapshot.json";
    for (auto _ : state) {
        auto bytes = readBytes(path);
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(bareReadOfSnapshotBytes)->Name("bareRead/items")->Arg(5)->Arg(1000)->Unit(benchmark::kMicrosecond);

// The decoding share of readSnapshot, for attributing its time.
void decodeOfSnapshotBytes(benchmark::State& state)
{
    const auto bytes = encode(snapshotWithItems(static_cast<int>(state.range(0))));
    for (auto _ : state) {
        auto snapshot = decode<WidgetSnapshot>(bytes);
        benchmark::DoNotOptimize(snapshot);
    }
}
BENCHMARK(decodeOfSnapshotBytes)->Name("decodeOnly/items")->Arg(5)->Arg(1000)->Unit(benchmark::kMicrosecond);

// A plain on-demand parse into the records: every known key read, nothing else checked.
WidgetItem onDemandItem(simdjson::ondemand::object object)
{
    WidgetItem item;
    for (auto field : object) {
        const std::string_view key = field.unescaped_key();
        auto value = field.value();
        if (key == "id")
            item.id = std::string_view(value.get_string());
        else if (key == "title")
            item.title = std::string_view(value.get_string());
        else if (key == "category")
            item.category = std::string_view(value.get_string());
        else if (key == "isRunning")
            item.isRunning = value.get_bool();
        else if (key == "transition")
            item.transition = fromRawValue<WidgetItem::Transition>(value.get_string());
        else if (key == "port")
            item.port = static_cast<std::uint16_t>(std::uint64_t(value.get_uint64()));
        else if (key == "startedAt")
            item.startedAt = Date(value.get_double());
    }
    return item;
}

WidgetGroup onDemandGroup(simdjson::ondemand::object object)
{
    WidgetGroup group;
    for (auto field : object) {
        const std::string_view key = field.unescaped_key();
        auto value = field.value();
        if (key == "id")
            group.id = std::string_view(value.get_string());
        else if (key == "name")
            group.name = std::string_view(value.get_string());
        else if (key == "memberCount")
            group.memberCount = value.get_int64();
        else if (key == "runningCount")
            group.runningCount = value.get_int64();
        else if (key == "transition")
            group.transition = fromRawValue<WidgetItem::Transition>(value.get_string());
        else if (key == "isActive")
            group.isActive = value.get_bool();
    }
    return group;
}

WidgetSession onDemandSession(simdjson::ondemand::object object)
{
    WidgetSession session;
    for (auto field : object) {
        const std::string_view key = field.unescaped_key();
        auto value = field.value();
        if (key == "id")
            session.id = std::string_view(value.get_string());
        else if (key == "title")
            session.title = std::string_view(value.get_string());
        else if (key == "project")
            session.project = std::string_view(value.get_string());
        else if (key == "state")
            session.state = fromRawValue<WidgetSession::State>(value.get_string()).value_or(WidgetSession::State::working);
    }
    return session;
}

WidgetSnapshot onDemandSnapshot(simdjson::ondemand::parser& parser, const simdjson::padded_string& bytes)
{
    WidgetSnapshot snapshot;
    auto document = parser.iterate(bytes);
    for (auto field : document.get_object()) {
        const std::string_view key = field.unescaped_key();
        auto value = field.value();
        if (key == "items") {
            for (auto element : value.get_array())
                snapshot.items.push_back(onDemandItem(element.get_object()));
        } else if (key == "groups") {
            for (auto element : value.get_array())
                snapshot.groups.push_back(onDemandGroup(element.get_object()));
        } else if (key == "sessions") {
            for (auto element : value.get_array())
                snapshot.sessions.push_back(onDemandSession(element.get_object()));
        } else if (key == "language") {
            snapshot.language = std::string(std::string_view(value.get_string()));
        } else if (key == "updatedAt") {
            snapshot.updatedAt = Date(value.get_double());
        }
    }
    return snapshot;
}

// The yardstick of readSnapshot: the same file read whole, then parsed on demand.
void onDemandReadOfSnapshot(benchmark::State& state)
{
    ScratchDirectory scratch;
    SharedStore store(scratch.path());
    const auto expected = snapshotWithItems(static_cast<int>(state.range(0)));
    store.writeSnapshot(expected);
    const auto path = scratch.path() / "snapshot.json";
    simdjson::ondemand::parser parser;
    if (!(onDemandSnapshot(parser, simdjson::padded_string::load(path.string())) == expected))
        state.SkipWithError("the on-demand parse reads other records");
    for (auto _ : state) {
        auto snapshot = onDemandSnapshot(parser, simdjson::padded_string::load(path.string()));
        benchmark::DoNotOptimize(snapshot);
    }
}
BENCHMARK(onDemandReadOfSnapshot)->Name("onDemandRead/items")->Arg(5)->Arg(1000)->Unit(benchmark::kMicrosecond);

// The yardstick of decoding alone: the same bytes, already in memory, parsed on demand.
void onDemandParseOfSnapshotBytes(benchmark::State& state)
{
    const auto expected = snapshotWithItems(static_cast<int>(state.range(0)));
    const simdjson::padded_string bytes(encode(expected));
    simdjson::ondemand::parser parser;
    if (!(onDemandSnapshot(parser, bytes) == expected))
        state.SkipWithError("the on-demand parse reads other records");
    for (auto _ : state) {
        auto snapshot = onDemandSnapshot(parser, bytes);
        benchmark::DoNotOptimize(snapshot);
    }
}
BENCHMARK(onDemandParseOfSnapshotBytes)->Name("onDemandParse/items")->Arg(5)->Arg(1000)->Unit(benchmark::kMicrosecond);

void drainCommands(benchmark::State& state)
{
    ScratchDirectory scratch;
    SharedStore store(scratch.path());
    for (auto _ : state) {
        state.PauseTiming();
        fillQueue(scratch.path() / "commands");
        state.ResumeTiming();
        auto commands = store.drainCommands();
        benchmark::DoNotOptimize(commands);
        if (commands.size() != static_cast<std::size_t>(commandCount))
            state.SkipWithError("drain lost commands");
    }
    state.SetItemsProcessed(state.iterations() * commandCount);
}
BENCHMARK(drainCommands)->Name("drainCommands/10000")->Unit(benchmark::kMillisecond)->Iterations(10);

// What any drain has to do: list, open, read and unlink every file.
void bareDrainLoop(benchmark::State& state)
{
    ScratchDirectory scratch;
    const auto commands = scratch.path() / "commands";
    std::size_t total = 0;
    for (auto _ : state) {
        state.PauseTiming();
        fillQueue(commands);
        state.ResumeTiming();
        DIR* directory = ::opendir(commands.c_str());
        int directoryFD = ::dirfd(directory);
        char buffer[4096];
        while (const dirent* entry = ::readdir(directory)) {
            if (entry->d_name[0] == '.')
                continue;
            int fd = ::openat(directoryFD, entry->d_name, O_RDONLY | O_CLOEXEC);
            ssize_t count;
            while ((count = ::read(fd, buffer, sizeof buffer)) > 0)
                total += static_cast<std::size_t>(count);
            ::close(fd);
            ::unlinkat(directoryFD, entry->d_name, 0);
        }
        ::closedir(directory);
        benchmark::DoNotOptimize(total);
    }
    state.SetItemsProcessed(state.iterations() * commandCount);
}
BENCHMARK(bareDrainLoop)->Name("bareDrain/10000")->Unit(benchmark::kMillisecond)->Iterations(10);

}

BENCHMARK_MAIN();
