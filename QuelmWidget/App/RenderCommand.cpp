// SPDX-License-Identifier: MIT
// quelm-widget render: one family drawn headless, to PNG or as its laid-out view tree.

#include "App/RenderCommand.h"

#include "Arguments.h"
#include "App/Command.h"
#include "App/Options.h"
#include "App/SnapshotFile.h"

#include "Timeline/TimelineProvider.h"
#include "Widget/QuelmWidgetConfiguration.h"
#include "Timeline/TimelineContext.h"
#include "Views/Localizer.h"
#include "Views/WidgetRenderer.h"

#include <quelm/WireFormat.h>

#include <QBuffer>
#include <QByteArray>
#include <QGuiApplication>
#include <QImage>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <iostream>
#include <sstream>

#include <unistd.h>

namespace quelm::cli {

namespace {

constexpr double largestScale = 8;

SharedStore::AppStatus parseStatus(const std::string& text)
{
    if (const auto status = fromRawValue<SharedStore::AppStatus>(text))
        return *status;
    throw UsageError("unknown app status \"" + text + "\"; accepted: running, notRunning, noAccess");
}

std::pair<std::string, WidgetCommand::Action> parsePending(const std::string& text)
{
    const auto equals = text.rfind('=');
    if (equals == std::string::npos || equals == 0)
        throw UsageError("--pending needs ID=start or ID=stop, not \"" + text + "\"");
    const auto action = fromRawValue<WidgetCommand::Action>(std::string_view(text).substr(equals + 1));
    if (!action)
        throw UsageError("--pending needs ID=start or ID=stop, not \"" + text + "\"");
    return { text.substr(0, equals), *action };
}

RenderRequest::Format parseFormat(const std::string& text)
{
    if (text == "png")
        return RenderRequest::Format::png;
    if (text == "json")
        return RenderRequest::Format::json;
    throw UsageError("unknown format \"" + text + "\"; accepted: png, json");
}

TimelineEntry entryFor(const RenderRequest& request, Date now)
{
    TimelineEntry entry;
    switch (request.source) {
    case RenderRequest::Source::live: {
        const TimelineProvider provider([now] { return now; });
        const QuelmWidgetConfiguration configuration(request.sortOrder);
        return provider.timeline(configuration, TimelineContext { request.family, false }).entries.front();
    }
    case RenderRequest::Source::sample:
        entry = TimelineEntry::sample(now);
        break;
    case RenderRequest::Source::snapshot:
        entry.date = now;
        entry.snapshot = readSnapshotFile(request.snapshotPath);
        entry.appStatus = SharedStore::AppStatus::running;
        break;
    }
    entry.sortOrder = request.sortOrder;
    if (request.appStatus)
        entry.appStatus = *request.appStatus;
    if (!request.pending.empty())
        entry.pending = request.pending;
    return entry;
}

// Qt needs an application object for fonts; headless, unless the caller chose a platform.
std::unique_ptr<QGuiApplication> startQt()
{
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    static int argc = 1;
    static char name[] = "quelm-widget";
    static char* argv[] = { name, nullptr };
    return std::make_unique<QGuiApplication>(argc, argv);
}

QByteArray pngBytes(QImage image, double scale)
{
    // Tell image viewers the image's real density.
    const int dotsPerMeter = static_cast<int>(std::lround(72 * scale / 0.0254));
    image.setDotsPerMeterX(dotsPerMeter);
    image.setDotsPerMeterY(dotsPerMeter);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG"))
        throw std::runtime_error("cannot encode the image as PNG");
    return bytes;
}

void writeOutput(const RenderRequest& request, std::string_view bytes, std::ostream& out)
{
    if (!request.outputPath || *request.outputPath == "-") {
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return;
    }
    std::ofstream file(*request.outputPath, std::ios::binary | std::ios::trunc);
    if (file)
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + *request.outputPath + ": " + std::strerror(errno));
}

int runRender(std::span<const std::string> arguments, std::ostream& out, std::ostream&)
{
    const RenderRequest request = RenderRequest::parse(arguments);
    // PNG bytes on a terminal garble it and show nothing; the person meant a file.
    const bool toStandardOutput = !request.outputPath || *request.outputPath == "-";
    if (request.format == RenderRequest::Format::png && toStandardOutput && isatty(STDOUT_FILENO))
        throw UsageError("standard output is a terminal; write the PNG to a file with -o FILE, or redirect it");
    const Date now = request.now.value_or(Date::now());
    // Read the input before starting Qt, so that a bad one is refused without any of it.
    const TimelineEntry entry = entryFor(request, now);

    const auto application = startQt();
    views::RenderOptions options;
    options.now = now;
    options.currentLocale = views::Localizer::currentLocaleName();
    const views::RenderedWidget rendered = views::renderWidget(entry, request.family, options);

    if (request.format == RenderRequest::Format::json) {
        const std::string text = views::widgetJson(rendered).dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
        writeOutput(request, text, out);
    } else {
        const QByteArray png = pngBytes(views::paintWidget(rendered, request.scale, views::Palette::fromDesktop()), request.scale);
        writeOutput(request, std::string_view(png.constData(), static_cast<std::size_t>(png.size())), out);
    }
    return success;
}

}

