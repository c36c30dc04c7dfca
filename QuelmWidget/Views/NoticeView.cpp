// SPDX-License-Identifier: MIT
#include "Views/NoticeView.h"

#include "Views/Typography.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace quelm::views {

void NoticeView::paint(QPainter& painter, const QRectF& widget, const QString& text, const Palette& palette)
{
    const QFont font = Typography::standard().font({ fontSize, FontWeight::medium }, *painter.device());
    const QFontMetricsF metrics(font, painter.device());
    const double width = std::min(metrics.horizontalAdvance(text) + 2 * padding, widget.width() - 2 * sideMargin);
    const double height = metrics.height() + padding;
    const QRectF box(widget.x() + (widget.width() - width) / 2, widget.bottom() - bottomMargin - height, width, height);

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath pill;
    pill.addRoundedRect(box, box.height() / 2, box.height() / 2);
    painter.fillPath(pill, palette.resolve(fill));
    painter.setFont(font);
    painter.setPen(palette.resolve(Color::of(Color::Named::white)));
    painter.drawText(box.adjusted(padding, 0, -padding, 0), Qt::AlignCenter,
        metrics.elidedText(text, Qt::ElideRight, box.width() - 2 * padding));
    painter.restore();
}

}
