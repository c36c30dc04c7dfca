#include "WidgetRenderer.h"

#include "LayoutEngine.h"
#include "Localizer.h"
#include "QuelmWidgetView.h"
#include "TreePainter.h"
#include "Typography.h"
#include "ViewTreeJson.h"

#include <QPainter>

#include <cmath>

namespace quelm::views {

RenderedWidget renderWidget(const Entry& entry, WidgetFamily family, const RenderOptions& options)
{
    const Localizer localizer = Localizer::forSnapshotLanguage(entry.snapshot.language, options.currentLocale);
    const Localizer userLocalizer = Localizer::forCurrentLocale(options.currentLocale);
    const ViewContext context { localizer, userLocalizer, options.now };

    RenderedWidget rendered;
    rendered.family = family;
    rendered.appStatus = entry.appStatus;
    rendered.size = QuelmWidgetView::size(family);
    rendered.root = QuelmWidgetView(family, entry, context).body();
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
    image.setDevicePixelRatio(scale);
    Typography::makePointSized(image);
    QPainter painter(&image);
    paintWidget(painter, rendered, palette);
    painter.end();
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

Entry sampleEntry(Date now)
{
    Entry entry = Entry::sample();
    const Date built = entry.date;
    // Each date keeps its distance from the moment the sample was built, to the millisecond: the
    // distances are whole seconds, and a hair less would read as a minute less.
    const auto moved = [&](Date date) { return now.addingSeconds(-std::round(built.secondsSince(date) * 1000) / 1000); };
    entry.date = now;
    entry.snapshot.updatedAt = moved(entry.snapshot.updatedAt);
    for (WidgetItem& item : entry.snapshot.items) {
        if (item.startedAt)
            item.startedAt = moved(*item.startedAt);
    }
    return entry;
}

}
