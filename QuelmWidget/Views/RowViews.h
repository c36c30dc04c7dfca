#pragma once

#include "GlyphLook.h"
#include "GroupRow.h"
#include "ItemRow.h"
#include "SessionRow.h"
#include "ToggleButton.h"
#include "ViewContext.h"
#include "ViewTree.h"

namespace quelm::views {

// The leading symbol of a row, framed 16 points wide: a category glyph, a group glyph or a
// session glyph, as its GlyphLook says.
class WidgetGlyph {
public:
    static ViewNode node(const GlyphLook&);
};

// The round start/stop button: its symbol (9 pt, bold) centred on a 20 × 20 circle of the
// secondary fill. A busy button is shown dimmed and does not react.
class ToggleButton {
public:
    static ViewNode node(const quelm::ToggleButton&);
};

// Row views: a `row` node around a horizontal stack (spacing 7, centred) of glyph, the title
// over the detail line, a spacer and, for items and groups, the button. A session row is a link.
class ItemRow {
public:
    static ViewNode node(const quelm::ItemRow&, const ViewContext&);
};

class GroupRow {
public:
    static ViewNode node(const quelm::GroupRow&, const ViewContext&);
};

class SessionRow {
public:
    static ViewNode node(const quelm::SessionRow&, const ViewContext&);
};

}