RenderRequest RenderRequest::parse(std::span<const std::string> arguments)
{
    RenderRequest request;
    bool hasFamily = false;
    bool sample = false;
    std::optional<std::string> snapshot;

    const Arguments options(arguments,
        { { "--family", true }, { "--sort", true }, { "--sample" }, { "--snapshot", true }, { "--status", true },
            { "--pending", true }, { "--now", true }, { "--format", true }, { "--scale", true }, { "-o", true },
            { "--output", true } },
        0);
    if (const auto value = options.value("--family")) {
        request.family = parseFamilyArgument(*value);
        hasFamily = true;
    }
    if (const auto value = options.value("--sort"))
        request.sortOrder = parseSortArgument(*value);
    sample = options.has("--sample");
    snapshot = options.value("--snapshot");
    if (const auto value = options.value("--status"))
        request.appStatus = parseStatus(*value);
    for (const std::string& value : options.values("--pending")) {
        const auto [id, action] = parsePending(value);
        request.pending[id] = action;
    }
    if (const auto value = options.value("--now"))
        request.now = Date(parseNumber("--now", *value));
    if (const auto value = options.value("--format"))
        request.format = parseFormat(*value);
    if (const auto value = options.value("--scale")) {
        request.scale = parseNumber("--scale", *value);
        if (!(request.scale > 0 && request.scale <= largestScale))
            throw UsageError("--scale must be above 0 and at most 8");
    }
    if (options.has("-o") && options.has("--output"))
        throw UsageError("-o and --output name the same file; give one of them");
    request.outputPath = options.has("-o") ? options.value("-o") : options.value("--output");
    if (!hasFamily)
        throwMissingFamily();
    if (sample && snapshot)
        throw UsageError("--sample and --snapshot exclude each other");
    if (sample) {
        request.source = Source::sample;
    } else if (snapshot) {
        request.source = Source::snapshot;
        request.snapshotPath = *snapshot;
    } else if (request.appStatus || !request.pending.empty()) {
        throw UsageError("--status and --pending need --sample or --snapshot");
    }
    return request;
}

const Command renderCommand {
    "render",
    "draw one family headless, to PNG or as its laid-out view tree in JSON",
    R"(Usage: quelm-widget render --family FAMILY [--sort ORDER]
                           [--sample | --snapshot FILE [--status STATUS] [--pending ID=ACTION]...]
                           [--now EPOCH] [--format png|json] [--scale N] [-o FILE]

Draws the widget of FAMILY as the desktop shows it, without a display (Qt's offscreen platform
unless QT_QPA_PLATFORM says otherwise). Without --sample or --snapshot it draws the first entry
of the live timeline of the app-group container.

Options:
  --family FAMILY     small, medium, large or extraLarge (small… accepted too)
  --sort ORDER        category (default) or recent
  --sample            the sample entry of the preview gallery, dated at --now
  --snapshot FILE     a snapshot document in the wire form ("-" for standard input); one that
                      does not decode is refused (exit 2)
  --status STATUS     the app's status for --sample or --snapshot: running (default), notRunning
                      or noAccess
  --pending ID=ACTION an item or group with a start or stop request still waiting (repeatable)
  --now EPOCH         the clock, in seconds since 1970 (default: now); relative times count
                      from it, so the output is reproducible
  --format FORMAT     png (default) or json: the laid-out view tree
                      {"family", "appStatus", "size": {w, h}, "root": {...}}, every node with its
                      frame in points
  --scale N           device pixels per point of the PNG (default 2, at most 8)
  -o, --output FILE   write there instead of standard output (a PNG is never written to a
                      terminal: redirect standard output or give -o)
  --help              show this text

Texts are in the language the snapshot names (base texts in Brazilian Portuguese when there is
no translation for it); without one, relative times and numbers follow LC_ALL, LC_MESSAGES or LANG.
)",
    runRender,
};

}
