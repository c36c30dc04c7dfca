#pragma once

#include "Rows/SessionRow.h"
#include "Views/ViewContext.h"
#include "Views/ViewTree.h"

namespace quelm::views {

// A session's row: a link around the session glyph and the two lines; no button.
class SessionRowView {
public:
    static ViewNode node(const SessionRow&, const ViewContext&);
};

}
