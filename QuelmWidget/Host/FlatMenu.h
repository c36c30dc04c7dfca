// SPDX-License-Identifier: MIT
#pragma once

#include "Host/WidgetMenu.h"
#include "Views/Palette.h"

#include <QFont>
#include <QRectF>
#include <QSize>
#include <QString>

#include <optional>
#include <vector>

class QPainter;

namespace quelm::host {

// A menu in one column, for a surface that cannot open submenus of its own: each submenu becomes
// a heading with its choices beneath it. Laid out in device-independent pixels from (0, 0), hit
// tested and painted in the widget's dark look.
//   FlatMenu menu(widgetMenu(family));  menu.paint(painter, menu.rowAt(pointer), palette);
class FlatMenu {
public:
    struct Row {
        enum class Kind {
            choice,
            heading,
            separator,
        };
        Kind kind = Kind::separator;
        QString text;
        MenuChoice choice; // with Kind::choice
        bool checked = false;
        QRectF frame;
    };

    explicit FlatMenu(const std::vector<MenuEntry>& entries);

    // The whole menu's size, in whole pixels so that a surface can take it exactly.
    QSize size() const { return m_size; }
    const std::vector<Row>& rows() const { return m_rows; }
    // The index of the choice row under `point`; none over a heading, a separator or the border.
    std::optional<std::size_t> rowAt(QPointF point) const;

    // Draws the menu at its size, the row `highlighted` (a choice) marked as under the pointer.
    void paint(QPainter&, std::optional<std::size_t> highlighted, const views::Palette&) const;

private:
    QFont m_font;
    QFont m_headingFont;
    std::vector<Row> m_rows;
    QSize m_size;
};

}
