// SPDX-License-Identifier: MIT
#pragma once

#include "Timeline/TimelineEntry.h"
#include "Views/Palette.h"
#include "Views/ViewTree.h"
#include "Widget/WidgetFamily.h"

#include <quelm/Date.h>
#include <quelm/SharedStore.h>

#include <nlohmann/json.hpp>

#include <QImage>

#include <string>

class QPainter;

namespace quelm::views {

// Everything outside the entry that a render depends on.
struct RenderOptions {
    // The clock of relative times ("5 min").
    Date now = Date::now();
    // The user's locale, for a snapshot that names no language (Localizer::currentLocaleName()).
    std::string currentLocale;
};

// One widget, built and laid out: the tree that is painted, dumped and hit-tested.
struct RenderedWidget {
    WidgetFamily family = WidgetFamily::small;
    SharedStore::AppStatus appStatus = SharedStore::AppStatus::notRunning;
    Size size;
    ViewNode root;
};

// Builds the view tree of `entry` for `family` and lays it out in the family's size.
// Needs a QGuiApplication (fonts).
RenderedWidget renderWidget(const TimelineEntry& entry, WidgetFamily family, const RenderOptions& options = {});

// Paints the widget at (0, 0) in the painter's coordinates (points).
void paintWidget(QPainter&, const RenderedWidget&, const Palette& = Palette());
// The widget as an image of `scale` device pixels per point, transparent outside its rounded shape.
QImage paintWidget(const RenderedWidget&, double scale, const Palette& = Palette());

// {"family", "appStatus", "size": {w, h}, "root": the view tree (viewTreeJson)}.
nlohmann::ordered_json widgetJson(const RenderedWidget&);

}
