// SPDX-License-Identifier: MIT
#pragma once

#include "Rows/GroupRow.h"
#include "Views/ViewContext.h"
#include "Views/ViewTree.h"

namespace quelm::views {

// A group's row: like an item's, with the group glyph, the name and the running count.
class GroupRowView {
public:
    static ViewNode node(const GroupRow&, const ViewContext&);
};

}
