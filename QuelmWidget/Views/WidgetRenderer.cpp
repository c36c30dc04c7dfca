// SPDX-License-Identifier: MIT
#include "Views/WidgetRenderer.h"

#include "Views/DevicePixels.h"
#include "Views/LayoutEngine.h"
#include "Views/Localizer.h"
#include "Views/QuelmWidgetView.h"
#include "Views/ShownText.h"
#include "Views/TreePainter.h"
#include "Views/Typography.h"
#include "Views/ViewTreeJson.h"

#include <QPainter>

#include <cmath>

namespace quelm::views {

RenderedWidget renderWidget(const TimelineEntry& given, WidgetFamily family, const RenderOptions& options)
{
    const std::optional<TimelineEntry> shortened = withShortTexts(given);
    const TimelineEntry& entry = shortened ? *shortened : given;
    const Localizer localizer = Localizer::forSnapshotLanguage(entry.snapshot.language, options.currentLocale);
    const Localizer userLocalizer = Localizer::forCurrentLocale(options.currentLocale);
    const ViewContext context { localizer, userLocalizer, options.now };

    RenderedWidget rendered;
    rendered.family = family;
    rendered.appStatus = entry.appStatus;
    rendered.size = QuelmWidgetView::size(family);
    rendered.root = QuelmWidgetView(family, entry, context).tree();
    LayoutEngine().layout(rendered.root, { 0, 0, rendered.size.width, rendered.size.height });
    return rendered;
}

void paintWidget(QPainter& painter, const RenderedWidget& rendered, const Palette& palette)
{
    TreePainter(palette).paint(painter, rendered.root);
}

QImage paintWidget(const RenderedWidget& rendered, double scale, const Palette& palette)
{
    const QSize pixels(static_cast<int>(std::ceil(rendered.size.width * scale)), static_cast<int>(std::ceil(rendered.size.height * scale)));
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    Typography::makePointSized(image);
    QPainter painter;
    beginScaled(painter, image, scale);
    paintWidget(painter, rendered, palette);
    painter.end();
    image.setDevicePixelRatio(scale);
    return image;
}

nlohmann::ordered_json widgetJson(const RenderedWidget& rendered)
{
    nlohmann::ordered_json out;
    out["family"] = rawValue(rendered.family);
    out["appStatus"] = rawValue(rendered.appStatus);
    out["size"] = { { "w", rendered.size.width }, { "h", rendered.size.height } };
    out["root"] = viewTreeJson(rendered.root);
    return out;
}

}
