// SPDX-License-Identifier: MIT
// WidgetLayout of a 1,000-item snapshot for each family and sort order. Target: ≤ 2 ms each.

#include "Widget/WidgetFamily.h"
#include "Layout/WidgetLayout.h"
#include "Widget/WidgetSortOrder.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

using namespace quelm;

namespace {

// 1,000 items with realistic titles (words, numbers, accents, mixed case), a mix of categories,
// running states and start times; plus a few groups and sessions.
WidgetSnapshot thousandItems()
{
    std::mt19937 random(7);
    const std::array<std::string, 12> words { "api", "Web", "worker", "Postgres", "redis", "café", "Água", "svc", "Gateway",
        "scheduler", "élan", "my-api (dev)" };
    const std::array<std::string, 7> categories { "node", "docker", "kubernetes", "database", "server", "python", "" };
    WidgetSnapshot snapshot;
    for (int i = 0; i < 1000; ++i) {
        WidgetItem item;
        item.id = "item-" + std::to_string(i);
        item.title = words[random() % words.size()] + " " + std::to_string(random() % 200) + " " + words[random() % words.size()];
        item.category = categories[random() % categories.size()];
        item.isRunning = random() % 3 != 0;
        if (random() % 4 != 0)
            item.startedAt = Date(1'700'000'000.0 - static_cast<double>(random() % 100'000));
        if (item.isRunning)
            item.port = static_cast<std::uint16_t>(3000 + i);
        snapshot.items.push_back(std::move(item));
    }
    for (int i = 0; i < 4; ++i)
        snapshot.groups.push_back(WidgetGroup("group:" + std::to_string(i), "Group " + std::to_string(i), 3, i % 3, i % 2 == 0));
    snapshot.sessions.push_back(WidgetSession { "s1", "Ajustar o widget", "quelm", WidgetSession::State::needsApproval });
    snapshot.sessions.push_back(WidgetSession { "s2", "Migração do banco", "my-api", WidgetSession::State::working });
    snapshot.updatedAt = Date(1'700'000'000.0);
    return snapshot;
}

const WidgetSnapshot& snapshot()
{
    static const WidgetSnapshot snapshot = thousandItems();
    return snapshot;
}

// The worst case for the title comparison: every item running, of one category, never started,
// so only the titles tell them apart.
const WidgetSnapshot& tiedSnapshot()
{
    static const WidgetSnapshot snapshot = [] {
        WidgetSnapshot tied = thousandItems();
        for (auto& item : tied.items) {
            item.isRunning = true;
            item.category = "node";
            item.startedAt.reset();
        }
        return tied;
    }();
    return snapshot;
}

void BM_LayoutAllTied(benchmark::State& state, WidgetFamily family, WidgetSortOrder order)
{
    ::setenv("LC_ALL", "pt_BR.UTF-8", 1);
    const WidgetSnapshot& input = tiedSnapshot();
    for (auto _ : state) {
        WidgetLayout layout(input, family, order);
        benchmark::DoNotOptimize(layout);
    }
}

void BM_Layout(benchmark::State& state, WidgetFamily family, WidgetSortOrder order)
{
    ::setenv("LC_ALL", "pt_BR.UTF-8", 1);
    const WidgetSnapshot& input = snapshot();
    for (auto _ : state) {
        WidgetLayout layout(input, family, order);
        benchmark::DoNotOptimize(layout);
    }
}

// The comparator of `order` used directly in a full stable sort: the straightforward way, for
// comparison with the layout's own sort.
void BM_StableSortThroughOrder(benchmark::State& state, WidgetSortOrder order)
{
    ::setenv("LC_ALL", "pt_BR.UTF-8", 1);
    const WidgetSnapshot& input = snapshot();
    for (auto _ : state) {
        std::vector<WidgetItem> items = input.items;
        std::stable_sort(items.begin(), items.end(), WidgetLayout::order(order));
        benchmark::DoNotOptimize(items);
    }
}

}

BENCHMARK_CAPTURE(BM_Layout, small/category, WidgetFamily::small, WidgetSortOrder::category)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Layout, small/recent, WidgetFamily::small, WidgetSortOrder::recent)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Layout, medium/category, WidgetFamily::medium, WidgetSortOrder::category)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Layout, medium/recent, WidgetFamily::medium, WidgetSortOrder::recent)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Layout, large/category, WidgetFamily::large, WidgetSortOrder::category)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Layout, large/recent, WidgetFamily::large, WidgetSortOrder::recent)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Layout, extraLarge/category, WidgetFamily::extraLarge, WidgetSortOrder::category)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Layout, extraLarge/recent, WidgetFamily::extraLarge, WidgetSortOrder::recent)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_LayoutAllTied, small/category, WidgetFamily::small, WidgetSortOrder::category)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_LayoutAllTied, extraLarge/recent, WidgetFamily::extraLarge, WidgetSortOrder::recent)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_StableSortThroughOrder, category, WidgetSortOrder::category)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_StableSortThroughOrder, recent, WidgetSortOrder::recent)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
