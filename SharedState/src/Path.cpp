// SPDX-License-Identifier: MIT
#include <quelm/Path.h>

namespace quelm {

void Path::moveTo(Point to)
{
    m_elements.push_back({ .kind = Element::Kind::move, .to = to });
}

void Path::curveTo(Point control1, Point control2, Point to)
{
    m_elements.push_back({ .kind = Element::Kind::curve, .to = to, .control1 = control1, .control2 = control2 });
}

void Path::close()
{
    m_elements.push_back({ .kind = Element::Kind::close });
}

}
