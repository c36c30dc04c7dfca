// SPDX-License-Identifier: MIT
// Rendering one widget, warm: build the view tree of the sample entry, lay it out and paint it at
// scale 2 into an image, as the host does for every timeline entry.

#include "Views/WidgetRenderer.h"

#include <benchmark/benchmark.h>

#include <QGuiApplication>

#include <cstdlib>
#include <memory>
#include <string>

namespace {

QGuiApplication& application()
{
    static std::unique_ptr<QGuiApplication> instance = [] {
        ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
        static int argc = 1;
        static char name[] = "RenderBench";
        static char* argv[] = { name, nullptr };
        return std::make_unique<QGuiApplication>(argc, argv);
    }();
    return *instance;
}

// Warm renders of `entry` as `family` at scale 2, as the widget shows it at `now`.
void renderEntry(benchmark::State& state, const quelm::TimelineEntry& entry, quelm::Date now, quelm::WidgetFamily family)
{
    application();
    quelm::views::RenderOptions options;
    options.now = now;
    options.currentLocale = "pt_BR.UTF-8";
    // Warm up: fonts, translations and rasterised symbols are loaded once per process.
    benchmark::DoNotOptimize(quelm::views::paintWidget(quelm::views::renderWidget(entry, family, options), 2));

    for (auto _ : state) {
        const auto rendered = quelm::views::renderWidget(entry, family, options);
        QImage image = quelm::views::paintWidget(rendered, 2);
        benchmark::DoNotOptimize(image.constBits());
    }
}

void renderFamily(benchmark::State& state, quelm::WidgetFamily family)
{
    const quelm::Date now(1700000000);
    renderEntry(state, quelm::TimelineEntry::sample(now), now, family);
}

// The two halves of a medium render, to see where the time goes.
void BM_BuildAndLayoutMedium(benchmark::State& state)
{
    application();
    const quelm::Date now(1700000000);
    const quelm::TimelineEntry entry = quelm::TimelineEntry::sample(now);
    quelm::views::RenderOptions options;
    options.now = now;
    options.currentLocale = "pt_BR.UTF-8";
    for (auto _ : state)
        benchmark::DoNotOptimize(quelm::views::renderWidget(entry, quelm::WidgetFamily::medium, options));
}

void BM_PaintMedium(benchmark::State& state)
{
    application();
    quelm::views::RenderOptions options;
    options.now = quelm::Date(1700000000);
    options.currentLocale = "pt_BR.UTF-8";
    const auto rendered = quelm::views::renderWidget(quelm::TimelineEntry::sample(options.now), quelm::WidgetFamily::medium, options);
    benchmark::DoNotOptimize(quelm::views::paintWidget(rendered, 2));
    for (auto _ : state) {
        QImage image = quelm::views::paintWidget(rendered, 2);
        benchmark::DoNotOptimize(image.constBits());
    }
}

// Hostile content at the 16 MiB document cap: every title a megabyte, the same but for its last
// letters, so that sorting and shaping would have to read them whole.
quelm::TimelineEntry hostileEntry(quelm::Date now)
{
    quelm::TimelineEntry entry = quelm::TimelineEntry::sample(now);
    entry.snapshot.items.clear();
    const std::string body(1 << 20, 'x');
    for (int i = 0; i < 14; ++i) {
        quelm::WidgetItem item { "item" + std::to_string(i), body + std::to_string(i), "node", i % 2 == 0 };
        entry.snapshot.items.push_back(std::move(item));
    }
    for (auto& session : entry.snapshot.sessions) {
        session.title = body + "\n" + session.id;
        session.project = body;
    }
    return entry;
}

void renderHostile(benchmark::State& state, quelm::WidgetFamily family)
{
    const quelm::Date now(1700000000);
    renderEntry(state, hostileEntry(now), now, family);
}

void BM_RenderMediumOfMegabyteTitles(benchmark::State& state) { renderHostile(state, quelm::WidgetFamily::medium); }
void BM_RenderExtraLargeOfMegabyteTitles(benchmark::State& state) { renderHostile(state, quelm::WidgetFamily::extraLarge); }

void BM_RenderSmall(benchmark::State& state) { renderFamily(state, quelm::WidgetFamily::small); }
void BM_RenderMedium(benchmark::State& state) { renderFamily(state, quelm::WidgetFamily::medium); }
void BM_RenderLarge(benchmark::State& state) { renderFamily(state, quelm::WidgetFamily::large); }
void BM_RenderExtraLarge(benchmark::State& state) { renderFamily(state, quelm::WidgetFamily::extraLarge); }

}

BENCHMARK(BM_BuildAndLayoutMedium)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PaintMedium)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RenderSmall)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RenderMedium)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RenderLarge)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RenderExtraLarge)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RenderMediumOfMegabyteTitles)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RenderExtraLargeOfMegabyteTitles)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
