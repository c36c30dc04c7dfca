// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/Geometry.h>

#include <string>

namespace quelmctl {

// The brand mark for a frame as data: {"strokeWidth", "path": [{"op": "move"|"curve"|"close", …}],
// "hole": {x, y, w, h}, "sphere": {x, y, w, h}}, compact, the sphere left out when not wanted.
std::string markJson(const quelm::Rect& frame, bool withSphere);

// The brand mark for a frame as a standalone SVG asset in currentColor: the star filled and
// stroked (round joins, butt caps), the hole cut through it by a mask so it is transparent, and
// the sphere in the hole when wanted. The frame is the SVG's view box.
std::string markSvg(const quelm::Rect& frame, bool withSphere);

}
