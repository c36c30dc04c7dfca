// SPDX-License-Identifier: MIT
#pragma once

#include "Rows/SessionRow.h"
#include "Views/ViewContext.h"
#include "Views/ViewTree.h"

namespace quelm::views {

// A session's row: a link around the session glyph and the two lines; no button.
class SessionRowView {
public:
    // How many lines the second line ("project · status") may take in a full row.
    static constexpr int secondLineLimit = 2;

    static ViewNode node(const SessionRow&, const ViewContext&);
};

}
