// SPDX-License-Identifier: MIT
#include "Views/TreePainter.h"

#include "Views/GlassView.h"
#include "Views/LayoutEngine.h"
#include "Views/QuelmMarkView.h"
#include "Views/SymbolImages.h"

#include <QPainter>

#include <ranges>
#include <string_view>

namespace quelm::views {

namespace {

// How much a busy button fades: it still shows its state, but reads as not tappable.
constexpr double disabledOpacity = 0.5;

QRectF toQRect(const Frame& frame)
{
    return { frame.x, frame.y, frame.width, frame.height };
}

}

void TreePainter::paint(QPainter& painter, const ViewNode& root) const
{
    painter.save();
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform);
    paintNode(painter, root);
    painter.restore();
}

void TreePainter::paintNode(QPainter& painter, const ViewNode& node) const
{
    const QRectF frame = toQRect(node.frame);
    bool restore = false;

    if (const auto* glass = node.as<node::Glass>()) {
        GlassView::paintBackground(painter, frame, *glass, m_palette);
    } else if (const auto* text = node.as<node::Text>()) {
        painter.setPen(m_palette.resolve(text->color));
        const double ascent = m_typography.ascent(text->font);
        const double lineHeight = m_typography.lineHeight(text->font);
        double baseline = frame.y() + ascent;
        for (const auto line : std::views::split(std::string_view(text->shown), '\n')) {
            m_typography.drawLine(painter, QPointF(frame.x(), baseline), std::string_view(line.begin(), line.end()), text->font);
            baseline += lineHeight;
        }
    } else if (const auto* symbol = node.as<node::Symbol>()) {
        const QColor halo = symbol->halo ? m_palette.resolve(*symbol->halo) : QColor(Qt::transparent);
        SymbolImages::paint(painter, symbol->symbol, frame, LayoutEngine::symbolSide(symbol->pointSize),
            m_palette.resolve(symbol->color, symbol->opacity), halo, symbol->haloRadius);
    } else if (const auto* mark = node.as<node::Mark>()) {
        QuelmMarkView::paint(painter, frame, m_palette.resolve(mark->color), mark->running);
    } else if (const auto* button = node.as<node::Button>()) {
        painter.save();
        restore = true;
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_palette.resolve(button->fill));
        painter.drawEllipse(frame);
        if (!button->enabled)
            painter.setOpacity(painter.opacity() * disabledOpacity);
    } else if (const auto* divider = node.as<node::Divider>()) {
        painter.fillRect(frame, m_palette.resolve(divider->color));
    }

    for (const ViewNode& child : node.children)
        paintNode(painter, child);

    if (restore)
        painter.restore();
    if (node.is<node::Glass>())
        GlassView::clearCorners(painter, frame);
}

}
