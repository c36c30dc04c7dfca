// SPDX-License-Identifier: MIT
#pragma once

#include "Rows/ItemRow.h"
#include "Views/ViewContext.h"
#include "Views/ViewTree.h"

namespace quelm::views {

// An item's row: a `row` node around a horizontal stack (spacing 7, centred) of the category
// glyph, the title over the detail line, a spacer and the button.
class ItemRowView {
public:
    static ViewNode node(const ItemRow&, const ViewContext&);
};

}
