// SPDX-License-Identifier: MIT
#include "Host/FlatMenu.h"

#include "Views/Typography.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace quelm::host {

namespace detail {

// The menu's measures, in device-independent pixels.
constexpr double textSize = 14;
constexpr double headingSize = 12;
constexpr double rowHeight = 28;
constexpr double separatorHeight = 9;
constexpr double border = 6;     // between the menu's edge and its rows
constexpr double padding = 10;   // inside a row, before the check column and after the text
constexpr double checkColumn = 20;
constexpr double minimumWidth = 180;
constexpr double cornerRadius = 10;
constexpr double highlightRadius = 6;

QFont menuFont(double pixels, QFont::Weight weight)
{
    QFont font(views::Typography::standard().family());
    font.setPixelSize(static_cast<int>(pixels));
    font.setWeight(weight);
    return font;
}

void addRow(std::vector<FlatMenu::Row>& rows, const MenuEntry& entry)
{
    switch (entry.kind) {
    case MenuEntry::Kind::choice:
        rows.push_back({ FlatMenu::Row::Kind::choice, entry.text, entry.choice, entry.checked, {} });
        break;
    case MenuEntry::Kind::submenu:
        rows.push_back({ FlatMenu::Row::Kind::heading, entry.text, {}, false, {} });
        for (const MenuEntry& inner : entry.entries)
            addRow(rows, inner);
        break;
    case MenuEntry::Kind::separator:
        rows.push_back({});
        break;
    }
}

// A check mark in the box, drawn rather than a glyph the font may lack.
void paintCheck(QPainter& painter, const QRectF& box, const QColor& color)
{
    QPainterPath mark;
    mark.moveTo(box.left() + box.width() * 0.2, box.top() + box.height() * 0.52);
    mark.lineTo(box.left() + box.width() * 0.42, box.top() + box.height() * 0.74);
    mark.lineTo(box.left() + box.width() * 0.8, box.top() + box.height() * 0.28);
    painter.setPen(QPen(color, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(mark);
}

}

FlatMenu::FlatMenu(const std::vector<MenuEntry>& entries)
    : m_font(detail::menuFont(detail::textSize, QFont::Normal))
    , m_headingFont(detail::menuFont(detail::headingSize, QFont::DemiBold))
{
    for (std::size_t index = 0; index < entries.size(); ++index) {
        detail::addRow(m_rows, entries[index]);
        // A submenu's choices are set apart from the entries that follow them.
        const bool nextIsSeparator = index + 1 < entries.size() && entries[index + 1].kind == MenuEntry::Kind::separator;
        if (entries[index].kind == MenuEntry::Kind::submenu && index + 1 < entries.size() && !nextIsSeparator)
            m_rows.push_back({});
    }

    const QFontMetricsF metrics(m_font);
    const QFontMetricsF headingMetrics(m_headingFont);
    double textWidth = 0;
    for (const Row& row : m_rows) {
        if (row.kind == Row::Kind::choice)
            textWidth = std::max(textWidth, detail::checkColumn + metrics.horizontalAdvance(row.text));
        else if (row.kind == Row::Kind::heading)
            textWidth = std::max(textWidth, headingMetrics.horizontalAdvance(row.text));
    }
    const double width = std::ceil(std::max(detail::minimumWidth, 2 * detail::border + 2 * detail::padding + textWidth));
    double y = detail::border;
    for (Row& row : m_rows) {
        const double height = row.kind == Row::Kind::separator ? detail::separatorHeight : detail::rowHeight;
        row.frame = QRectF(detail::border, y, width - 2 * detail::border, height);
        y += height;
    }
    m_size = QSize(static_cast<int>(width), static_cast<int>(std::ceil(y + detail::border)));
}

std::optional<std::size_t> FlatMenu::rowAt(QPointF point) const
{
    for (std::size_t index = 0; index < m_rows.size(); ++index) {
        if (m_rows[index].kind == Row::Kind::choice && m_rows[index].frame.contains(point))
            return index;
    }
    return std::nullopt;
}

void FlatMenu::paint(QPainter& painter, std::optional<std::size_t> highlighted, const views::Palette& palette) const
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    // The widget's near-black glass, opaque enough to read over any window.
    const QRectF outline = QRectF(QPointF(0, 0), QSizeF(m_size)).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(QColor::fromRgbF(1, 1, 1, 0.12f), 1));
    painter.setBrush(QColor::fromRgbF(0.11f, 0.11f, 0.12f, 0.97f));
    painter.drawRoundedRect(outline, detail::cornerRadius, detail::cornerRadius);

    const QColor primary = palette.resolve(Color::of(Color::Named::primary));
    const QColor secondary = palette.resolve(Color::of(Color::Named::secondary));
    const QColor separator = palette.resolve(Color::of(Color::Named::secondaryFill));
    for (std::size_t index = 0; index < m_rows.size(); ++index) {
        const Row& row = m_rows[index];
        const QRectF text = row.frame.adjusted(detail::padding, 0, -detail::padding, 0);
        switch (row.kind) {
        case Row::Kind::separator:
            painter.setPen(QPen(separator, 1));
            painter.drawLine(QPointF(text.left(), row.frame.center().y()), QPointF(text.right(), row.frame.center().y()));
            break;
        case Row::Kind::heading:
            painter.setFont(m_headingFont);
            painter.setPen(secondary);
            painter.drawText(text, Qt::AlignLeft | Qt::AlignVCenter, row.text);
            break;
        case Row::Kind::choice: {
            const bool lit = highlighted == index;
            if (lit) {
                painter.setPen(Qt::NoPen);
                painter.setBrush(palette.resolve(Color::of(Color::Named::accent)));
                painter.drawRoundedRect(row.frame, detail::highlightRadius, detail::highlightRadius);
            }
            const QColor ink = lit ? QColor(Qt::white) : primary;
            if (row.checked)
                detail::paintCheck(painter, QRectF(text.left(), text.center().y() - 8, 16, 16), ink);
            painter.setFont(m_font);
            painter.setPen(ink);
            painter.drawText(text.adjusted(detail::checkColumn, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter, row.text);
            break;
        }
        }
    }
    painter.restore();
}

}
