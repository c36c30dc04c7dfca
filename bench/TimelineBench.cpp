// SPDX-License-Identifier: MIT
// The provider's timeline on a container holding a 5-item snapshot, a heartbeat and a pending
// mark, against a bare read of the same three files (the floor the provider builds on).
// Target: timeline ≤ 100 µs.

#include "Timeline/TimelineEntry.h"
#include "Timeline/TimelineProvider.h"
#include "Widget/QuelmWidgetConfiguration.h"
#include "Timeline/TimelineContext.h"

#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>
#include <quelm/Uuid.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <unistd.h>

using namespace quelm;

namespace {

// A container under a temporary XDG_DATA_HOME for the whole program, filled once.
class BenchContainer {
public:
    BenchContainer()
    {
        auto pattern = (std::filesystem::temp_directory_path() / "quelm-bench-XXXXXX").string();
        if (!::mkdtemp(pattern.data()))
            throw std::runtime_error("mkdtemp failed");
        m_directory = pattern;
        ::setenv("XDG_DATA_HOME", m_directory.c_str(), 1);

        const auto store = SharedStore::forAppGroup(SharedConstants::appGroupIdentifier);
        if (!store)
            throw std::runtime_error("no container");
        m_root = store->root();

        const Date now = Date::now();
        WidgetSnapshot snapshot = TimelineEntry::sample().snapshot;
        snapshot.updatedAt = now.addingSeconds(-60);
        store->writeSnapshot(snapshot);
        // Far in the future, so that the app counts as running and the mark stays pending for
        // as long as the benchmark runs.
        store->touchHeartbeat(now.addingSeconds(3600));
        store->markPending(WidgetCommand("a", WidgetCommand::Action::stop, Uuid::random(), now.addingSeconds(3600)));
    }
    ~BenchContainer()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_directory, ignored);
    }

    const std::filesystem::path& root() const { return m_root; }

private:
    std::filesystem::path m_directory;
    std::filesystem::path m_root;
};

const BenchContainer& container()
{
    static const BenchContainer container;
    return container;
}

std::size_t readWhole(const std::filesystem::path& path)
{
    char buffer[8192];
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return 0;
    std::size_t total = 0;
    ssize_t n;
    while ((n = ::read(fd, buffer, sizeof buffer)) > 0)
        total += static_cast<std::size_t>(n);
    ::close(fd);
    return total;
}

void BM_Timeline(benchmark::State& state)
{
    container();
    const TimelineProvider provider;
    const QuelmWidgetConfiguration configuration(WidgetSortOrder::category);
    const TimelineContext context { WidgetFamily::medium, false };
    {
        const Timeline check = provider.timeline(configuration, context);
        if (check.entries.size() != 2 || check.entries[0].snapshot.items.size() != 5
            || check.entries[0].appStatus != SharedStore::AppStatus::running) {
            state.SkipWithError("the container is not as set up");
            return;
        }
    }
    for (auto _ : state) {
        Timeline timeline = provider.timeline(configuration, context);
        benchmark::DoNotOptimize(timeline);
    }
}
BENCHMARK(BM_Timeline);

void BM_BareReadOfTheThreeFiles(benchmark::State& state)
{
    const auto& root = container().root();
    const auto snapshot = root / "snapshot.json";
    const auto heartbeat = root / "heartbeat";
    const auto pending = root / "pending.json";
    for (auto _ : state) {
        std::size_t bytes = readWhole(snapshot) + readWhole(heartbeat) + readWhole(pending);
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(BM_BareReadOfTheThreeFiles);

void BM_Placeholder(benchmark::State& state)
{
    const TimelineProvider provider;
    for (auto _ : state) {
        TimelineEntry entry = provider.placeholder({});
        benchmark::DoNotOptimize(entry);
    }
}
BENCHMARK(BM_Placeholder);

}

BENCHMARK_MAIN();
